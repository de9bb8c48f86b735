#pragma once

#include <functional>
#include <memory>

#include "Tolmo/MacVertaling/MenuStand.h"
#include "Tolmo/Poorten/Meldingen.h"

namespace tolmo {

// The menu-bar item and its menu: the status line, the one dictation action, the route, the
// cleanup switch, Instellingen…, Logboek and Afsluiten. The menu is rebuilt from MenuStand each
// time it opens. Messages show as the item's tooltip and in the status line.
class MenuBalk final : public Meldingen {
  public:
    struct Handelingen {
        std::function<MenuStand()> stand;
        std::function<void(MenuStand::Actie)> actie;
        // Empty while the controller offers no way to switch cleanup; the item is then disabled.
        std::function<void(bool)> opschonen;
        std::function<void()> instellingen;
        std::function<void()> logboek;
        std::function<void()> afsluiten;
        // The settings window at its permissions, from the line naming what is still missing.
        std::function<void()> toestemmingen;
    };

    explicit MenuBalk(Handelingen handelingen);
    ~MenuBalk() override;
    MenuBalk(const MenuBalk&) = delete;
    MenuBalk& operator=(const MenuBalk&) = delete;

    void toon(const Melding& melding) override;
    void wis() override;
    // The menu-bar title follows the controller's state.
    void ververs();

    struct Staat;

  private:
    std::unique_ptr<Staat> s_;
};

}  // namespace tolmo
