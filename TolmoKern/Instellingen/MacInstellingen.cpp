#include "TolmoKern/Instellingen/MacInstellingen.h"

#include "TolmoKern/Instellingen/JsonLezen.h"

namespace tolmo {

const MacInstellingen& MacInstellingen::standaard() {
    static const MacInstellingen s{};
    return s;
}

nlohmann::json MacInstellingen::naarJson() const {
    nlohmann::json j = {{"houdToets", houdToetsWaarden.naam(houdToets)}};
    if (wisselSneltoets) {
        j["wisselSneltoets"] = wisselSneltoets->naarJson();
    }
    return j;
}

MacInstellingen MacInstellingen::uitJson(const nlohmann::json& j) {
    if (!j.is_object()) {
        return standaard();
    }
    const auto houd = j.find("houdToets");
    if (houd == j.end()) {
        return standaard();
    }
    const auto toets = JsonLezen::keuze(*houd, houdToetsWaarden);
    if (!toets) {
        return standaard();
    }
    MacInstellingen m;
    m.houdToets = *toets;
    m.wisselSneltoets.reset();
    const auto wissel = j.find("wisselSneltoets");
    if (wissel != j.end() && !wissel->is_null()) {
        m.wisselSneltoets = Toetscombinatie::uitJson(*wissel);
        if (!m.wisselSneltoets) {
            return standaard();
        }
    }
    return m;
}

}  // namespace tolmo
