#include "TolmoKern/Instellingen/GedeeldeOpslag.h"

#include <optional>
#include <string>

namespace tolmo {
namespace {

std::optional<nlohmann::json> leesDocument(const SleutelWaardeOpslag& opslag,
                                           std::string_view sleutel) {
    const auto waarde = opslag.lees(std::string(sleutel));
    if (!waarde) {
        return std::nullopt;
    }
    const auto* data = std::get_if<std::string>(&*waarde);
    if (data == nullptr) {
        return std::nullopt;
    }
    nlohmann::json j = nlohmann::json::parse(*data, nullptr, /*allow_exceptions=*/false);
    if (j.is_discarded() || !j.is_object()) {
        return std::nullopt;
    }
    return j;
}

void bewaarDocument(SleutelWaardeOpslag& opslag, std::string_view sleutel,
                    const nlohmann::json& j) {
    std::string data;
    try {
        data = j.dump();
    } catch (const nlohmann::json::exception&) {
        // Not encodable (for example text that is not valid UTF-8).
        opslag.verwijder(std::string(sleutel));
        return;
    }
    opslag.zet(std::string(sleutel), std::move(data));
}

}  // namespace

TolmoInstellingen GedeeldeOpslag::laad() const {
    const auto doc = leesDocument(groep_, sleutelInstellingen);
    return doc ? TolmoInstellingen::uitJson(*doc) : TolmoInstellingen::standaard();
}

void GedeeldeOpslag::bewaar(const TolmoInstellingen& instellingen) {
    bewaarDocument(groep_, sleutelInstellingen, instellingen.naarJson());
}

MacInstellingen GedeeldeOpslag::laadMac() const {
    const auto doc = leesDocument(standaard_, sleutelMac);
    return doc ? MacInstellingen::uitJson(*doc) : MacInstellingen::standaard();
}

void GedeeldeOpslag::bewaarMac(const MacInstellingen& instellingen) {
    bewaarDocument(standaard_, sleutelMac, instellingen.naarJson());
}

bool GedeeldeOpslag::booleanOf(const SleutelWaardeOpslag& opslag, std::string_view sleutel,
                               bool standaardWaarde) const {
    const auto waarde = opslag.lees(std::string(sleutel));
    if (!waarde) {
        return standaardWaarde;
    }
    const bool* b = std::get_if<bool>(&*waarde);
    return b != nullptr ? *b : standaardWaarde;
}

bool GedeeldeOpslag::klembordHerstellen() const {
    return booleanOf(standaard_, sleutelKlembordHerstellen, true);
}

void GedeeldeOpslag::zetKlembordHerstellen(bool aan) {
    standaard_.zet(std::string(sleutelKlembordHerstellen), aan);
}

bool GedeeldeOpslag::toonBalk() const {
    return booleanOf(standaard_, sleutelToonBalk, true);
}

void GedeeldeOpslag::zetToonBalk(bool aan) {
    standaard_.zet(std::string(sleutelToonBalk), aan);
}

bool GedeeldeOpslag::eenmalig(std::string_view vlag) {
    if (booleanOf(groep_, vlag, false)) {
        return false;
    }
    groep_.zet(std::string(vlag), true);
    return true;
}

bool GedeeldeOpslag::migreerRuisonderdrukkingUit() {
    if (!eenmalig(migratieRuisonderdrukkingUit)) {
        return false;
    }
    TolmoInstellingen s = laad();
    if (!s.ruisonderdrukking) {
        return false;
    }
    s.ruisonderdrukking = false;
    bewaar(s);
    return true;
}

bool GedeeldeOpslag::migreerAbcIngebouwd() {
    if (!eenmalig(migratieAbcIngebouwd)) {
        return false;
    }
    TolmoInstellingen s = laad();
    if (s.abcKnop == AbcKnop::ingebouwd) {
        return false;
    }
    s.abcKnop = AbcKnop::ingebouwd;
    bewaar(s);
    return true;
}

}  // namespace tolmo
