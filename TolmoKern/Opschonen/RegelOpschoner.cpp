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
    const std::string klein = Tekst::kleineLetters(stuk);
    return std::find(RegelOpschoner::aarzelingen.begin(), RegelOpschoner::aarzelingen.end(),
                     klein) != RegelOpschoner::aarzelingen.end();
}

// The first letter of a text becomes a capital, unless the text opens with a number ("3
// appels") or its first word keeps its own spelling ("iPhone").
std::string metHoofdletter(std::string t) {
    const std::vector<std::size_t> grenzen = Tekst::tekenGrenzen(t);
    for (std::size_t k = 0; k + 1 < grenzen.size(); ++k) {
        const std::string_view teken =
            std::string_view(t).substr(grenzen[k], grenzen[k + 1] - grenzen[k]);
        const char32_t c = Tekst::eersteCodepunt(teken);
        if (Tekst::isCijfer(c)) {
            return t;
        }
        if (Tekst::isLetter(c)) {
            if (RegelOpschoner::houdtEigenSchrijfwijze(RegelOpschoner::eersteWoord(t), {})) {
                return t;
            }
            return t.substr(0, grenzen[k]) + Tekst::hoofdletters(teken) + t.substr(grenzen[k + 1]);
        }
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
    while (!t.empty() && Tekst::eersteTeken(t) == ",") {
        t = std::string(trimSpatiesEnTabs(std::string_view(t).substr(1)));
    }
    while (!t.empty() && Tekst::laatsteTeken(t) == ",") {
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
    if (Tekst::laatsteTeken(t) == ".") {
        const std::string_view rest = std::string_view(t).substr(0, t.size() - 1);
        if (Tekst::laatsteTeken(rest) != ".") {
            t.pop_back();
        }
    }
    return t;
}

std::string RegelOpschoner::maakSchoon(std::string_view tekst,
                                       const std::vector<std::string>& woorden, Stijl stijl) {
    static const Patroon herhaling(
        R"((?i)(?<![\p{L}\p{N}'’-])([\p{L}\p{N}]+)[ \t]+\1(?![\p{L}\p{N}'’-]))");
    static const Patroon zinsbegin(R"([.?!]\s+([\p{L}][\p{L}\p{N}]*))");

    std::string t = basisOpschoning(tekst, stijl);

    const std::vector<std::string> stukken = Tekst::splitsOpWitruimte(t);
    if (!stukken.empty() && std::all_of(stukken.begin(), stukken.end(),
                                        [](const std::string& s) { return isAarzeling(s); })) {
        return {};
    }

    // "de de de" needs two passes: a match ends where the next repeat would have started.
    for (std::string vorige; vorige != t;) {
        vorige = std::move(t);
        t = herhaling.vervangAlles(vorige, "$1");
    }
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

    if (!t.empty() && !Tekst::isLeesteken(Tekst::eersteCodepunt(Tekst::laatsteTeken(t))) &&
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
    const std::vector<std::size_t> grenzen = Tekst::tekenGrenzen(woord);
    for (std::size_t k = 1; k + 1 < grenzen.size(); ++k) {
        if (Tekst::isHoofdletter(Tekst::eersteCodepunt(woord.substr(grenzen[k])))) {
            return true;
        }
    }
    return false;
}

std::string RegelOpschoner::eersteWoord(std::string_view tekst) {
    const std::string t = Tekst::geldigeUtf8(tekst);
    const std::vector<std::size_t> grenzen = Tekst::tekenGrenzen(t);
    std::size_t begin = t.size();
    std::size_t eind = t.size();
    for (std::size_t k = 0; k + 1 < grenzen.size(); ++k) {
        const char32_t c = Tekst::eersteCodepunt(std::string_view(t).substr(grenzen[k]));
        const bool letterOfCijfer = Tekst::isLetter(c) || Tekst::isCijfer(c);
        if (begin == t.size()) {
            if (letterOfCijfer) {
                begin = grenzen[k];
            }
        } else if (!letterOfCijfer && c != U'\'' && c != U'-') {
            eind = grenzen[k];
            break;
        }
    }
    return t.substr(begin, eind - begin);
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
                                          bool /*spraakopdrachtenActief*/,
                                          std::stop_token /*stop*/) {
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
