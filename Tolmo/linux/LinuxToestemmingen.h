#pragma once

#include "Tolmo/AudioOpnemer/AudioEngine.h"
#include "Tolmo/Poorten/Toestemmingen.h"
#include "Tolmo/linux/x11/X11Verbinding.h"

namespace tolmo {

// X11 asks no permission for keys or pasting, so the questions become what works: the microphone
// is a PulseAudio source to record from, watching keys is XInput2, pasting is XTest.
class LinuxToestemmingen final : public Toestemmingen {
  public:
    LinuxToestemmingen(AudioEngine& engine, const X11Verbinding& x11)
        : engine_(engine), x11_(x11) {}

    [[nodiscard]] bool microfoon() const override;
    [[nodiscard]] bool invoermonitoring() const override { return x11_.xinput2().has_value(); }
    [[nodiscard]] bool toegankelijkheid() const override { return x11_.xtest(); }

  private:
    AudioEngine& engine_;
    const X11Verbinding& x11_;
};

}  // namespace tolmo
