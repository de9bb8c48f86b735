#pragma once

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

namespace tolmo::nep {

// The Debian 13 root scripts/debian13-root.sh makes (TOLMO_DEBIAN13_ROOT), when there is one.
inline std::optional<std::filesystem::path> debian13Root() {
    const char* pad = std::getenv("TOLMO_DEBIAN13_ROOT");
    if (pad == nullptr || ::geteuid() != 0 ||
        !std::filesystem::exists(std::filesystem::path(pad) / "usr/bin")) {
        return std::nullopt;
    }
    return std::filesystem::path(pad);
}

inline constexpr const char* geenDebian13 =
    "geen Debian 13-root (TOLMO_DEBIAN13_ROOT, als root; scripts/debian13-root.sh maakt er een)";

// The sway a Wayland test runs under: Debian 12's own, or Debian 13's from the root.
struct SwayUitgave {
    std::string naam;
    bool debian13 = false;
    [[nodiscard]] std::optional<std::filesystem::path> root() const {
        return debian13 ? debian13Root() : std::nullopt;
    }
    friend void PrintTo(const SwayUitgave& u, std::ostream* uit) { *uit << u.naam; }
    // Why the test cannot run here, empty when it can.
    [[nodiscard]] std::string overslaan() const {
        return debian13 && !debian13Root() ? geenDebian13 : "";
    }
};
inline const std::vector<SwayUitgave> swayUitgaven{{"sway17_debian12", false},
                                                   {"sway110_debian13", true}};

// The command that runs args inside root as the user gebruiker ("uid:gid"), with this machine's
// /proc, /dev and /tmp: sockets in /tmp lie at the same path on both sides. The mounts live in a
// mount namespace of the program's own, so they vanish with it and no other process sees them.
inline std::vector<std::string> inRoot(const std::filesystem::path& root,
                                       const std::string& gebruiker,
                                       const std::vector<std::string>& args) {
    std::vector<std::string> opdracht{
        "unshare",
        "--mount",
        "--propagation",
        "private",
        "--",
        "sh",
        "-c",
        "mount -t proc proc \"$0/proc\" && mount --rbind /dev \"$0/dev\" && "
        "mount --rbind /tmp \"$0/tmp\" || exit 111\n"
        "g=$1; shift; exec chroot --userspec=\"$g\" \"$0\" \"$@\"",
        root.string(),
        gebruiker};
    opdracht.insert(opdracht.end(), args.begin(), args.end());
    return opdracht;
}

}  // namespace tolmo::nep
