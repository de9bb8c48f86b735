#pragma once

#include "Tolmo/Poorten/Toestemmingen.h"

namespace tolmo {

// The three privacy permissions as the system reports them now: the microphone through
// AVCaptureDevice, Input Monitoring (listening to key events) through CoreGraphics, and
// Accessibility through AXIsProcessTrusted. The vraag-operations bring up the system's own
// question or its settings pane; the answers arrive through the permission poll.
class MacToestemmingen final : public Toestemmingen {
  public:
    [[nodiscard]] bool microfoon() const override;
    [[nodiscard]] bool invoermonitoring() const override;
    [[nodiscard]] bool toegankelijkheid() const override;

    static void vraagMicrofoon();
    static void vraagInvoermonitoring();
    static void vraagToegankelijkheid();
};

}  // namespace tolmo
