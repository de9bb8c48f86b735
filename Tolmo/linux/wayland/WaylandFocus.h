#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Tolmo/Poorten/Focus.h"
#include "Tolmo/linux/wayland/WaylandVerbinding.h"

struct zwlr_foreign_toplevel_manager_v1;
struct zwlr_foreign_toplevel_handle_v1;

namespace tolmo {

// The window in front on a wlroots compositor: the activated toplevel of the foreign-toplevel
// list (zwlr_foreign_toplevel_manager_v1), with its app id as the app's id. Wayland tells no
// process id, so AT-SPI cannot add the field; the toplevel itself stands for the field, which
// tells a switch to another window of the same app (a second terminal) from staying put.
// Without the protocol (KDE, GNOME) nothing is known and huidig is always empty.
class WaylandFocus final : public Focus {
  public:
    // The connection must outlive the focus; its events arrive through its verwerk.
    explicit WaylandFocus(WaylandVerbinding& verbinding);
    ~WaylandFocus() override;
    WaylandFocus(const WaylandFocus&) = delete;
    WaylandFocus& operator=(const WaylandFocus&) = delete;

    [[nodiscard]] std::optional<Doel> huidig() const override;
    [[nodiscard]] bool beschikbaar() const { return beheerder_ != nullptr; }

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
    static void opToplevel(void* data, zwlr_foreign_toplevel_manager_v1* beheerder,
                           zwlr_foreign_toplevel_handle_v1* handle);
    static void opKlaar(void* data, zwlr_foreign_toplevel_manager_v1* beheerder);

    WaylandVerbinding& verbinding_;
    zwlr_foreign_toplevel_manager_v1* beheerder_ = nullptr;
    std::vector<std::unique_ptr<Toplevel>> toplevels_;
};

}  // namespace tolmo
