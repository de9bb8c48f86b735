#include "cli/TolmoCli.h"

#include <iostream>

#include "cli/DicteerOpdracht.h"
#include "cli/InstellingenOpdracht.h"
#include "cli/SleutelOpdracht.h"
#include "cli/TekstOpdrachten.h"

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

struct Opdracht {
    const char* naam;
    const char* (*hulp)();
    int (*voerUit)(const std::vector<std::string>&, CliOmgeving&);
};

const std::vector<Opdracht>& opdrachten() {
    static const std::vector<Opdracht> lijst{
        {"dicteer", DicteerOpdracht::hulp, DicteerOpdracht::voerUit},
        {"instellingen", InstellingenOpdracht::hulp, InstellingenOpdracht::voerUit},
        {"sleutel", SleutelOpdracht::hulp, SleutelOpdracht::voerUit},
        {"opschonen", TekstOpdrachten::hulpOpschonen, TekstOpdrachten::opschonen},
        {"spraakopdrachten", TekstOpdrachten::hulpSpraakopdrachten,
         TekstOpdrachten::spraakopdrachten},
        {"stijl", TekstOpdrachten::hulpStijl, TekstOpdrachten::stijl},
    };
    return lijst;
}

}  // namespace

const char* TolmoCli::hulp() {
    return "Gebruik: tolmo OPDRACHT [OPTIES]\n"
           "\n"
           "Opdrachten:\n"
           "  dicteer         dicteert een audiobestand of de microfoon en drukt de tekst af\n"
           "  instellingen    toont of verandert de instellingen\n"
           "  sleutel         beheert de API-sleutels en de toegangscode van de Tolmo-server\n"
           "  opschonen       schoont tekst van standaardinvoer op met de regels\n"
           "  spraakopdrachten voert gesproken opdrachten uit in tekst van standaardinvoer\n"
           "  stijl           toont de schrijfstijl voor een app\n"
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
        for (const Opdracht& o : opdrachten()) {
            if (opdracht == o.naam) {
                if (vraagtHulp(rest)) {
                    omgeving.uit << o.hulp();
                    return 0;
                }
                return o.voerUit(rest, omgeving);
            }
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
