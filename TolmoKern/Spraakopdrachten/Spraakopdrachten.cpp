#include "TolmoKern/Spraakopdrachten/Spraakopdrachten.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <optional>

#include "TolmoKern/Spraakopdrachten/Bouwer.h"
#include "TolmoKern/Spraakopdrachten/Opdracht.h"
#include "TolmoKern/Tekst/Tekst.h"

namespace tolmo {
namespace {

using Soort = Opdracht::Soort;

struct Rij {
    std::array<std::string_view, 3> woorden;
    std::size_t aantal;
    Opdracht opdracht;
};

// Tried in this order: longer phrases first, so "nieuwe alinea" and "dubbele punt" win over
// "punt", and the first row whose words match decides.
constexpr std::array<Rij, 17> tabel{{
    {{"nieuwe", "alinea"}, 2, Opdracht::van(Soort::nieuweAlinea)},
    {{"nieuwe", "regel"}, 2, Opdracht::van(Soort::nieuweRegel)},
    {{"dubbele", "punt"}, 2, Opdracht::leesteken(":")},
    {{"aanhalingstekens", "openen"}, 2, Opdracht::van(Soort::aanhalingOpenen)},
    {{"aanhalingsteken", "openen"}, 2, Opdracht::van(Soort::aanhalingOpenen)},
    {{"open", "aanhalingstekens"}, 2, Opdracht::van(Soort::aanhalingOpenen)},
    {{"aanhalingstekens", "sluiten"}, 2, Opdracht::van(Soort::aanhalingSluiten)},
    {{"aanhalingsteken", "sluiten"}, 2, Opdracht::van(Soort::aanhalingSluiten)},
    {{"sluit", "aanhalingstekens"}, 2, Opdracht::van(Soort::aanhalingSluiten)},
    {{"einde", "opsomming"}, 2, Opdracht::van(Soort::opsommingEinde)},
    {{"laatste", "zin", "weg"}, 3, Opdracht::van(Soort::laatsteZinWeg)},
    {{"schrap", "dat"}, 2, Opdracht::van(Soort::laatsteZinWeg)},
    {{"opsomming"}, 1, Opdracht::van(Soort::opsommingBegin)},
    {{"vraagteken"}, 1, Opdracht::leesteken("?")},
    {{"uitroepteken"}, 1, Opdracht::leesteken("!")},
    {{"komma"}, 1, Opdracht::leesteken(",")},
    {{"punt"}, 1, Opdracht::leesteken(".")},
}};

// Before "nieuwe regel", "nieuwe alinea" and "dubbele punt" these make the phrase a noun.
constexpr std::array<std::string_view, 19> lidwoorden{
    "de", "een", "die",  "deze", "elke", "iedere", "geen", "welke", "mijn", "jouw",
    "je", "uw",  "zijn", "haar", "onze", "hun",    "zo'n", "the",   "a"};

// Before "opsomming" and "punt" these make the word a noun ("het punt", "een opsomming").
constexpr std::array<std::string_view, 50> bepalers{
    "een",     "het",        "de",          "dit",    "dat",    "die",    "deze",   "elk",
    "elke",    "ieder",      "iedere",      "geen",   "welk",   "welke",  "mijn",   "jouw",
    "je",      "uw",         "zijn",        "haar",   "ons",    "onze",   "hun",    "goed",
    "goede",   "belangrijk", "belangrijke", "ander",  "andere", "eerste", "tweede", "derde",
    "laatste", "volgende",   "vorige",      "zwak",   "zwakke", "sterk",  "sterke", "dikke",
    "groot",   "grote",      "nieuw",       "nieuwe", "op",     "dat",    "zo'n",   "zulk",
    "zulke",   "dubbele"};

// "een vraagteken", "een dikke uitroepteken": the mark is talked about, not placed.
constexpr std::array<std::string_view, 5> tekenBepalers{"een", "geen", "dikke", "groot", "grote"};

// "een opsomming van", "de opsomming is": followed by these, "opsomming" is a noun.
constexpr std::array<std::string_view, 5> naOpsomming{"van", "is", "was", "met", "voor"};

// Spelled-out numbers: "drie komma vijf" is a number just like "3 komma 5".
constexpr std::array<std::string_view, 19> telwoorden{
    "nul",    "een",     "twee",    "drie",    "vier",   "vijf",   "zes",
    "zeven",  "acht",    "negen",   "tien",    "elf",    "twaalf", "twintig",
    "dertig", "veertig", "vijftig", "honderd", "duizend"};

template <std::size_t N>
bool staatIn(const std::array<std::string_view, N>& lijst, std::string_view woord) {
    return std::find(lijst.begin(), lijst.end(), woord) != lijst.end();
}

// Transcripts are mostly ASCII: these skip the decoder and ICU's property tables for it.
char32_t lees(std::string_view s, std::size_t& i) {
    const auto b = static_cast<unsigned char>(s[i]);
    if (b < 0x80) {
        ++i;
        return b;
    }
    return Tekst::codepuntOp(s, i);
}

bool isLeesteken(char32_t c) {
    if (c < 0x80) {
        // ASCII punctuation in the Unicode sense; $ + < = > ^ ` | ~ are symbols.
        static constexpr std::string_view ascii = "!\"#%&'()*,-./:;?@[\\]_{}";
        return ascii.find(static_cast<char>(c)) != std::string_view::npos;
    }
    return Tekst::isLeesteken(c);
}

bool isWit(char32_t c) {
    if (c < 0x80) {
        return c == ' ' || (c >= '\t' && c <= '\r');
    }
    return Tekst::isWitruimte(c);
}

bool isSluitteken(char32_t c) {
    return c == U'"' || c == U'\'' || c == U'\u201D' || c == U'\u2019' || c == U')';
}

// The last code point of the word once closing quotes and a closing parenthesis are taken off
// its end; 0 when nothing remains.
char32_t eindteken(std::string_view woord) {
    char32_t laatste = 0;
    std::size_t i = 0;
    while (i < woord.size()) {
        const char32_t c = lees(woord, i);
        if (!isSluitteken(c)) {
            laatste = c;
        }
    }
    return laatste;
}

std::string kernVan(std::string_view woord) {
    std::size_t begin = woord.size();
    std::size_t eind = 0;
    bool ascii = true;
    std::size_t i = 0;
    while (i < woord.size()) {
        const std::size_t plek = i;
        const char32_t c = lees(woord, i);
        ascii = ascii && c < 0x80;
        if (!isLeesteken(c)) {
            begin = std::min(begin, plek);
            eind = i;
        }
    }
    if (begin >= eind) {
        return {};
    }
    const std::string_view kern = woord.substr(begin, eind - begin);
    if (!ascii) {
        return Tekst::kleineLetters(kern);
    }
    std::string uit(kern);
    for (char& c : uit) {
        if (c >= 'A' && c <= 'Z') {
            c = static_cast<char>(c - 'A' + 'a');
        }
    }
    return uit;
}

bool begintMetHoofdletter(std::string_view woord) {
    std::size_t i = 0;
    while (i < woord.size()) {
        const char32_t c = lees(woord, i);
        if (!isLeesteken(c)) {
            return Tekst::isHoofdletter(c);
        }
    }
    return false;
}

bool isGetal(const Spraakopdrachten::Token* t) {
    if (t == nullptr || t->kern.empty()) {
        return false;
    }
    std::size_t i = 0;
    return Tekst::isCijfer(lees(t->kern, i)) || staatIn(telwoorden, t->kern);
}

const Rij* zoekRij(const std::vector<Spraakopdrachten::Token>& tokens, std::size_t plek) {
    for (const Rij& rij : tabel) {
        if (plek + rij.aantal > tokens.size()) {
            continue;
        }
        bool gelijk = true;
        for (std::size_t k = 0; k < rij.aantal && gelijk; ++k) {
            gelijk = tokens[plek + k].kern == rij.woorden[k];
        }
        if (gelijk) {
            return &rij;
        }
    }
    return nullptr;
}

// Everything the acceptance rules look at around one matched phrase.
struct Omgeving {
    const Spraakopdrachten::Token* vorige;    // the word before the phrase, if any
    const Spraakopdrachten::Token& laatste;   // the phrase's own last word
    const Spraakopdrachten::Token* volgende;  // the word after the phrase, if any
    // A command was carried out right before the phrase: that too is a boundary.
    bool naOpdracht;
    // A spoken list is open. There the layout commands are expected between items, and the
    // speaker rarely pauses long enough for the recogniser to put a full stop around them.
    bool inLijst;
    // The words after the phrase form a command phrase themselves.
    const Rij* volgendeRij;
};

std::string_view vorigWoord(const Omgeving& o) {
    return o.vorige != nullptr ? std::string_view(o.vorige->kern) : std::string_view{};
}

// A following phrase that changes the layout ("schrap dat nieuwe regel", "nieuwe regel nieuwe
// regel") shows the phrase before it was a command too. A following punctuation mark does not:
// "het geldt nieuwe regel punt" ends a sentence about the rule. "opsomming" is too often a
// plain noun to count.
bool volgtIndeling(const Omgeving& o) {
    return o.volgendeRij != nullptr && o.volgendeRij->opdracht.soort != Soort::leesteken &&
           o.volgendeRij->opdracht.soort != Soort::opsommingBegin;
}

bool aanvaard(const Opdracht& opdracht, const Omgeving& o) {
    const std::string_view vorig = vorigWoord(o);
    switch (opdracht.soort) {
        case Soort::nieuweRegel:
        case Soort::nieuweAlinea: {
            if (staatIn(lidwoorden, vorig)) {
                return false;
            }
            const char32_t eind = o.laatste.origineel.empty() ? 0 : eindteken(o.laatste.origineel);
            const bool eindigtOpTeken = eind == U'.' || eind == U',' || eind == U';' ||
                                        eind == U':' || eind == U'!' || eind == U'?';
            return o.volgende == nullptr || eindigtOpTeken ||
                   (o.vorige != nullptr && o.vorige->isRegeleinde) ||
                   begintMetHoofdletter(o.volgende->origineel) || o.naOpdracht || o.inLijst ||
                   volgtIndeling(o);
        }
        case Soort::laatsteZinWeg: {
            // In a list it takes back the item just spoken.
            if (o.inLijst) {
                return true;
            }
            const bool zinsbegin = (o.vorige != nullptr && o.vorige->isRegeleinde) || o.naOpdracht;
            if (!zinsbegin) {
                return false;
            }
            return o.volgende == nullptr || o.laatste.isRegeleinde || volgtIndeling(o);
        }
        case Soort::opsommingBegin:
            // Followed by a punctuation mark the word closes a clause: "graag een korte
            // opsomming punt" talks about a list.
            return !staatIn(bepalers, vorig) && o.volgende != nullptr &&
                   !staatIn(naOpsomming, o.volgende->kern) &&
                   !(o.volgendeRij != nullptr && o.volgendeRij->opdracht.soort == Soort::leesteken);
        case Soort::opsommingEinde:
        case Soort::aanhalingOpenen:
        case Soort::aanhalingSluiten:
            return true;
        case Soort::leesteken:
            break;
    }
    const std::string_view teken = opdracht.teken;
    if (teken == ":") {
        return !staatIn(lidwoorden, vorig);
    }
    if (teken == "?" || teken == "!") {
        return !staatIn(tekenBepalers, vorig);
    }
    const bool tussenGetallen = isGetal(o.vorige) && isGetal(o.volgende);
    if (teken == ".") {
        return !staatIn(bepalers, vorig) && !tussenGetallen;
    }
    return !tussenGetallen;
}

}  // namespace

bool Spraakopdrachten::eindigtZin(std::string_view woord) {
    const char32_t eind = eindteken(woord);
    return eind == U'.' || eind == U'?' || eind == U'!';
}

std::vector<Spraakopdrachten::Token> Spraakopdrachten::tokens(std::string_view tekst) {
    std::string hersteld;
    if (!Tekst::isGeldigeUtf8(tekst)) {
        hersteld = Tekst::utf8(Tekst::codepunten(tekst));
        tekst = hersteld;
    }
    std::vector<Token> uit;
    uit.reserve(tekst.size() / 5 + 1);
    std::size_t i = 0;
    std::size_t begin = 0;
    bool inWoord = false;
    while (i < tekst.size()) {
        const std::size_t plek = i;
        const char32_t c = lees(tekst, i);
        const bool wit = isWit(c);
        if (!wit && !inWoord) {
            begin = plek;
            inWoord = true;
        } else if (wit && inWoord) {
            const std::string_view woord = tekst.substr(begin, plek - begin);
            uit.push_back({std::string(woord), kernVan(woord), eindigtZin(woord)});
            inWoord = false;
        }
    }
    if (inWoord) {
        const std::string_view woord = tekst.substr(begin);
        uit.push_back({std::string(woord), kernVan(woord), eindigtZin(woord)});
    }
    return uit;
}

std::string Spraakopdrachten::pasToe(const std::string& transcript) {
    const std::vector<Token> woorden = tokens(transcript);
    Bouwer bouwer;
    bouwer.stukken.reserve(woorden.size());
    bool naOpdracht = false;
    std::size_t plek = 0;
    while (plek < woorden.size()) {
        const Rij* rij = zoekRij(woorden, plek);
        if (rij != nullptr) {
            const std::size_t na = plek + rij->aantal;
            const Omgeving o{plek > 0 ? &woorden[plek - 1] : nullptr,
                             woorden[na - 1],
                             na < woorden.size() ? &woorden[na] : nullptr,
                             naOpdracht,
                             bouwer.lijst.has_value(),
                             zoekRij(woorden, na)};
            if (aanvaard(rij->opdracht, o)) {
                bouwer.voerUit(rij->opdracht);
                naOpdracht = true;
                plek = na;
                continue;
            }
        }
        bouwer.woord(woorden[plek].origineel);
        naOpdracht = false;
        ++plek;
    }
    return bouwer.tekst();
}

}  // namespace tolmo
