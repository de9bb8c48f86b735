#pragma once

#include <QString>
#include <QTabWidget>
#include <QWidget>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Tolmo/MacRegelaar/DictaatRegelaar.h"
#include "Tolmo/linux/app/InstellingenTab.h"
#include "Tolmo/linux/freedesktop/Sleutelbeheer.h"
#include "TolmoKern/Instellingen/SleutelWaardeOpslag.h"

namespace tolmo {

// The settings window: one tab per subject. It builds the tabs Algemeen, Herkenning and
// Opschonen itself; the others are added with voegToe in the order they should appear. Every
// change goes to the controller at once, and every change the controller reports reaches each
// tab, so the window always shows what is stored (also when the tray menu or a second window
// changed it).
class InstellingenVenster final : public QWidget {
  public:
    struct Onderdelen {
        DictaatRegelaar& regelaar;
        Sleutelbeheer& kluis;
        // The app's own store, where the relay server's address lives.
        SleutelWaardeOpslag& standaard;
        // After the stored server address changed, so the shell can put it in the environment.
        std::function<void()> serverAdresGewijzigd;
        // An address in the environment at launch wins over the stored one; shown as such.
        std::optional<std::string> adresUitOmgeving;
        std::function<bool()> startBijInloggen;
        // Throws std::exception when the change cannot be made.
        std::function<void(bool)> zetStartBijInloggen;
    };

    explicit InstellingenVenster(Onderdelen onderdelen);
    ~InstellingenVenster() override;
    InstellingenVenster(const InstellingenVenster&) = delete;
    InstellingenVenster& operator=(const InstellingenVenster&) = delete;

    // Appends a tab; the window owns it from then on.
    void voegToe(std::unique_ptr<InstellingenTab> tab, const QString& naam);
    // Shows the window in front, at the named tab when there is one by that name.
    void toon(const QString& tab = {});

    [[nodiscard]] QTabWidget& tabs() { return tabs_; }

  private:
    QTabWidget tabs_;
    std::vector<InstellingenTab*> lijst_;
    // Cleared when the window goes: the controller's listeners live as long as the controller.
    std::shared_ptr<InstellingenVenster*> anker_;
};

}  // namespace tolmo
