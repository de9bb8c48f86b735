#pragma once

#include "Tolmo/AudioOpnemer/AudioEngine.h"
#include "Tolmo/Poorten/Toestemmingen.h"
#include "Tolmo/linux/SessieAdapters.h"

namespace tolmo {

// Linux asks no permission for keys or pasting, so the questions become what works: the
// microphone is a PulseAudio source to record from; watching keys and sending the paste
// keystroke are what the session's adapter set can do.
class LinuxToestemmingen final : public Toestemmingen {
  public:
    LinuxToestemmingen(AudioEngine& engine, const SessieAdapters& sessie)
        : engine_(engine), sessie_(sessie) {}

    [[nodiscard]] bool microfoon() const override;
    [[nodiscard]] bool invoermonitoring() const override { return sessie_.houdToetsMogelijk(); }
    [[nodiscard]] bool toegankelijkheid() const override { return sessie_.plakToetsMogelijk(); }

  private:
    AudioEngine& engine_;
    const SessieAdapters& sessie_;
};

}  // namespace tolmo
