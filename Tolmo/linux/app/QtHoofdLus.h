#pragma once

#include <QObject>

#include "Tolmo/Poorten/HoofdLus.h"

namespace tolmo {

// The main loop on Qt's event loop (which runs GLib's on Linux). Timers are precise: the hold
// key's 0.3 s and the paste's restore are timings a user feels.
class QtHoofdLus final : public HoofdLus {
  public:
    QtHoofdLus();

    void post(Taak taak) override;
    void postNa(double vertraging, Taak taak) override;
    [[nodiscard]] Timer eenmalig(double vertraging, Taak taak) override;
    [[nodiscard]] Timer herhalend(double interval, Taak taak) override;
    [[nodiscard]] double uptime() const override;

  private:
    Timer maakTimer(double seconden, bool eenmaal, Taak taak);

    // Tasks and timers run in this object's thread, the main thread.
    QObject ontvanger_;
};

}  // namespace tolmo
