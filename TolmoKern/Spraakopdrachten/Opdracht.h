#pragma once

#include <string_view>

namespace tolmo {

// One spoken command: a punctuation mark to attach, or one of the seven layout and editing
// commands.
struct Opdracht {
    enum class Soort {
        leesteken,  // attach `teken` to the last word
        nieuweRegel,
        nieuweAlinea,
        aanhalingOpenen,
        aanhalingSluiten,
        laatsteZinWeg,
        opsommingBegin,
        opsommingEinde,
    };

    Soort soort = Soort::leesteken;
    std::string_view teken;  // only for leesteken; points at a string literal

    static constexpr Opdracht leesteken(std::string_view t) { return {Soort::leesteken, t}; }
    static constexpr Opdracht van(Soort s) { return {s, {}}; }

    bool operator==(const Opdracht&) const = default;
};

}  // namespace tolmo
