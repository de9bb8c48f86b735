#pragma once

#include "Tolmo/linux/SessieAdapters.h"
#include "Tolmo/linux/x11/X11Focus.h"
#include "Tolmo/linux/x11/X11Klembord.h"
#include "Tolmo/linux/x11/X11ToetsBron.h"
#include "Tolmo/linux/x11/X11Verbinding.h"

namespace tolmo {

// The X11 set: XInput2 and key grabs for the keys, the CLIPBOARD selection with XTest for the
// paste, EWMH for the window in front, all over one connection of the app's own. Under
// XWayland the same set reaches only the X11 windows of a Wayland session, and says so.
class X11Adapters final : public SessieAdapters {
  public:
    // Opens $DISPLAY; throws std::runtime_error (Dutch) when it cannot. plakRegels: the user's
    // own paste chords per app, over the built-in ones.
    explicit X11Adapters(bool viaXWayland = false,
                         std::vector<X11PlakToetsen::Regel> plakRegels = {});

    [[nodiscard]] ToetsBron& toetsen() override { return toetsen_; }
    [[nodiscard]] EscBron* esc() override { return &esc_; }
    [[nodiscard]] KlembordPoort& klembord() override { return klembord_; }
    [[nodiscard]] const Focus& vensterFocus() const override { return focus_; }
    [[nodiscard]] bool houdToetsMogelijk() const override { return x11_.xinput2().has_value(); }
    [[nodiscard]] bool plakToetsMogelijk() const override { return x11_.xtest(); }
    [[nodiscard]] std::vector<Vermogen> vermogens() const override;
    [[nodiscard]] int descriptor() const override { return x11_.descriptor(); }
    void verwerk() override { x11_.verwerk(); }
    void zetHoudToets(HoudToets houdToets) override { toetsen_.zetHoudToets(toetscode(houdToets)); }
    bool geefKlembordAf(std::chrono::milliseconds termijn) override {
        return klembord_.geefAanBeheerder(termijn);
    }

  private:
    X11Verbinding x11_;
    X11ToetsBron toetsen_{x11_};
    X11EscBron esc_{x11_};
    X11Klembord klembord_;
    X11Focus focus_{x11_};
    bool viaXWayland_;
};

}  // namespace tolmo
