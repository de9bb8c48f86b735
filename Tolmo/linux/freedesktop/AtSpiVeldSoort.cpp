#include "Tolmo/linux/freedesktop/AtSpiVeldSoort.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <string_view>
#include <vector>

namespace tolmo {

namespace {

std::string attribuut(const AtSpiVeld& veld, const std::string& sleutel) {
    const auto it = veld.attributen.find(sleutel);
    return it == veld.attributen.end() ? std::string() : it->second;
}

// Lower-case ASCII words; other bytes (letters with diacritics) stay inside words.
std::vector<std::string> woorden(std::string_view tekst) {
    std::vector<std::string> uit(1);
    for (const char c : tekst) {
        const auto b = static_cast<unsigned char>(c);
        if (b >= 0x80 || std::isalnum(b) != 0) {
            uit.back() += static_cast<char>(std::tolower(b));
        } else if (!uit.back().empty()) {
            uit.emplace_back();
        }
    }
    return uit;
}

// Words that begin with one of the stems: Dutch glues words together ("adresbalk",
// "zoekterm"), while a stem inside a word ("bezoek") means something else.
bool noemt(const std::vector<std::string>& ws, std::initializer_list<std::string_view> stammen) {
    return std::any_of(ws.begin(), ws.end(), [&](const std::string& w) {
        return std::any_of(stammen.begin(), stammen.end(),
                           [&](std::string_view s) { return w.starts_with(s); });
    });
}

}  // namespace

VeldSoort veldSoort(const AtSpiVeld& veld) {
    const std::string invoerType = attribuut(veld, "text-input-type");
    if (veld.rol == "password text" || invoerType == "password") {
        return {InvoerSoort::gewoon, true};
    }
    const auto xmlRollen = woorden(attribuut(veld, "xml-roles"));
    if (invoerType == "url") {
        return {InvoerSoort::adres, false};
    }
    if (invoerType == "search" ||
        std::find(xmlRollen.begin(), xmlRollen.end(), "searchbox") != xmlRollen.end()) {
        return {InvoerSoort::zoeken, false};
    }
    static constexpr std::array<std::string_view, 3> invoerRollen{"entry", "text", "combo box"};
    if (std::find(invoerRollen.begin(), invoerRollen.end(), veld.rol) == invoerRollen.end()) {
        return {};
    }
    auto ws = woorden(veld.naam);
    for (const char* sleutel : {"placeholder-text", "placeholder"}) {
        const auto extra = woorden(attribuut(veld, sleutel));
        ws.insert(ws.end(), extra.begin(), extra.end());
    }
    if (noemt(ws, {"adres", "address", "url"})) {
        return {InvoerSoort::adres, false};
    }
    if (noemt(ws, {"zoek", "search"})) {
        return {InvoerSoort::zoeken, false};
    }
    return {};
}

}  // namespace tolmo
