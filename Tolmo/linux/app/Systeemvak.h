#pragma once

#include <QActionGroup>
#include <QMenu>
#include <QMessageBox>
#include <QSystemTrayIcon>
#include <functional>
#include <memory>
#include <optional>

#include "Tolmo/MacVertaling/MenuStand.h"
#include "Tolmo/Poorten/Meldingen.h"
#include "TolmoKern/Instellingen/TolmoInstellingen.h"
#include "TolmoKern/Sneltoetsen/Toetscombinatie.h"

namespace tolmo {

// The tray icon and its menu: the status line, the one dictation action (named with its toggle
// combination), the route, cleanup, the settings window, start at login, quitting. Messages show
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
        std::function<const TolmoInstellingen&()> instellingen;
        std::function<void(const std::function<void(TolmoInstellingen&)>&)> wijzigInstellingen;
        std::function<std::optional<Toetscombinatie>()> wisselSneltoets;
        // The relay server is offered as a route only when the app knows where it is.
        std::function<bool()> serverBekend;
        // Opens the settings window, at the named tab when not empty.
        std::function<void(const QString&)> toonInstellingen;
    };

    explicit Systeemvak(Handelingen handelingen);

    void toon(const Melding& melding) override;
    void wis() override;
    // Redraws the icon and the menu from the controller's state.
    void ververs();
    // A notice with the current state.
    void toonStand();
    // At start, where the desktop has no tray (a bare window manager): nothing would show that
    // Tolmo runs until the first dictation, so a small window says so and how to reach the
    // settings. It does not take the keyboard from the app the user is typing in.
    void meldZonderSysteemvak();

    [[nodiscard]] QMenu& menu() { return menu_; }

  private:
    Handelingen h_;
    QSystemTrayIcon icoon_;
    QMenu menu_;
    QAction* status_;
    QAction* actie_;
    QAction* inloggen_;
    QMenu* routeMenu_;
    QActionGroup routes_{nullptr};
    QAction* serverRoute_;
    QAction* opschonen_;
    MenuStand::Actie huidigeActie_ = MenuStand::Actie::start;
    std::unique_ptr<QMessageBox> zonderVak_;
};

}  // namespace tolmo
