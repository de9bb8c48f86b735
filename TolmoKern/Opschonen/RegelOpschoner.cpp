#include "TolmoKern/Opschonen/RegelOpschoner.h"

#include <algorithm>

#include "TolmoKern/Tekst/Patroon.h"
#include "TolmoKern/Tekst/Tekst.h"

namespace tolmo {
namespace {

constexpr std::string_view beletselteken = "…";

// Spaces and tabs only: a comma-led line keeps the line breaks around it.
std::string_view trimSpatiesEnTabs(std::string_view s) {
    const auto begin = s.find_first_not_of(" \t");
    if (begin == std::string_view::npos) {
        return {};
    }
    return s.substr(begin, s.find_last_not_of(" \t") - begin + 1);
}

bool isSpatieOfTab(char c) {
    return c == ' ' || c == '\t';
}

bool isLetterOfCijfer(char32_t c) {
    return Tekst::isLetter(c) || Tekst::isCijfer(c);
}

// Whether the first or last character (grapheme cluster) is exactly `teken`; a comma with an
// accent on it is another character.
bool begintMetTeken(std::string_view t, std::string_view teken) {
    if (!t.starts_with(teken)) {
        return false;
    }
    std::size_t eind = 0;
    Tekst::perTeken(t, [&eind](std::size_t, std::size_t e) {
        eind = e;
        return false;
    });
    return eind == teken.size();
}

bool eindigtMetTeken(std::string_view t, std::string_view teken) {
    return t.ends_with(teken) && Tekst::beginLaatsteTeken(t) == t.size() - teken.size();
}

bool isAarzeling(std::string_view stuk) {
    // Punctuation glued to a filler ("eh," "ehm." "uh…") does not make it a word.
    for (bool verder = true; verder && !stuk.empty();) {
        verder = false;
        for (std::string_view teken :
             {std::string_view(","), std::string_view("."), beletselteken}) {
            if (stuk.starts_with(teken)) {
                stuk.remove_prefix(teken.size());
                verder = true;
            }
            if (stuk.ends_with(teken)) {
                stuk.remove_suffix(teken.size());
                verder = true;
            }
        }
    }
    // The longest filler, "ähm", is four bytes; longer pieces need no case mapping to reject.
    if (stuk.empty() || stuk.size() > 8) {
        return false;
    }
    const std::string klein = Tekst::kleineLetters(stuk);
    return std::find(RegelOpschoner::aarzelingen.begin(), RegelOpschoner::aarzelingen.end(),
                     klein) != RegelOpschoner::aarzelingen.end();
}

// True when the text has at least one piece between white space and every piece is a filler.
// Stops at the first real word, so an ordinary dictation costs almost nothing here.
bool alleenAarzelingen(std::string_view t) {
    bool stukGezien = false;
    std::size_t begin = std::string_view::npos;
    for (std::size_t i = 0; i < t.size();) {
        const std::size_t hier = i;
        if (Tekst::isWitruimte(Tekst::codepuntOp(t, i))) {
            if (begin != std::string_view::npos) {
                if (!isAarzeling(t.substr(begin, hier - begin))) {
                    return false;
                }
                stukGezien = true;
                begin = std::string_view::npos;
            }
        } else if (begin == std::string_view::npos) {
            begin = hier;
        }
    }
    if (begin != std::string_view::npos) {
        return isAarzeling(t.substr(begin));
    }
    return stukGezien;
}

// The first letter of a text becomes a capital, unless the text opens with a number ("3
// appels") or its first word keeps its own spelling ("iPhone").
std::string metHoofdletter(std::string t) {
    std::size_t begin = std::string::npos;
    std::size_t eind = 0;
    Tekst::perTeken(t, [&](std::size_t b, std::size_t e) {
        const char32_t c = Tekst::eersteCodepunt(std::string_view(t).substr(b));
        if (Tekst::isLetter(c)) {
            begin = b;
            eind = e;
        }
        return !Tekst::isLetter(c) && !Tekst::isCijfer(c);
    });
    if (begin == std::string::npos ||
        RegelOpschoner::houdtEigenSchrijfwijze(
            RegelOpschoner::eersteWoord(std::string_view(t).substr(begin)), {})) {
        return t;
    }
    return t.substr(0, begin) +
           Tekst::hoofdletters(std::string_view(t).substr(begin, eind - begin)) + t.substr(eind);
}

struct Gebied {
    std::size_t begin;
    std::size_t eind;
};

// One pass of the stammer pattern over `tekst`. Records where each surviving word landed in the
// output, shifted by `basis`, because only there can the next pass find anything new.
std::string herhalingenEenKeer(std::string_view tekst, std::size_t basis,
                               std::vector<Gebied>& vervangen) {
    static const Patroon herhaling(
        R"((?i)(?<![\p{L}\p{N}'’-])([\p{L}\p{N}]+)[ \t]+\1(?![\p{L}\p{N}'’-]))");
    std::size_t weg = 0;
    return herhaling.vervangMet(tekst, [&](const Patroon::Treffer& m) {
        const std::string& woord = *m.groepen[1];
        const std::size_t begin = basis + m.begin - weg;
        vervangen.push_back({begin, begin + woord.size()});
        weg += m.tekst.size() - woord.size();
        return woord;
    });
}

// The stretch of text in which a match could touch `g`: the word before it and the word after
// it with the spaces between, plus one character either side for the look-around.
Gebied venster(std::string_view t, Gebied g) {
    std::size_t links = g.begin;
    while (links > 0 && isSpatieOfTab(t[links - 1])) {
        --links;
    }
    while (links > 0) {
        std::size_t vorige = links;
        if (!isLetterOfCijfer(Tekst::codepuntVoor(t, vorige))) {
            Tekst::codepuntVoor(t, links);  // the look-behind character
            break;
        }
        links = vorige;
    }
    std::size_t rechts = g.eind;
    while (rechts < t.size() && isSpatieOfTab(t[rechts])) {
        ++rechts;
    }
    while (rechts < t.size()) {
        std::size_t volgende = rechts;
        const bool deel = isLetterOfCijfer(Tekst::codepuntOp(t, volgende));
        rechts = volgende;  // a non-word character is the look-ahead character
        if (!deel) {
            break;
        }
    }
    return {links, rechts};
}

// Collapses "de de de" to "de" and repeats until nothing changes. A full pass runs once; after
// that a new match can only touch a word that the previous pass kept, so later passes look only
// at the few words around those, which gives the same text as repeating the full pass.
std::string zonderHerhalingen(std::string_view tekst) {
    std::vector<Gebied> vervangen;
    std::string t = herhalingenEenKeer(tekst, 0, vervangen);
    while (!vervangen.empty()) {
        std::vector<Gebied> vensters;
        for (const Gebied& g : vervangen) {
            const Gebied v = venster(t, g);
            if (!vensters.empty() && v.begin < vensters.back().eind) {
                vensters.back().eind = std::max(vensters.back().eind, v.eind);
            } else {
                vensters.push_back(v);
            }
        }
        std::vector<Gebied> opnieuw;
        std::string uit;
        uit.reserve(t.size());
        std::size_t vorige = 0;
        for (const Gebied& v : vensters) {
            uit.append(t, vorige, v.begin - vorige);
            const std::size_t basis = uit.size();
            uit += herhalingenEenKeer(std::string_view(t).substr(v.begin, v.eind - v.begin), basis,
                                      opnieuw);
            vorige = v.eind;
        }
        uit.append(t, vorige, std::string::npos);
        t = std::move(uit);
        vervangen = std::move(opnieuw);
    }
    return t;
}

}  // namespace

std::string RegelOpschoner::basisOpschoning(std::string_view tekst, Stijl stijl) {
    static const Patroon aarzeling(
        R"((?i)(?<![\p{L}\p{N}])(eh|ehm|uh|uhm|hmm|äh|ähm|euh)(?![\p{L}\p{N}])[,.…]?)");
    static const Patroon meerdereSpaties(R"([ \t]{2,})");
    static const Patroon spatiesVoorEinde(R"([ \t]+(?=\n|$))");
    static const Patroon spatiesAanBegin(R"((?m)^[ \t]+)");

    // Everything below works on valid UTF-8, so that whatever comes back is valid too.
    const std::string invoer = Tekst::geldigeUtf8(tekst);
    std::string t = aarzeling.vervangAlles(invoer, "");
    t = meerdereSpaties.vervangAlles(t, " ");
    t = spatiesVoorEinde.vervangAlles(t, "");
    t = spatiesAanBegin.vervangAlles(t, "");
    t = Tekst::trim(t);
    while (begintMetTeken(t, ",")) {
        t = std::string(trimSpatiesEnTabs(std::string_view(t).substr(1)));
    }
    while (eindigtMetTeken(t, ",")) {
        t.pop_back();
    }
    // Nothing letter-like left: hand back the input as it was, and let the caller decide
    // whether a dictation of only fillers means anything.
    if (!Tekst::bevatLetterOfCijfer(t)) {
        return invoer;
    }
    if (stijl != Stijl::letterlijk) {
        return metHoofdletter(std::move(t));
    }
    // Literal style: a command or search term gets no closing stop, but an ellipsis stays.
    if (eindigtMetTeken(t, ".") &&
        !eindigtMetTeken(std::string_view(t).substr(0, t.size() - 1), ".")) {
        t.pop_back();
    }
    return t;
}

std::string RegelOpschoner::maakSchoon(std::string_view tekst,
                                       const std::vector<std::string>& woorden, Stijl stijl) {
    static const Patroon zinsbegin(R"([.?!]\s+([\p{L}][\p{L}\p{N}]*))");

    std::string t = basisOpschoning(tekst, stijl);

    if (alleenAarzelingen(t)) {
        return {};
    }
    t = zonderHerhalingen(t);
    if (stijl == Stijl::letterlijk) {
        return t;
    }

    t = zinsbegin.vervangMet(t, [&woorden](const Patroon::Treffer& m) {
        const std::string& woord = *m.groepen[1];
        if (houdtEigenSchrijfwijze(woord, woorden)) {
            return m.tekst;
        }
        const std::string eerste = Tekst::eersteTeken(woord);
        // The word closes the match, so what precedes it is the sentence end and the space.
        return m.tekst.substr(0, m.tekst.size() - woord.size()) + Tekst::hoofdletters(eerste) +
               woord.substr(eerste.size());
    });

    if (!t.empty() &&
        !Tekst::isLeesteken(
            Tekst::eersteCodepunt(std::string_view(t).substr(Tekst::beginLaatsteTeken(t)))) &&
        Tekst::bevatLetterOfCijfer(t)) {
        t += '.';
    }
    return t;
}

bool RegelOpschoner::houdtEigenSchrijfwijze(std::string_view woord,
                                            const std::vector<std::string>& woorden) {
    if (woord.empty() || woord == "I") {
        return true;
    }
    if (std::any_of(woorden.begin(), woorden.end(), [woord](const std::string& w) {
            return Tekst::gelijkZonderHoofdletters(w, woord);
        })) {
        return true;
    }
    bool hoofdletterNaEerste = false;
    bool eerste = true;
    Tekst::perTeken(woord, [&](std::size_t b, std::size_t) {
        hoofdletterNaEerste =
            !eerste && Tekst::isHoofdletter(Tekst::eersteCodepunt(woord.substr(b)));
        eerste = false;
        return !hoofdletterNaEerste;
    });
    return hoofdletterNaEerste;
}

std::string RegelOpschoner::eersteWoord(std::string_view tekst) {
    const std::string t = Tekst::geldigeUtf8(tekst);
    std::size_t begin = std::string::npos;
    std::size_t eind = t.size();
    Tekst::perTeken(t, [&](std::size_t b, std::size_t) {
        const char32_t c = Tekst::eersteCodepunt(std::string_view(t).substr(b));
        if (begin == std::string::npos) {
            if (isLetterOfCijfer(c)) {
                begin = b;
            }
            return true;
        }
        if (!isLetterOfCijfer(c) && c != U'\'' && c != U'-') {
            eind = b;
            return false;
        }
        return true;
    });
    return begin == std::string::npos ? std::string() : t.substr(begin, eind - begin);
}

std::unique_ptr<Opschoner> RegelOpschoner::opNiveau(Opschoonniveau gevraagd) const {
    if (gevraagd != Opschoonniveau::licht) {
        return nullptr;
    }
    return std::make_unique<RegelOpschoner>();
}

// Rules never suspend and never fail, so the commands flag and the stop token play no part:
// spoken commands are handled before any cleaner runs.
OpschoonUitkomst RegelOpschoner::schoonOp(const std::string& tekst,
                                          const std::vector<std::string>& woorden, Stijl stijl,
                                          bool /*spraakopdrachtenActief*/, StopToken /*stop*/) {
    return {maakSchoon(tekst, woorden, stijl), std::nullopt, std::nullopt};
}

std::int64_t RegelOpschoner::telGetallen(const std::string& tekst) const {
    static const Patroon token(R"([\p{L}\p{N}]+(?:[.,:][\p{N}]+)*)");
    std::int64_t aantal = 0;
    for (const Patroon::Treffer& t : token.vindAlle(tekst)) {
        const std::u32string c = Tekst::codepunten(t.tekst);
        if (std::any_of(c.begin(), c.end(), [](char32_t x) { return Tekst::isCijfer(x); })) {
            ++aantal;
        }
    }
    return aantal;
}

}  // namespace tolmo
