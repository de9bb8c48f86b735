#pragma once

#include <string_view>

#include "TolmoKern/Instellingen/MacInstellingen.h"
#include "TolmoKern/Instellingen/SleutelWaardeOpslag.h"
#include "TolmoKern/Instellingen/TolmoInstellingen.h"

namespace tolmo {

// Loads and saves the settings documents. The shared settings live in the app group's store
// (suite "group.app.tolmo"), the desktop-only ones in the app's standard store. Loading never
// fails: whatever is missing or unreadable falls back to its default.
class GedeeldeOpslag {
  public:
    static constexpr std::string_view groepSuite = "group.app.tolmo";
    static constexpr std::string_view sleutelInstellingen = "instellingen";
    static constexpr std::string_view sleutelMac = "mac.instellingen";
    static constexpr std::string_view sleutelKlembordHerstellen = "mac.klembordHerstellen";
    static constexpr std::string_view sleutelToonBalk = "mac.toonBalk";
    static constexpr std::string_view migratieRuisonderdrukkingUit =
        "migratie.ruisonderdrukkingUit";
    static constexpr std::string_view migratieAbcIngebouwd = "migratie.abcIngebouwd";

    GedeeldeOpslag(SleutelWaardeOpslag& groep, SleutelWaardeOpslag& standaard)
        : groep_(groep), standaard_(standaard) {}

    [[nodiscard]] TolmoInstellingen laad() const;
    // A value that cannot be encoded removes the stored document, so the next load gives the
    // defaults rather than something half-written.
    void bewaar(const TolmoInstellingen& instellingen);

    [[nodiscard]] MacInstellingen laadMac() const;
    void bewaarMac(const MacInstellingen& instellingen);
    [[nodiscard]] bool klembordHerstellen() const;
    void zetKlembordHerstellen(bool aan);
    [[nodiscard]] bool toonBalk() const;
    void zetToonBalk(bool aan);

    // One-time migrations. Each sets its flag before it runs, so it never runs twice; each
    // answers whether it changed anything.
    bool migreerRuisonderdrukkingUit();
    bool migreerAbcIngebouwd();

  private:
    [[nodiscard]] bool booleanOf(const SleutelWaardeOpslag& opslag, std::string_view sleutel,
                                 bool standaardWaarde) const;
    bool eenmalig(std::string_view vlag);

    SleutelWaardeOpslag& groep_;
    SleutelWaardeOpslag& standaard_;
};

}  // namespace tolmo
