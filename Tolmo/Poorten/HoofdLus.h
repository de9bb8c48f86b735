#pragma once

#include <functional>

#include "Tolmo/Poorten/Timer.h"

namespace tolmo {

// The main thread's event loop. Everything the app shows, and the controller, the hotkey monitor
// and the paster, live on it; other threads hand work back through post. Every task and timer
// runs on the main thread, later, never inside the call that scheduled it.
//
// Adapters: macOS uses the main dispatch queue and run-loop timers in the common modes (so they
// fire during menu tracking); Linux uses the GLib main loop. The loop outlives every Timer it
// handed out.
class HoofdLus {
  public:
    using Taak = std::function<void()>;

    virtual ~HoofdLus() = default;

    // Runs taak on the main thread as soon as the loop gets to it, after tasks posted earlier.
    // The only operation that may be called from any thread.
    virtual void post(Taak taak) = 0;
    // Runs taak once after vertraging seconds; it cannot be called off, so a task that may
    // outlive its owner checks for itself whether there is still something to do.
    virtual void postNa(double vertraging, Taak taak) = 0;
    // Runs taak once after vertraging seconds unless the returned Timer is cancelled first.
    [[nodiscard]] virtual Timer eenmalig(double vertraging, Taak taak) = 0;
    // Runs taak every interval seconds until the returned Timer is cancelled.
    [[nodiscard]] virtual Timer herhalend(double interval, Taak taak) = 0;
    // Seconds since the system started, from a monotonic clock. Key timing uses this at the
    // moment of handling, not the time stamps the events carry.
    [[nodiscard]] virtual double uptime() const = 0;
};

}  // namespace tolmo
