#include "TolmoKern/Spraakopdrachten/Bouwer.h"

#include <utility>

#include "TolmoKern/Opschonen/RegelOpschoner.h"
#include "TolmoKern/Spraakopdrachten/Spraakopdrachten.h"
#include "TolmoKern/Tekst/Tekst.h"

namespace tolmo {
namespace {

bool isZinseinde(std::string_view teken) {
    return teken == "." || teken == "?" || teken == "!";
}

}  // namespace

void Bouwer::woord(std::string_view origineel) {
    std::string w;
    if (voorvoegsel.empty()) {
        w.assign(origineel);
    } else {
        w = std::move(voorvoegsel);
        w.append(origineel);
        voorvoegsel.clear();
    }
    if (hoofdletter) {
        // A word with its own casing (iPhone, eBay) keeps it, as the rule cleaner does.
        if (!RegelOpschoner::houdtEigenSchrijfwijze(origineel, {})) {
            w = Tekst::metHoofdletter(w);
        }
        hoofdletter = false;
    }
    voegToe(std::move(w));
}

void Bouwer::voegToe(std::string w) {
    if (!lijst) {
        stukken.push_back({Stuk::Soort::woord, std::move(w)});
        return;
    }
    // Inside a list every sentence is an item of its own: a speaker who pauses between items
    // gets a full stop from the recogniser, not a spoken "nieuwe regel". The item closes when
    // the next word arrives, so a spoken mark or closing quote can still attach to it.
    if (!huidigPunt.empty() && Spraakopdrachten::eindigtZin(huidigPunt.back())) {
        sluitPunt();
    }
    huidigPunt.push_back(std::move(w));
}

void Bouwer::voerUit(const Opdracht& opdracht) {
    using Soort = Opdracht::Soort;
    switch (opdracht.soort) {
        case Soort::leesteken:
            if (std::string* laatste = laatsteWoord()) {
                laatste->append(opdracht.teken);
            } else {
                // Nothing to attach to: the user dictates into text that is already there, so
                // the mark is typed on its own.
                voegToe(std::string(opdracht.teken));
            }
            // A spoken full stop, question or exclamation mark starts a new sentence; a comma
            // or colon leaves a pending capital alone (it still belongs to the next word). In a
            // list items keep the case they were spoken in.
            if (isZinseinde(opdracht.teken) && !lijst) {
                hoofdletter = true;
            }
            break;
        case Soort::nieuweRegel:
            if (lijst) {
                // In a list a new line starts the next item, which is written as spoken, like
                // the first one. An empty item is never written.
                sluitPunt();
                hoofdletter = false;
            } else {
                stukken.push_back({Stuk::Soort::regel, {}});
                hoofdletter = true;
            }
            break;
        case Soort::nieuweAlinea:
            // A paragraph break leaves the list.
            sluitLijst();
            stukken.push_back({Stuk::Soort::alinea, {}});
            hoofdletter = true;
            break;
        case Soort::aanhalingOpenen:
            voorvoegsel = "\"";
            break;
        case Soort::aanhalingSluiten:
            // Appended right at the end, also after a word ending in "," or ";".
            if (std::string* laatste = laatsteWoord()) {
                laatste->push_back('"');
            }
            break;
        case Soort::laatsteZinWeg:
            schrapLaatsteZin();
            // A pending opening quote belonged to what was just taken back.
            voorvoegsel.clear();
            hoofdletter = !lijst;
            break;
        case Soort::opsommingBegin:
            // Said inside an open list it merely closes the current item.
            sluitPunt();
            if (!lijst) {
                lijst = 0;
            }
            hoofdletter = false;
            break;
        case Soort::opsommingEinde:
            if (lijst) {
                sluitLijst();
                hoofdletter = true;
            }
            break;
    }
}

void Bouwer::sluitPunt() {
    if (huidigPunt.empty()) {
        return;
    }
    std::string regel = std::move(huidigPunt.front());
    for (std::size_t i = 1; i < huidigPunt.size(); ++i) {
        regel.push_back(' ');
        regel.append(huidigPunt[i]);
    }
    huidigPunt.clear();
    stukken.push_back({Stuk::Soort::lijstregel, std::move(regel)});
    if (lijst) {
        ++*lijst;
    }
}

void Bouwer::sluitLijst() {
    if (lijst) {
        sluitPunt();
        lijst.reset();
    }
}

// The word a spoken mark or closing quote attaches to: the last word of the open item, else the
// last word or list line written, looking back past line breaks ("Hallo nieuwe regel komma"
// still means "Hallo,").
std::string* Bouwer::laatsteWoord() {
    if (!huidigPunt.empty()) {
        return &huidigPunt.back();
    }
    for (auto it = stukken.rbegin(); it != stukken.rend(); ++it) {
        if (it->soort == Stuk::Soort::woord || it->soort == Stuk::Soort::lijstregel) {
            return &it->tekst;
        }
    }
    return nullptr;
}

void Bouwer::schrapLaatsteZin() {
    // An open item holds one sentence at most (a sentence end closes it), so it goes whole.
    if (!huidigPunt.empty()) {
        huidigPunt.clear();
        return;
    }
    if (lijst && *lijst > 0 && !stukken.empty() &&
        stukken.back().soort == Stuk::Soort::lijstregel) {
        stukken.pop_back();
        --*lijst;
        return;
    }
    // Walk back over the last sentence: its own closing word does not stop the walk, the end of
    // the sentence before it does. A list line counts as one sentence. Line breaks do not stop
    // the walk: with no earlier sentence end everything goes.
    bool woordWeg = false;
    while (!stukken.empty()) {
        const Stuk& s = stukken.back();
        const bool isRegel = s.soort == Stuk::Soort::lijstregel;
        const bool isWoord = s.soort == Stuk::Soort::woord;
        if (woordWeg && (isRegel || (isWoord && Spraakopdrachten::eindigtZin(s.tekst)))) {
            break;
        }
        woordWeg = woordWeg || isWoord || isRegel;
        stukken.pop_back();
        if (isRegel) {
            break;
        }
    }
}

std::string Bouwer::tekst() {
    // An opening quote with no word after it is still written: the user may go on dictating in
    // the next recording, and nothing that was said is dropped.
    if (!voorvoegsel.empty()) {
        std::string rest = std::move(voorvoegsel);
        voorvoegsel.clear();
        voegToe(std::move(rest));
    }
    sluitLijst();

    // Words are separated by one space. A list line always stands on a line of its own, so
    // whatever follows it on the same line starts a new one; a line break right after a list
    // line therefore adds no empty line, a paragraph break does.
    std::size_t lengte = 0;
    for (const Stuk& s : stukken) {
        lengte += s.tekst.size() + 3;
    }
    std::string uit;
    uit.reserve(lengte);
    enum class Vorig { niets, woord, lijstregel, breuk } vorig = Vorig::niets;
    for (const Stuk& s : stukken) {
        switch (s.soort) {
            case Stuk::Soort::woord:
                if (vorig == Vorig::woord) {
                    uit.push_back(' ');
                } else if (vorig == Vorig::lijstregel) {
                    uit.push_back('\n');
                }
                uit.append(s.tekst);
                vorig = Vorig::woord;
                break;
            case Stuk::Soort::lijstregel:
                if (vorig == Vorig::woord || vorig == Vorig::lijstregel) {
                    uit.push_back('\n');
                }
                uit.append("- ");
                uit.append(s.tekst);
                vorig = Vorig::lijstregel;
                break;
            case Stuk::Soort::regel:
                uit.push_back('\n');
                vorig = Vorig::breuk;
                break;
            case Stuk::Soort::alinea:
                uit.append("\n\n");
                vorig = Vorig::breuk;
                break;
        }
    }
    return uit;
}

}  // namespace tolmo
