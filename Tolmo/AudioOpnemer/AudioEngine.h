#pragma once

#include <cstdint>
#include <functional>

#include "Tolmo/AudioOpnemer/AudioBlok.h"
#include "TolmoKern/Audio/InvoerFormaat.h"

namespace tolmo {

// The platform's audio engine with one input: what the recorder needs of it, shaped after an
// engine with an input node (a hardware-side and a tap-side format on bus 0, optional voice
// processing, a tap that delivers float buffers) so that a desktop engine and PulseAudio both fit.
//
// Threads: every operation is called from one control thread (the main thread). The tap block
// and the change callback run on the engine's own thread and must not call back into the engine.
class AudioEngine {
  public:
    // How the default input device is connected; only the Bluetooth kinds matter to us.
    enum class Transport { anders, bluetooth, bluetoothLE };

    // Other-audio ducking while voice processing is on.
    struct Demping {
        bool geavanceerd = false;
        int niveau = 10;  // the lowest ducking level: other sound is lowered as little as possible
    };

    using TapBlok = std::function<void(const AudioBlok&)>;

    virtual ~AudioEngine() = default;

    // The input node's formats for bus 0: the hardware side and the side a tap receives.
    [[nodiscard]] virtual InvoerFormaat invoerFormaat() = 0;
    [[nodiscard]] virtual InvoerFormaat uitvoerFormaat() = 0;

    [[nodiscard]] virtual bool stemverwerking() = 0;
    // Throws when the platform refuses.
    virtual void zetStemverwerking(bool aan) = 0;
    virtual void zetDemping(const Demping& demping) = 0;

    // Forgets the engine's negotiated formats so the next query asks the device again.
    virtual void reset() = 0;

    // Installs the single tap on bus 0; `frames` per buffer, delivered in `formaat`.
    virtual void installeerTap(std::uint32_t frames, const InvoerFormaat& formaat,
                               TapBlok blok) = 0;
    // After this returns the tap block is not running and will not be called again.
    virtual void verwijderTap() = 0;

    // Prepares and starts; throws when the engine cannot run.
    virtual void start() = 0;
    virtual void stop() = 0;

    // Called on every configuration change (device switched or gone, format changed).
    virtual void zetOpWijziging(std::function<void()> callback) = 0;

    [[nodiscard]] virtual Transport standaardInvoerTransport() = 0;
};

}  // namespace tolmo
