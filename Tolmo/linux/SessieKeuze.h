#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace tolmo {

// Which display system the app's adapters talk to. A Wayland session usually has an X server
// too (XWayland), whose windows are only the few X11 apps, so the session's own kind wins.
enum class Weergavesysteem { x11, wayland };

struct SessieKeuze {
    Weergavesysteem systeem = Weergavesysteem::x11;
    // For the log: the variable or option that decided, in Dutch.
    std::string reden;
};

// Reads one environment variable; absent when it is not set.
using OmgevingLezer = std::function<std::optional<std::string>(std::string_view)>;

// The choice at launch: the option (--sessie x11|wayland) first, then WAYLAND_DISPLAY,
// XDG_SESSION_TYPE and DISPLAY. Absent when nothing points to a graphical session; `reden`
// of the answer then is not used and `geenSessieMelding` says what is missing.
[[nodiscard]] std::optional<SessieKeuze> kiesSessie(std::optional<Weergavesysteem> optie,
                                                    const OmgevingLezer& omgeving);

inline constexpr std::string_view geenSessieMelding =
    "geen grafische sessie (WAYLAND_DISPLAY en DISPLAY zijn niet gezet).";

// "x11" or "wayland" from the command line; absent for anything else.
[[nodiscard]] std::optional<Weergavesysteem> weergavesysteemUit(std::string_view naam);

[[nodiscard]] std::string_view naam(Weergavesysteem systeem);

}  // namespace tolmo
