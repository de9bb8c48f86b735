#pragma once

#include <memory>
#include <string>
#include <system_error>

#include "Tolmo/AudioOpnemer/AudioEngine.h"

namespace tolmo {

// The audio engine on PulseAudio (and on PipeWire through its PulseAudio server): records the
// default source in its own rate and channel count as 32-bit float and hands the tap blocks of
// exactly the requested frame count, from PulseAudio's own thread. A change of default source,
// the source disappearing, its format changing or the stream being moved or failing counts as a
// configuration change.
//
// Voice processing is noise suppression done here, on the captured blocks before the tap sees
// them (SpeexRuisonderdrukker); it takes effect at the next start or tap installation.
class PulseAudioEngine final : public AudioEngine {
  public:
    // Connects to the server (PULSE_SERVER, or the user's default); throws std::system_error
    // when there is none.
    explicit PulseAudioEngine(const std::string& appNaam = "Tolmo");
    ~PulseAudioEngine() override;
    PulseAudioEngine(const PulseAudioEngine&) = delete;
    PulseAudioEngine& operator=(const PulseAudioEngine&) = delete;

    [[nodiscard]] InvoerFormaat invoerFormaat() override;
    [[nodiscard]] InvoerFormaat uitvoerFormaat() override;
    [[nodiscard]] bool stemverwerking() override;
    void zetStemverwerking(bool aan) override;
    void zetDemping(const Demping& /*demping*/) override {}
    void reset() override;
    void installeerTap(std::uint32_t frames, const InvoerFormaat& formaat, TapBlok blok) override;
    void verwijderTap() override;
    void start() override;
    void stop() override;
    void zetOpWijziging(std::function<void()> callback) override;
    [[nodiscard]] Transport standaardInvoerTransport() override;

    // The error category of PulseAudio's error numbers.
    static const std::error_category& categorie() noexcept;

    struct Staat;

  private:
    std::unique_ptr<Staat> s_;
};

}  // namespace tolmo
