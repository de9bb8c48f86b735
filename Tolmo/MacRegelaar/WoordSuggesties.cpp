#include "Tolmo/MacRegelaar/WoordSuggesties.h"

#include <algorithm>
#include <set>

#include "TolmoKern/Tekst/Tekst.h"

namespace tolmo {

namespace {

bool isWoordteken(char32_t c) {
    return Tekst::isLetter(c) || Tekst::isCijfer(c);
}

}  // namespace

std::vector<std::string> WoordSuggesties::woorden(std::string_view tekst) {
    std::vector<std::string> uit;
    for (const std::string& stuk : Tekst::splitsOpWitruimte(tekst)) {
        const std::u32string c = Tekst::codepunten(stuk);
        const auto begin = std::find_if(c.begin(), c.end(), isWoordteken);
        const auto eind = std::find_if(c.rbegin(), c.rend(), isWoordteken).base();
        if (begin < eind) {
            uit.push_back(
                Tekst::utf8(std::u32string_view(&*begin, static_cast<std::size_t>(eind - begin))));
        }
    }
    return uit;
}

std::vector<std::string> WoordSuggesties::anders(std::string_view ruw, std::string_view tekst) {
    const std::vector<std::string> ruweWoorden = woorden(ruw);
    const std::set<std::string> gehoord(ruweWoorden.begin(), ruweWoorden.end());
    std::set<std::string> gezien;
    std::vector<std::string> uit;
    for (std::string& w : woorden(tekst)) {
        if (!gehoord.contains(w) && gezien.insert(w).second) {
            uit.push_back(std::move(w));
        }
    }
    return uit;
}

bool WoordSuggesties::lijktOpTerm(std::string_view woord) {
    if (Tekst::aantalTekens(woord) < 2) {
        return false;
    }
    const std::u32string c = Tekst::codepunten(woord);
    bool letter = false;
    bool kenmerk = false;
    bool naEersteLetter = false;
    for (const char32_t t : c) {
        if (Tekst::isCijfer(t)) {
            kenmerk = true;
        }
        if (Tekst::isLetter(t)) {
            letter = true;
            if (naEersteLetter && Tekst::isHoofdletter(t)) {
                kenmerk = true;
            }
            naEersteLetter = true;
        }
    }
    return letter && kenmerk;
}

std::vector<std::string> WoordSuggesties::voorstellen(
    std::string_view ruw, std::string_view tekst, const std::vector<std::string>& woordenlijst) {
    std::vector<std::string> uit;
    for (std::string& w : anders(ruw, tekst)) {
        if (uit.size() == maximum) {
            break;
        }
        if (!lijktOpTerm(w)) {
            continue;
        }
        const bool bekend = std::any_of(
            woordenlijst.begin(), woordenlijst.end(),
            [&w](const std::string& term) { return Tekst::gelijkZonderHoofdletters(term, w); });
        if (!bekend) {
            uit.push_back(std::move(w));
        }
    }
    return uit;
}

}  // namespace tolmo
