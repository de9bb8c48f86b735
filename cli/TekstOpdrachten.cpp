#include "cli/TekstOpdrachten.h"

#include <iostream>
#include <iterator>

#include "TolmoKern/Opschonen/RegelOpschoner.h"
#include "TolmoKern/Opschonen/StijlBepaling.h"
#include "TolmoKern/Spraakopdrachten/Spraakopdrachten.h"
#include "cli/CliOpslag.h"

namespace tolmo::cli {
namespace {

std::string leesAlles(std::istream& in) {
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

// The saved settings, read without ever failing: what is missing falls back to its default.
TolmoInstellingen instellingen(CliOmgeving& o) {
    return CliOpslag(o).gedeeld().laad();
}

Stijl leesStijl(const std::string& waarde) {
    if (const auto s = stijlWaarden.zoek(waarde)) {
        return *s;
    }
    throw GebruiksFout("Onbekende stijl \"" + waarde +
                       "\". Kies zakelijk, neutraal, los of letterlijk.");
}

}  // namespace

const char* TekstOpdrachten::hulpOpschonen() {
    return "Gebruik: tolmo opschonen [--stijl STIJL] [--kort] [--woord TERM]...\n"
           "\n"
           "Leest tekst van standaardinvoer en schrijft hem opgeschoond door de regels (zonder\n"
           "taalmodel): aarzelingen en herhaalde woorden weg, hoofdletters en slotpunt goed.\n"
           "  --stijl STIJL  zakelijk, neutraal, los of letterlijk (standaard: de ingestelde\n"
           "                 standaardstijl)\n"
           "  --kort         alleen de korte opschoning van korte dictaten\n"
           "  --woord TERM   een naam of term die zijn schrijfwijze houdt (mag vaker); de\n"
           "                 woordenlijst uit de instellingen telt ook mee\n";
}

const char* TekstOpdrachten::hulpSpraakopdrachten() {
    return "Gebruik: tolmo spraakopdrachten\n"
           "\n"
           "Leest tekst van standaardinvoer en voert de gesproken opdrachten uit, zoals \"nieuwe\n"
           "regel\", \"komma\", \"punt\" en \"schrap dat\".\n";
}

const char* TekstOpdrachten::hulpStijl() {
    return "Gebruik: tolmo stijl BUNDLEID\n"
           "\n"
           "Toont de schrijfstijl die een dictaat in die app krijgt, volgens de instellingen.\n";
}

int TekstOpdrachten::opschonen(const std::vector<std::string>& args, CliOmgeving& omgeving) {
    std::optional<Stijl> stijl;
    bool kort = false;
    std::vector<std::string> extra;
    for (std::size_t i = 0; i < args.size(); ++i) {
        const std::string& a = args[i];
        if (a == "--kort") {
            kort = true;
        } else if ((a == "--stijl" || a == "--woord") && i + 1 < args.size()) {
            if (a == "--stijl") {
                stijl = leesStijl(args[++i]);
            } else {
                extra.push_back(args[++i]);
            }
        } else if (a == "--stijl" || a == "--woord") {
            throw GebruiksFout("Na " + a + " hoort een waarde. Zie tolmo opschonen --help.");
        } else {
            throw GebruiksFout("Onbekende optie \"" + a + "\". Zie tolmo opschonen --help.");
        }
    }
    const TolmoInstellingen s = instellingen(omgeving);
    std::vector<std::string> woorden = s.woorden;
    woorden.insert(woorden.end(), extra.begin(), extra.end());
    const Stijl gekozen = stijl.value_or(s.standaardStijl);
    const std::string tekst = leesAlles(omgeving.in);
    omgeving.uit << (kort ? RegelOpschoner::basisOpschoning(tekst, gekozen)
                          : RegelOpschoner::maakSchoon(tekst, woorden, gekozen))
                 << "\n";
    return 0;
}

int TekstOpdrachten::spraakopdrachten(const std::vector<std::string>& args, CliOmgeving& omgeving) {
    if (!args.empty()) {
        throw GebruiksFout(
            "tolmo spraakopdrachten neemt geen argumenten; de tekst komt van standaardinvoer.");
    }
    omgeving.uit << Spraakopdrachten::pasToe(leesAlles(omgeving.in)) << "\n";
    return 0;
}

int TekstOpdrachten::stijl(const std::vector<std::string>& args, CliOmgeving& omgeving) {
    if (args.size() != 1 || args[0].empty() || args[0].starts_with("-")) {
        throw GebruiksFout("Gebruik: tolmo stijl BUNDLEID.");
    }
    const TolmoInstellingen s = instellingen(omgeving);
    const StijlBepaling bepaling{s.standaardStijl, s.stijlPerApp};
    omgeving.uit << stijlWaarden.naam(stijlVoorApp(args[0], bepaling)) << "\n";
    return 0;
}

}  // namespace tolmo::cli
