#include "cli/SleutelOpdracht.h"

#include <iostream>
#include <iterator>

#include "Tolmo/linux/freedesktop/Sleutelopslag.h"
#include "TolmoKern/Tekst/Tekst.h"

namespace tolmo::cli {

const char* SleutelOpdracht::hulp() {
    return "Gebruik: tolmo sleutel [zet SOORT | wis SOORT]\n"
           "\n"
           "SOORT is openai, mistral of server (de toegangscode van de Tolmo-server).\n"
           "Zonder meer: toont welke sleutels er zijn, gemaskeerd.\n"
           "  zet SOORT  leest de sleutel van standaardinvoer (nooit van de opdrachtregel, waar\n"
           "             andere gebruikers hem zouden kunnen zien) en bewaart hem in de\n"
           "             sleutelbos van je sessie (GNOME Keyring, KWallet). Zonder sleutelbos\n"
           "             gaat hij naar een bestand dat alleen jij kunt lezen.\n"
           "  wis SOORT  verwijdert de bewaarde sleutel.\n"
           "\n"
           "Sleutels die nog in dat bestand staan, verhuizen naar de sleutelbos zodra er een is.\n"
           "OPENAI_API_KEY, MISTRAL_API_KEY en TOLMO_TOEGANGSCODE gaan voor op wat bewaard is.\n";
}

int SleutelOpdracht::voerUit(const std::vector<std::string>& args, CliOmgeving& omgeving) {
    const auto kluis = openSleutelbeheer(omgeving.configMap, omgeving.omgeving);
    if (args.empty()) {
        for (const auto soort : {Sleutelbeheer::Soort::openai, Sleutelbeheer::Soort::mistral,
                                 Sleutelbeheer::Soort::server}) {
            std::optional<Sleutelbeheer::Gevonden> g;
            try {
                g = kluis->zoek(soort);
            } catch (const std::runtime_error& e) {
                throw InvoerFout(e.what());
            }
            omgeving.uit << Sleutelbeheer::naam(soort) << ": ";
            if (g) {
                omgeving.uit << Sleutelbeheer::gemaskeerd(g->waarde) << " (" << g->bron << ")\n";
            } else {
                omgeving.uit << "niet ingesteld\n";
            }
        }
        return 0;
    }
    if (args.size() != 2 || (args[0] != "zet" && args[0] != "wis")) {
        throw GebruiksFout("Gebruik: tolmo sleutel [zet SOORT | wis SOORT].");
    }
    const auto soort = Sleutelbeheer::soortUit(args[1]);
    if (!soort) {
        throw GebruiksFout("Onbekende soort sleutel \"" + args[1] +
                           "\". Kies openai, mistral of server.");
    }
    const std::string naam(Sleutelbeheer::naam(*soort));
    if (args[0] == "wis") {
        bool gewist = false;
        try {
            gewist = kluis->wis(*soort);
        } catch (const std::runtime_error& e) {
            throw InvoerFout(e.what());
        }
        if (gewist) {
            omgeving.uit << "De sleutel voor " << naam << " is gewist.\n";
        } else {
            omgeving.uit << "Er was geen sleutel voor " << naam << " bewaard.\n";
        }
        return 0;
    }

    std::string gelezen;
    std::getline(omgeving.in, gelezen);
    const std::string sleutel = Tekst::trim(gelezen);
    if (sleutel.empty()) {
        throw InvoerFout("Geen sleutel gelezen van standaardinvoer. Geef hem op de eerste regel.");
    }
    if (!Tekst::isGeldigeUtf8(sleutel) || Tekst::splitsOpWitruimte(sleutel).size() != 1) {
        throw InvoerFout("Deze sleutel bevat spaties of ongeldige tekens. Er is niets bewaard.");
    }
    try {
        kluis->zet(*soort, sleutel);
    } catch (const std::exception& e) {
        throw InvoerFout("De sleutel kon niet worden bewaard in " + kluis->plek() + " (" +
                         e.what() + ").");
    }
    omgeving.uit << "De sleutel voor " << naam << " is bewaard in " << kluis->plek() << ".\n";
    return 0;
}

}  // namespace tolmo::cli
