#pragma once

#include "Tolmo/linux/SessieAdapters.h"
#include "Tolmo/linux/wayland/WaylandFocus.h"
#include "Tolmo/linux/wayland/WaylandKlembord.h"
#include "Tolmo/linux/wayland/WaylandToetsBron.h"
#include "Tolmo/linux/wayland/WaylandVerbinding.h"

namespace tolmo {

// The Wayland set, over one connection of the app's own: a data-control protocol for the
// clipboard, a virtual keyboard for the paste keystroke and the foreign-toplevel list for the
// window in front, as wlroots compositors (sway, Hyprland, river) offer them; KDE offers the
// clipboard only. Keys come from the compositor's own bindings running the control command.
class WaylandAdapters final : public SessieAdapters {
  public:
    // Connects to $WAYLAND_DISPLAY; throws std::runtime_error (Dutch) when it cannot.
    // xwaylandIndicator: the indicator is an X11 window through XWayland.
    explicit WaylandAdapters(bool xwaylandIndicator);

    // Whether the compositor lets us at the clipboard at all (GNOME does not): without that
    // the X11 set through XWayland reaches more.
    [[nodiscard]] bool klembordBeschikbaar() const { return !klembord_.protocol().empty(); }

    // Whether keys reach the app only through bindings in the compositor's configuration (a
    // wlroots compositor); KDE has shortcuts of its own the user sets up in its settings.
    [[nodiscard]] bool compositorBindt() const { return !kde(); }

    [[nodiscard]] ToetsBron& toetsen() override { return toetsen_; }
    [[nodiscard]] EscBron* esc() override { return nullptr; }
    [[nodiscard]] KlembordPoort& klembord() override { return klembord_; }
    [[nodiscard]] const Focus& vensterFocus() const override { return focus_; }
    // The hold key is the compositor's binding, which the controller never watches itself.
    [[nodiscard]] bool houdToetsMogelijk() const override { return false; }
    [[nodiscard]] bool plakToetsMogelijk() const override {
        return klembord_.kanPlakken() && focus_.beschikbaar();
    }
    [[nodiscard]] std::vector<Vermogen> vermogens() const override;
    [[nodiscard]] int descriptor() const override { return verbinding_.descriptor(); }
    void verwerk() override { verbinding_.verwerk(); }
    // Wayland keeps nothing of a client that has gone, and no protocol hands a selection over;
    // a clipboard manager that copies every selection has it already.
    bool geefKlembordAf(std::chrono::milliseconds /*termijn*/) override { return false; }

  private:
    // KWin announces its own window list; wlroots compositors the foreign-toplevel one.
    [[nodiscard]] bool kde() const { return verbinding_.biedt("org_kde_plasma_window_management"); }

    WaylandVerbinding verbinding_;
    WaylandFocus focus_{verbinding_};
    WaylandKlembord klembord_{verbinding_, focus_};
    WaylandToetsBron toetsen_;
    bool xwaylandIndicator_;
};

}  // namespace tolmo
