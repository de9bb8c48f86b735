#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "TolmoKern/Sneltoetsen/ToetsVlaggen.h"
#include "TolmoKern/Sneltoetsen/Toetscombinatie.h"

namespace tolmo {

// What one key press means while the settings screen records a new toggle combination. The
// screen needs to tell three things apart: the user gave up (Escape), the press makes no usable
// combination (keep the previous one and say why), or a combination to save.
struct CombinatieOpname {
    enum class Uitkomst { afgebroken, ongeldig, geldig };

    static constexpr std::uint16_t escape = 53;
    static constexpr std::string_view ongeldigMelding = "Gebruik ook Control, Option of Command.";

    Uitkomst uitkomst = Uitkomst::afgebroken;
    // Present only for geldig: an invalid combination must never reach the settings.
    std::optional<Toetscombinatie> combinatie;

    // toetscode and vlaggen are the key-down event's key code and full flags word; tekens are
    // its characters ignoring modifiers (absent when the event has none).
    static CombinatieOpname uitToetsOmlaag(std::uint16_t toetscode, ToetsVlaggen vlaggen,
                                           const std::optional<std::string>& tekens);

    // The platform flags of the four modifiers in the compact persisted encoding; the device
    // bits and Fn play no part in a toggle combination.
    static Toetscombinatie::Modificaties modificatiesUit(ToetsVlaggen vlaggen);

    bool operator==(const CombinatieOpname&) const = default;
};

}  // namespace tolmo
