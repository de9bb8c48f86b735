#pragma once

#include <QMenu>
#include <QSystemTrayIcon>
#include <functional>

#include "Tolmo/MacVertaling/MenuStand.h"
#include "Tolmo/Poorten/Meldingen.h"

namespace tolmo {

// The tray icon and its menu: the status line, the one dictation action, start at login,
// quitting. Messages show
// as tray notices and on standard error, which is where a desktop session without a tray (and a
// test) sees them.
class Systeemvak final : public Meldingen {
  public:
    struct Handelingen {
        std::function<MenuStand()> stand;
        std::function<void(MenuStand::Actie)> actie;
        std::function<void()> afsluiten;
        std::function<bool()> startBijInloggen;
        // Throws std::exception when the change cannot be made; the user is told.
        std::function<void(bool)> zetStartBijInloggen;
    };

    explicit Systeemvak(Handelingen handelingen);

    void toon(const Melding& melding) override;
    void wis() override;
    // Redraws the icon and the menu from the controller's state.
    void ververs();
    // For a second launch from the menu: a notice with the current state, since the app has no
    // window of its own to bring forward.
    void toonStand();

  private:
    Handelingen h_;
    QSystemTrayIcon icoon_;
    QMenu menu_;
    QAction* status_;
    QAction* actie_;
    QAction* inloggen_;
    MenuStand::Actie huidigeActie_ = MenuStand::Actie::start;
};

}  // namespace tolmo
