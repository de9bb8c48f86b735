#pragma once

#include <cstdint>
#include <variant>

#include "Tolmo/Sneltoetsen/ToetsBron.h"

namespace tolmo {

// What one key event from an event tap or an event monitor means to the key source. Quartz and
// AppKit number their event types alike (10 key down, 12 flags changed) and both carry the same
// flag bits, so the tap and the monitors share this one reading. A tap also receives two
// pseudo-events when the system switches it off; every other type is of no interest.
struct QuartzToetsen {
    static constexpr std::uint32_t tapUitDoorTimeOut = 0xFFFFFFFE;
    static constexpr std::uint32_t tapUitDoorGebruiker = 0xFFFFFFFF;

    using Betekenis = std::variant<std::monostate, ToetsBron::Gebeurtenis, ToetsBron::TapUit>;

    // toetscode as the event field holds it (64 bits wide); a value that is no virtual key code
    // makes the event meaningless rather than a different key. bronGegevens is the event's
    // source user data: ToetsBron::eigenMerk on the keystrokes Tolmo posted itself.
    static Betekenis vertaal(std::uint32_t type, std::int64_t toetscode, std::uint64_t vlaggen,
                             std::int64_t bronGegevens);
};

}  // namespace tolmo
