#include "cli/TolmoCli.h"

#include <iostream>

#include "cli/DicteerOpdracht.h"
#include "cli/InstellingenOpdracht.h"
#include "cli/SleutelOpdracht.h"

#ifndef TOLMO_VERSIE
#define TOLMO_VERSIE "0.0.0"
#endif

namespace tolmo::cli {
namespace {

bool vraagtHulp(const std::vector<std::string>& args) {
    for (const std::string& a : args) {
        if (a == "--help" || a == "-h") {
            return true;
        }
    }
    return false;
}

}  // namespace

const char* TolmoCli::hulp() {
    return "Gebruik: tolmo OPDRACHT [OPTIES]\n"
           "\n"
           "Opdrachten:\n"
           "  dicteer         dicteert een audiobestand of de microfoon en drukt de tekst af\n"
           "  instellingen    toont of verandert de instellingen\n"
           "  sleutel         beheert de API-sleutels en de toegangscode van de Tolmo-server\n"
           "\n"
           "  tolmo OPDRACHT --help  uitleg bij één opdracht\n"
           "  tolmo --versie         toont de versie\n";
}

int TolmoCli::voerUit(const std::vector<std::string>& args, CliOmgeving& omgeving) {
    try {
        if (args.empty()) {
            throw GebruiksFout("Geef een opdracht. Zie tolmo --help.");
        }
        const std::string& opdracht = args[0];
        const std::vector<std::string> rest(args.begin() + 1, args.end());
        if (opdracht == "--help" || opdracht == "-h" || opdracht == "help") {
            omgeving.uit << hulp();
            return 0;
        }
        if (opdracht == "--versie" || opdracht == "--version") {
            omgeving.uit << "tolmo " << TOLMO_VERSIE << "\n";
            return 0;
        }
        if (opdracht == "dicteer") {
            if (vraagtHulp(rest)) {
                omgeving.uit << DicteerOpdracht::hulp();
                return 0;
            }
            return DicteerOpdracht::voerUit(rest, omgeving);
        }
        if (opdracht == "instellingen") {
            if (vraagtHulp(rest)) {
                omgeving.uit << InstellingenOpdracht::hulp();
                return 0;
            }
            return InstellingenOpdracht::voerUit(rest, omgeving);
        }
        if (opdracht == "sleutel") {
            if (vraagtHulp(rest)) {
                omgeving.uit << SleutelOpdracht::hulp();
                return 0;
            }
            return SleutelOpdracht::voerUit(rest, omgeving);
        }
        throw GebruiksFout("Onbekende opdracht \"" + opdracht + "\". Zie tolmo --help.");
    } catch (const GebruiksFout& f) {
        omgeving.fout << f.what() << "\n";
        return 2;
    } catch (const InvoerFout& f) {
        omgeving.fout << f.what() << "\n";
        return 1;
    }
}

}  // namespace tolmo::cli
