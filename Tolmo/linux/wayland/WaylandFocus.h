#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Tolmo/Poorten/Focus.h"
#include "Tolmo/linux/wayland/WaylandVerbinding.h"

struct zwlr_foreign_toplevel_manager_v1;
struct zwlr_foreign_toplevel_handle_v1;
struct wl_event_queue;

namespace tolmo {

// The window in front on a wlroots compositor: the activated toplevel of the foreign-toplevel
// list (zwlr_foreign_toplevel_manager_v1), with its app id as the app's id. Wayland tells no
// process id, so AT-SPI cannot add the field; the toplevel itself stands for the field, which
// tells a switch to another window of the same app (a second terminal) from staying put.
// Without the protocol (KDE, GNOME) nothing is known and huidig is always empty.
//
// The list's events wait in a queue of their own, and asking first takes in everything the
// compositor sent until that moment: the command a key binding sends us may be handled before
// the focus change that preceded it, and the target would then be the window the user left.
class WaylandFocus final : public Focus {
  public:
    // The connection must outlive the focus; its events arrive through its verwerk.
    explicit WaylandFocus(WaylandVerbinding& verbinding);
    ~WaylandFocus() override;
    WaylandFocus(const WaylandFocus&) = delete;
    WaylandFocus& operator=(const WaylandFocus&) = delete;

    [[nodiscard]] std::optional<Doel> huidig() const override;
    [[nodiscard]] bool beschikbaar() const { return beheerder_ != nullptr; }

    // Handles the list's events read so far; the main loop calls it after the connection's.
    void verwerk();

    // The activated toplevel's app id and title; empty when none is active.
    struct Venster {
        std::string appId;
        std::string titel;
    };
    [[nodiscard]] std::optional<Venster> actief() const;

    struct Toplevel;
    // A toplevel that closed; called from its own event.
    void vergeet(const Toplevel* toplevel);

  private:
    // Waits until the compositor has answered, handling the list's events only, so it is safe
    // inside another event's handler.
    void werkBij() const;
    static void opToplevel(void* data, zwlr_foreign_toplevel_manager_v1* beheerder,
                           zwlr_foreign_toplevel_handle_v1* handle);
    static void opKlaar(void* data, zwlr_foreign_toplevel_manager_v1* beheerder);

    WaylandVerbinding& verbinding_;
    wl_event_queue* wachtrij_ = nullptr;
    zwlr_foreign_toplevel_manager_v1* beheerder_ = nullptr;
    std::vector<std::unique_ptr<Toplevel>> toplevels_;
};

}  // namespace tolmo
