// Any transcript: no crash, valid UTF-8 out, and no growth beyond a few bytes per command.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "TolmoKern/Spraakopdrachten/Spraakopdrachten.h"
#include "TolmoKern/Tekst/Tekst.h"

namespace {

bool isOpdrachtwoord(std::string_view kern) {
    static constexpr std::string_view woorden[] = {
        "nieuwe", "dubbele", "aanhalingstekens", "aanhalingsteken", "open",       "sluit",
        "einde",  "laatste", "schrap",           "opsomming",       "vraagteken", "uitroepteken",
        "komma",  "punt"};
    for (std::string_view w : woorden) {
        if (kern == w) {
            return true;
        }
    }
    return false;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string invoer(reinterpret_cast<const char*>(data), size);
    const std::string uit = tolmo::Spraakopdrachten::pasToe(invoer);
    if (!tolmo::Tekst::isGeldigeUtf8(uit)) {
        std::abort();
    }
    // Invalid bytes are read as U+FFFD, which is longer: measure against the repaired input.
    const std::string hersteld = tolmo::Tekst::utf8(tolmo::Tekst::codepunten(invoer));
    // A command may add a capital that is longer than its small letter (at most 4 bytes more)
    // or a closing quote; a list item started by a sentence end turns one space into "\n- ".
    std::size_t ruimte = 0;
    for (const auto& t : tolmo::Spraakopdrachten::tokens(hersteld)) {
        if (isOpdrachtwoord(t.kern)) {
            ruimte += 8;
        }
        if (t.isRegeleinde) {
            ruimte += 2;
        }
    }
    if (uit.size() > hersteld.size() + ruimte) {
        std::abort();
    }
    return 0;
}
