#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "TolmoKern/Instellingen/MacInstellingen.h"

namespace tolmo {

// The compositors whose key bindings `tolmo-app --bindingen` writes.
enum class Compositor { sway, hyprland };

// The program the lines run: the small control client, which is on the socket in a millisecond
// where tolmo-app would first load its whole toolkit.
inline constexpr std::string_view bedieningsProgramma = "tolmo-bediening";

[[nodiscard]] std::optional<Compositor> compositorUit(std::string_view naam);

// The lines for the compositor's configuration that make the user's keys run the control
// command: the hold key starts on press and stops on release, the toggle combination toggles.
// A key the compositor cannot bind (Fn never reaches it) becomes a comment saying so.
[[nodiscard]] std::string bindingen(Compositor compositor, const MacInstellingen& toetsen,
                                    std::string_view programma = bedieningsProgramma);

// The keys the desktop's shortcuts portal is asked for, in its trigger notation ("CTRL+ALT+d",
// a lone "Control_R"); the desktop may give others. Absent where the key has no name there.
struct PortaalTriggers {
    std::optional<std::string> houd;
    std::optional<std::string> wissel;
};
[[nodiscard]] PortaalTriggers portaalTriggers(const MacInstellingen& toetsen);

}  // namespace tolmo
