#pragma once

#include "Tolmo/Poorten/HoofdLus.h"

namespace tolmo {

// The main loop on the main dispatch queue, with timers on the main run loop in its common
// modes so that they fire while a menu is open. Uptime is the system's, in seconds.
class MacHoofdLus final : public HoofdLus {
  public:
    void post(Taak taak) override;
    void postNa(double vertraging, Taak taak) override;
    [[nodiscard]] Timer eenmalig(double vertraging, Taak taak) override;
    [[nodiscard]] Timer herhalend(double interval, Taak taak) override;
    [[nodiscard]] double uptime() const override;
};

}  // namespace tolmo
