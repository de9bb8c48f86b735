#include "TolmoKern/Instellingen/TolmoInstellingen.h"

#include "TolmoKern/Instellingen/JsonLezen.h"

namespace tolmo {
namespace {

using nlohmann::json;

std::optional<std::vector<AppStijl>> leesAppStijlen(const json& j) {
    if (!j.is_array()) {
        return std::nullopt;
    }
    std::vector<AppStijl> uit;
    for (const auto& rij : j) {
        if (!rij.is_object()) {
            return std::nullopt;
        }
        const auto id = rij.find("bundleId");
        const auto naam = rij.find("naam");
        const auto stijl = rij.find("stijl");
        if (id == rij.end() || naam == rij.end() || stijl == rij.end()) {
            return std::nullopt;
        }
        auto i = JsonLezen::tekst(*id);
        auto n = JsonLezen::tekst(*naam);
        auto s = JsonLezen::keuze(*stijl, stijlWaarden);
        if (!i || !n || !s) {
            return std::nullopt;
        }
        uit.push_back({std::move(*i), std::move(*n), *s});
    }
    return uit;
}

std::optional<WoordHerkomst> leesHerkomst(const json& j) {
    if (!j.is_object()) {
        return std::nullopt;
    }
    const auto bron = j.find("bron");
    const auto datum = j.find("datum");
    if (bron == j.end() || datum == j.end()) {
        return std::nullopt;
    }
    auto b = JsonLezen::tekst(*bron);
    auto d = JsonLezen::datumMs(*datum);
    if (!b || !d) {
        return std::nullopt;
    }
    return WoordHerkomst{std::move(*b), *d};
}

// Takes the key's value into veld when it is present and decodes; otherwise leaves the default.
template <typename T, typename F>
void neem(const json& doc, const char* sleutel, T& veld, F lees) {
    const auto it = doc.find(sleutel);
    if (it == doc.end() || it->is_null()) {
        return;
    }
    if (auto waarde = lees(*it)) {
        veld = std::move(*waarde);
    }
}

}  // namespace

const TolmoInstellingen& TolmoInstellingen::standaard() {
    static const TolmoInstellingen s{};
    return s;
}

json TolmoInstellingen::naarJson() const {
    json j = json::object();
    j["motor"] = motorWaarden.naam(motor);
    j["opschonen"] = opschonen;
    j["woorden"] = woorden;
    j["vervangingen"] = vervangingen;
    json h = json::object();
    for (const auto& [woord, herkomstVanWoord] : herkomst) {
        h[woord] = {{"bron", herkomstVanWoord.bron}, {"datum", herkomstVanWoord.datum}};
    }
    j["herkomst"] = h;
    j["toepassingen"] = toepassingen;
    j["standaardStijl"] = stijlWaarden.naam(standaardStijl);
    json apps = json::array();
    for (const auto& a : stijlPerApp) {
        apps.push_back(
            {{"bundleId", a.bundleId}, {"naam", a.naam}, {"stijl", stijlWaarden.naam(a.stijl)}});
    }
    j["stijlPerApp"] = apps;
    if (syncBijgewerkt) {
        j["syncBijgewerkt"] = *syncBijgewerkt;
    }
    j["weergave"] = weergaveWaarden.naam(weergave);
    j["ruisonderdrukking"] = ruisonderdrukking;
    j["microfoonKlaar"] = microfoonKlaarWaarden.naam(microfoonKlaar);
    j["abcKnop"] = abcKnopWaarden.naam(abcKnop);
    j["spraakopdrachten"] = spraakopdrachten;
    j["koptelefoonMicrofoon"] = koptelefoonMicrofoon;
    j["opToestel"] = opToestel;
    j["automatischOffline"] = automatischOffline;
    j["stijlVoorbeelden"] = stijlVoorbeelden;
    j["opschoonNiveau"] = opschoonniveauWaarden.naam(opschoonNiveau);
    j["langeDictatenBekijken"] = langeDictatenBekijken;
    j["serverAanbieder"] = aanbiederWaarden.naam(serverAanbieder);
    return j;
}

TolmoInstellingen TolmoInstellingen::uitJson(const json& j) {
    TolmoInstellingen s = standaard();
    if (!j.is_object()) {
        return s;
    }
    const auto keuze = [](const auto& waarden) {
        return [&waarden](const json& w) { return JsonLezen::keuze(w, waarden); };
    };
    neem(j, "motor", s.motor, keuze(motorWaarden));
    neem(j, "opschonen", s.opschonen, JsonLezen::boolean);
    neem(j, "woorden", s.woorden, JsonLezen::teksten);
    neem(j, "vervangingen", s.vervangingen, [](const json& w) {
        return JsonLezen::woordenboek<std::vector<std::string>>(w, JsonLezen::teksten);
    });
    neem(j, "herkomst", s.herkomst,
         [](const json& w) { return JsonLezen::woordenboek<WoordHerkomst>(w, leesHerkomst); });
    neem(j, "toepassingen", s.toepassingen,
         [](const json& w) { return JsonLezen::woordenboek<std::int64_t>(w, JsonLezen::geheel); });
    neem(j, "standaardStijl", s.standaardStijl, keuze(stijlWaarden));
    neem(j, "stijlPerApp", s.stijlPerApp, leesAppStijlen);
    neem(j, "syncBijgewerkt", s.syncBijgewerkt,
         [](const json& w) -> std::optional<std::optional<DatumMs>> {
             if (auto d = JsonLezen::datumMs(w)) {
                 return std::optional<DatumMs>(*d);
             }
             return std::nullopt;
         });
    neem(j, "weergave", s.weergave, keuze(weergaveWaarden));
    neem(j, "ruisonderdrukking", s.ruisonderdrukking, JsonLezen::boolean);
    neem(j, "microfoonKlaar", s.microfoonKlaar, keuze(microfoonKlaarWaarden));
    neem(j, "abcKnop", s.abcKnop, keuze(abcKnopWaarden));
    neem(j, "spraakopdrachten", s.spraakopdrachten, JsonLezen::boolean);
    neem(j, "koptelefoonMicrofoon", s.koptelefoonMicrofoon, JsonLezen::boolean);
    neem(j, "opToestel", s.opToestel, JsonLezen::boolean);
    neem(j, "automatischOffline", s.automatischOffline, JsonLezen::boolean);
    neem(j, "stijlVoorbeelden", s.stijlVoorbeelden, JsonLezen::teksten);
    neem(j, "opschoonNiveau", s.opschoonNiveau, keuze(opschoonniveauWaarden));
    neem(j, "langeDictatenBekijken", s.langeDictatenBekijken, JsonLezen::boolean);
    neem(j, "serverAanbieder", s.serverAanbieder, keuze(aanbiederWaarden));
    return s;
}

}  // namespace tolmo
