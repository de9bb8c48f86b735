#pragma once

#include <memory>
#include <string>

#include "Tolmo/linux/SessieAdapters.h"
#include "Tolmo/linux/evdev/EvdevToetsBron.h"
#include "Tolmo/linux/portaal/PortaalKlembord.h"
#include "Tolmo/linux/portaal/PortaalSneltoetsen.h"
#include "Tolmo/linux/portaal/PortaalToetsenbord.h"
#include "Tolmo/linux/wayland/KWinFocus.h"
#include "Tolmo/linux/wayland/KlembordKeuze.h"
#include "Tolmo/linux/wayland/WaylandFocus.h"
#include "Tolmo/linux/wayland/WaylandIndicator.h"
#include "Tolmo/linux/wayland/WaylandKlembord.h"
#include "Tolmo/linux/wayland/WaylandToetsBron.h"
#include "Tolmo/linux/wayland/WaylandVerbinding.h"

namespace tolmo {

// The Wayland set, over one connection of the app's own: a data-control protocol for the
// clipboard, a virtual keyboard for the paste keystroke and the foreign-toplevel list for the
// window in front, as wlroots compositors (sway, Hyprland, river) offer them. KDE offers the
// clipboard only; there a KWin script tells the window in front. Keys come from the
// compositor's own bindings running the control command.
//
// GNOME and KDE offer the desktop portals instead: the hold key and the toggle as the desktop's
// global shortcuts, the paste keystroke through a RemoteDesktop session and, on GNOME, the
// clipboard inside that session. They answer asynchronously, so the set starts with what it has
// and takes each portal on as it comes (startPortalen).
class WaylandAdapters final : public SessieAdapters {
  public:
    // What the portals need from the app: where the RemoteDesktop restore token is kept and the
    // user's hold key now.
    struct PortaalOpties {
        std::filesystem::path tokenBestand;
        std::function<HoudToets()> houdToets;
    };

    // Connects to $WAYLAND_DISPLAY; throws std::runtime_error (Dutch) when it cannot.
    // xwaylandIndicator: the indicator is an X11 window through XWayland. toetsenborden: the
    // user lets the app read the keyboards themselves (the input group), which gives the hold
    // key, the toggle and Esc on every compositor; from this directory.
    // portalen: on GNOME and KDE, use the desktop portals with these.
    explicit WaylandAdapters(bool xwaylandIndicator,
                             const std::optional<std::filesystem::path>& toetsenborden = {},
                             std::optional<PortaalOpties> portalen = std::nullopt);
    ~WaylandAdapters() override;
    WaylandAdapters(const WaylandAdapters&) = delete;
    WaylandAdapters& operator=(const WaylandAdapters&) = delete;

    // Whether the compositor lets us at the clipboard at all (GNOME does not): without that
    // the X11 set through XWayland reaches more.
    [[nodiscard]] bool klembordBeschikbaar() const {
        return !klembord_.protocol().empty() ||
               (metPortaalKlembord_ && portaalToetsenbord_->beschikbaar() &&
                portaal_->versie("Clipboard") > 0);
    }

    // Binds the shortcuts (proposing voorstel) and, with sessie, opens the RemoteDesktop
    // session; log gets a line for each outcome. The first session makes the desktop ask the
    // user, unless heeftPortaalToken(); klaar runs when all have answered.
    void startPortalen(const PortaalTriggers& voorstel, bool sessie,
                       std::function<void(const std::string& regel)> log,
                       std::function<void()> klaar = nullptr);
    [[nodiscard]] bool heeftPortaalToken() const {
        return portaalToetsenbord_ && portaalToetsenbord_->heeftToken();
    }
    // Whether a portal session is to be opened at all (GNOME, KDE).
    [[nodiscard]] bool gebruiktPortalen() const { return portaalToetsenbord_ != nullptr; }
    [[nodiscard]] PortaalSneltoetsen* portaalSneltoetsen() {
        return portaalToetsen_ && portaalToetsen_->beschikbaar() ? portaalToetsen_.get() : nullptr;
    }
    // Whether the desktop bound them, once startPortalen has reported.
    [[nodiscard]] bool sneltoetsenGebonden() const {
        return portaalToetsen_ && portaalToetsen_->beschikbaar() && sneltoetsFout_.empty();
    }

    // The indicator on the compositor's overlay layer, which never takes the focus; null where
    // the compositor offers no layer shell (the toolkit's window that refuses the focus then).
    // The animation must outlive it.
    [[nodiscard]] std::unique_ptr<WaylandIndicator> maakIndicator(GolfAnimatie& golf);
    // Whether a window of our own for the indicator would take the keyboard from the user's
    // app: GNOME focuses every new window and offers no layer above them. Without XWayland the
    // app then shows no indicator at all.
    [[nodiscard]] bool balkNeemtFocus() const {
        return !laagIndicator_ && !xwaylandIndicator_ && gnome();
    }

    // Mutter offers its shell protocol to every client.
    [[nodiscard]] bool gnome() const { return verbinding_.biedt("gtk_shell1"); }

    // Whether keys reach the app only through bindings in the compositor's configuration (a
    // wlroots compositor); KDE has shortcuts of its own the user sets up in its settings.
    // Reading the keyboards makes the bindings unneeded (they would start twice).
    [[nodiscard]] bool compositorBindt() const { return !kde() && !houdToetsMogelijk(); }

    [[nodiscard]] ToetsBron& toetsen() override {
        if (evdev_) {
            return *evdev_;
        }
        if (auto* p = portaalSneltoetsen()) {
            return *p;
        }
        return toetsen_;
    }
    [[nodiscard]] EscBron* esc() override { return evdev_.get(); }
    [[nodiscard]] KlembordPoort& klembord() override { return keuze_; }
    [[nodiscard]] const Focus& vensterFocus() const override {
        return kwin_ ? static_cast<const Focus&>(*kwin_) : focus_;
    }
    // Without the keyboards read or the desktop's shortcuts, the hold key is the compositor's
    // binding, which the controller never watches itself.
    [[nodiscard]] bool houdToetsMogelijk() const override {
        return (evdev_ && !evdev_->apparaten().toetsenborden().empty()) ||
               (!evdev_ && portaalToetsen_ && portaalToetsen_->beschikbaar());
    }
    [[nodiscard]] bool plakToetsMogelijk() const override {
        return (klembord_.kanPlakken() && focus_.beschikbaar()) ||
               (portaalToetsenbord_ && portaalToetsenbord_->actief() &&
                (kwin_ || metPortaalKlembord_));
    }
    [[nodiscard]] std::vector<Vermogen> vermogens() const override;
    // The connection's and, when read, the keyboards' descriptors behind one.
    [[nodiscard]] int descriptor() const override { return samen_; }
    void verwerk() override;
    // Wayland keeps nothing of a client that has gone, and no protocol hands a selection over;
    // a clipboard manager that copies every selection has it already.
    bool geefKlembordAf(std::chrono::milliseconds /*termijn*/) override { return false; }

  private:
    // KWin offers its window list to its own shell only, but its shell protocol to everyone.
    [[nodiscard]] bool terminalVooraan() const;
    [[nodiscard]] bool kde() const {
        return verbinding_.biedt("org_kde_plasma_shell") ||
               verbinding_.biedt("org_kde_plasma_window_management");
    }

    WaylandVerbinding verbinding_;
    WaylandFocus focus_{verbinding_};
    WaylandKlembord klembord_{verbinding_, focus_};
    WaylandToetsBron toetsen_;
    std::unique_ptr<EvdevToetsBron> evdev_;
    // The window in front on KDE, when KWin runs our script; why not, for the settings window.
    std::unique_ptr<KWinFocus> kwin_;
    std::string kwinFout_;
    // The portals (GNOME, KDE), and what became of them for the settings window.
    std::unique_ptr<Portaal> portaal_;
    std::unique_ptr<PortaalSneltoetsen> portaalToetsen_;
    std::unique_ptr<PortaalToetsenbord> portaalToetsenbord_;
    std::unique_ptr<PortaalKlembord> portaalKlembord_;
    bool metPortaalKlembord_ = false;
    std::string sneltoetsFout_, toetsenbordFout_;
    KlembordKeuze keuze_{klembord_};
    // Why the keyboards the user asked for are not read (no such directory), for the log.
    std::string evdevFout_;
    bool xwaylandIndicator_;
    bool laagIndicator_ = false;
    int samen_ = -1;
};

}  // namespace tolmo
