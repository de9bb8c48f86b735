#pragma once

#include <X11/Xlib.h>

#include <optional>
#include <string>
#include <vector>

#include "Tolmo/Poorten/Focus.h"
#include "Tolmo/linux/x11/X11Verbinding.h"

namespace tolmo {

// The window the window manager calls active (EWMH _NET_ACTIVE_WINDOW on the root); empty when
// no window manager publishes one or no window is active.
std::optional<Window> actiefVenster(const X11Verbinding& verbinding);

// WM_CLASS: the instance part ("xterm") and the class part ("XTerm").
struct WmKlasse {
    std::string instantie;
    std::string klasse;
    bool operator==(const WmKlasse&) const = default;
};
std::optional<WmKlasse> leesWmKlasse(const X11Verbinding& verbinding, Window venster);

// A focused field on X11: the window holding the X input focus. Two identities are equal when
// they name the same window; a field another source describes in more detail (an AT-SPI
// element) is asked instead, and compares by the window it lies in.
class X11VensterIdentiteit final : public FocusVeld::Identiteit {
  public:
    explicit X11VensterIdentiteit(Window venster) : venster_(venster) {}
    [[nodiscard]] bool gelijkAan(const Identiteit& ander) const override;
    [[nodiscard]] Window venster() const { return venster_; }

  private:
    Window venster_;
};

// The frontmost app from the active window: its _NET_WM_PID (0 without one) and the class part
// of its WM_CLASS as the app's id. The field is the input focus window when it lies inside the
// active window. Most toolkits keep the X focus on their top-level window and track the text
// field inside themselves, so on X11 a change of field within one window goes unnoticed; a
// change of window or app does not.
class X11Focus final : public Focus {
  public:
    explicit X11Focus(const X11Verbinding& verbinding) : verbinding_(verbinding) {}

    [[nodiscard]] std::optional<Doel> huidig() const override;

  private:
    // Whether venster is voorouder or lies inside it.
    [[nodiscard]] bool binnen(Window venster, Window voorouder) const;

    const X11Verbinding& verbinding_;
};

}  // namespace tolmo
