#pragma once

#include <QButtonGroup>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Tolmo/linux/app/InstellingenTab.h"
#include "Tolmo/linux/freedesktop/Sleutelbeheer.h"
#include "TolmoKern/Instellingen/SleutelWaardeOpslag.h"

namespace tolmo {

// The route a dictation takes (own key worldwide, own key in the EU, the test engine, or the
// relay server) with its ratings, and the secrets and the address each route needs. Secrets are
// only ever shown masked; a new one is typed into a hidden field.
class HerkenningTab final : public InstellingenTab {
  public:
    struct Onderdelen {
        DictaatRegelaar& regelaar;
        Sleutelbeheer& kluis;
        SleutelWaardeOpslag& standaard;
        std::function<void()> serverAdresGewijzigd;
        std::optional<std::string> adresUitOmgeving;
    };

    explicit HerkenningTab(Onderdelen onderdelen);
    ~HerkenningTab() override;
    HerkenningTab(const HerkenningTab&) = delete;
    HerkenningTab& operator=(const HerkenningTab&) = delete;

    void ververs(DictaatRegelaar::Wijziging wijziging) override;

  protected:
    void showEvent(QShowEvent* gebeurtenis) override;

  private:
    class SleutelRij;

    void toonRoute();
    void toonAdres();
    void bewaarAdres();
    void wisAdres();
    [[nodiscard]] std::optional<std::string> opgeslagenAdres() const;

    Onderdelen o_;
    QButtonGroup routes_;
    QComboBox* aanbieder_;
    std::vector<std::unique_ptr<SleutelRij>> sleutels_;
    QLabel* adresStand_;
    QLineEdit* adres_;
    QLabel* adresMelding_;
};

}  // namespace tolmo
