#include "TolmoKern/Opschonen/Schrijfwijze.h"

#include <algorithm>
#include <memory>
#include <set>

#include "TolmoKern/Cryptografie/Cryptografie.h"
#include "TolmoKern/Tekst/Tekst.h"

namespace tolmo {
namespace {

bool lijktOpNaam(std::string_view term) {
    if (term.find('.') != std::string_view::npos) {
        return true;
    }
    const std::u32string c = Tekst::codepunten(term);
    return std::any_of(c.begin(), c.end(),
                       [](char32_t x) { return Tekst::isHoofdletter(x) || Tekst::isCijfer(x); });
}

bool lijktOpWerkwoord(std::string_view term) {
    const std::u32string c = Tekst::codepunten(term);
    return std::none_of(c.begin(), c.end(), [](char32_t x) { return Tekst::isWitruimte(x); }) &&
           Tekst::kleineLetters(term) == term && term.ends_with("en");
}

}  // namespace

std::vector<std::string> Schrijfwijze::genormaliseerdeTermen(
    const std::vector<std::string>& lijst) {
    std::vector<std::string> termen;
    std::set<std::string> gezien;
    for (const std::string& ruw : lijst) {
        if (termen.size() == maxTermen) {
            break;
        }
        std::string term = Tekst::trim(ruw);
        if (term.empty() || !gezien.insert(Tekst::kleineLetters(term)).second) {
            continue;
        }
        termen.push_back(std::move(term));
    }
    return termen;
}

std::vector<std::string> Schrijfwijze::voorbeeldzinnen(std::string_view woord) {
    const std::vector<std::string> termen = genormaliseerdeTermen({std::string(woord)});
    if (termen.empty()) {
        return {};
    }
    const std::string& w = termen.front();
    if (lijktOpNaam(w)) {
        return {"Ik werk met " + w, "Dit gaat via " + w, "Het bericht van " + w,
                "Ik heb " + w + " gebeld"};
    }
    if (lijktOpWerkwoord(w)) {
        return {"Kun je dit " + w, "Ik ga het nu " + w, "We moeten dat nog " + w};
    }
    return {"Het staat op de " + w, "Kun je de " + w + " controleren", "We bespreken de " + w,
            "Open een " + w};
}

std::string Schrijfwijze::vingerafdruk(const std::vector<std::string>& lijst) {
    std::string samen;
    for (const std::string& term : genormaliseerdeTermen(lijst)) {
        if (!samen.empty()) {
            samen += '\n';
        }
        samen += term;
    }
    static constexpr char hex[] = "0123456789abcdef";
    std::string uit;
    uit.reserve(2 * Cryptografie::sha256Lengte);
    for (const unsigned char b : Cryptografie::sha256(samen)) {
        uit += hex[b >> 4];
        uit += hex[b & 0x0f];
    }
    return uit;
}

}  // namespace tolmo
