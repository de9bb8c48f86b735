#include "cli/InstellingenOpdracht.h"

#include <iostream>
#include <map>

#include "cli/CliOpslag.h"

namespace tolmo::cli {
namespace {

using nlohmann::json;

// How a value given on the command line is read, per key, and what to tell a user who gets it
// wrong.
enum class Vorm { keuze, boolean, tekstlijst, jsonWaarde };

struct Sleutel {
    Vorm vorm;
    std::vector<std::string> keuzes;
    // Kept with the desktop app's own settings rather than the shared ones.
    bool bureau = false;
};

template <typename E, std::size_t N>
std::vector<std::string> namen(const RuweWaarden<E, N>& w) {
    std::vector<std::string> uit;
    for (const auto& [e, n] : w.rijen) {
        uit.emplace_back(n);
    }
    return uit;
}

const std::map<std::string, Sleutel>& sleutels() {
    static const std::map<std::string, Sleutel> s{
        {"motor", {Vorm::keuze, namen(motorWaarden)}},
        {"opschonen", {Vorm::boolean, {}}},
        {"woorden", {Vorm::tekstlijst, {}}},
        {"vervangingen", {Vorm::jsonWaarde, {}}},
        {"herkomst", {Vorm::jsonWaarde, {}}},
        {"toepassingen", {Vorm::jsonWaarde, {}}},
        {"standaardStijl", {Vorm::keuze, namen(stijlWaarden)}},
        {"stijlPerApp", {Vorm::jsonWaarde, {}}},
        {"syncBijgewerkt", {Vorm::jsonWaarde, {}}},
        {"weergave", {Vorm::keuze, namen(weergaveWaarden)}},
        {"ruisonderdrukking", {Vorm::boolean, {}}},
        {"microfoonKlaar", {Vorm::keuze, namen(microfoonKlaarWaarden)}},
        {"abcKnop", {Vorm::keuze, namen(abcKnopWaarden)}},
        {"spraakopdrachten", {Vorm::boolean, {}}},
        {"koptelefoonMicrofoon", {Vorm::boolean, {}}},
        {"opToestel", {Vorm::boolean, {}}},
        {"automatischOffline", {Vorm::boolean, {}}},
        {"stijlVoorbeelden", {Vorm::tekstlijst, {}}},
        {"opschoonNiveau", {Vorm::keuze, namen(opschoonniveauWaarden)}},
        {"langeDictatenBekijken", {Vorm::boolean, {}}},
        {"serverAanbieder", {Vorm::keuze, namen(aanbiederWaarden)}},
        {"houdToets", {Vorm::keuze, namen(houdToetsWaarden), true}},
        {"wisselSneltoets", {Vorm::jsonWaarde, {}, true}},
    };
    return s;
}

std::string samengevoegd(const std::vector<std::string>& delen) {
    std::string s;
    for (std::size_t i = 0; i < delen.size(); ++i) {
        s += (i == 0 ? "" : ", ") + delen[i];
    }
    return s;
}

std::string toegestaan(const std::string& naam, const Sleutel& s) {
    switch (s.vorm) {
        case Vorm::keuze:
            return "Toegestaan voor " + naam + ": " + samengevoegd(s.keuzes) + ".";
        case Vorm::boolean:
            return "Toegestaan voor " + naam + ": aan, uit, true, false.";
        case Vorm::tekstlijst:
            return "Geef voor " + naam +
                   " een JSON-lijst van teksten, bijvoorbeeld [\"Tolmo\", \"Jan de Vries\"].";
        case Vorm::jsonWaarde:
            return "Geef voor " + naam +
                   " een JSON-waarde in dezelfde vorm als in 'tolmo instellingen'.";
    }
    return {};
}

std::optional<json> leesWaarde(const Sleutel& s, const std::string& tekst) {
    switch (s.vorm) {
        case Vorm::keuze:
            return json(tekst);
        case Vorm::boolean:
            if (tekst == "aan" || tekst == "true" || tekst == "ja") {
                return json(true);
            }
            if (tekst == "uit" || tekst == "false" || tekst == "nee") {
                return json(false);
            }
            return std::nullopt;
        case Vorm::tekstlijst:
        case Vorm::jsonWaarde: {
            json j = json::parse(tekst, nullptr, false);
            if (j.is_discarded()) {
                return std::nullopt;
            }
            return j;
        }
    }
    return std::nullopt;
}

}  // namespace

const char* InstellingenOpdracht::hulp() {
    return "Gebruik: tolmo instellingen [zet SLEUTEL WAARDE | standaard]\n"
           "\n"
           "Zonder meer: toont het instellingendocument.\n"
           "  zet SLEUTEL WAARDE  verandert één instelling; een onbekende sleutel of waarde wordt\n"
           "                      geweigerd en er verandert niets.\n"
           "  standaard           zet alle instellingen terug naar de standaardwaarden.\n"
           "\n"
           "Keuzes en aan/uit geef je als woord (motor mistral, opschonen uit); lijsten en\n"
           "tabellen als JSON (woorden '[\"Tolmo\"]').\n";
}

int InstellingenOpdracht::voerUit(const std::vector<std::string>& args, CliOmgeving& omgeving) {
    if (args.empty()) {
        CliOpslag o(omgeving);
        omgeving.uit << o.gedeeld().laad().naarJson().dump(2) << "\n";
        return 0;
    }
    if (args[0] == "standaard" && args.size() == 1) {
        CliOpslag o(omgeving);
        o.gedeeld().bewaar(TolmoInstellingen::standaard());
        omgeving.uit << "De standaardinstellingen zijn teruggezet.\n";
        return 0;
    }
    if (args[0] != "zet" || args.size() != 3) {
        throw GebruiksFout("Gebruik: tolmo instellingen [zet SLEUTEL WAARDE | standaard].");
    }
    const std::string& naam = args[1];
    const auto gevonden = sleutels().find(naam);
    if (gevonden == sleutels().end()) {
        std::vector<std::string> bekend;
        for (const auto& [n, s] : sleutels()) {
            bekend.push_back(n);
        }
        throw InvoerFout("Onbekende instelling \"" + naam +
                         "\". Bekende instellingen: " + samengevoegd(bekend) + ".");
    }
    const Sleutel& sleutel = gevonden->second;
    const auto waarde = leesWaarde(sleutel, args[2]);
    if (!waarde) {
        throw InvoerFout("Ongeldige waarde \"" + args[2] + "\" voor " + naam + ". " +
                         toegestaan(naam, sleutel));
    }

    CliOpslag o(omgeving);
    // The value counts only when the settings read it back as given; otherwise it would be
    // silently dropped at the next load.
    const auto zet = [&](auto huidig) {
        json document = huidig.naarJson();
        document[naam] = *waarde;
        auto nieuw = decltype(huidig)::uitJson(document);
        const json terug = nieuw.naarJson();
        const auto it = terug.find(naam);
        if (it == terug.end() || *it != *waarde) {
            throw InvoerFout("Ongeldige waarde \"" + args[2] + "\" voor " + naam + ". " +
                             toegestaan(naam, sleutel));
        }
        return nieuw;
    };
    if (sleutel.bureau) {
        o.gedeeld().bewaarMac(zet(o.gedeeld().laadMac()));
    } else {
        o.gedeeld().bewaar(zet(o.gedeeld().laad()));
    }
    omgeving.uit << naam << " is nu " << waarde->dump() << ".\n";
    return 0;
}

}  // namespace tolmo::cli
