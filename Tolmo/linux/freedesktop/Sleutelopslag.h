#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <string>

#include "Tolmo/linux/freedesktop/BestandsKluis.h"
#include "Tolmo/linux/freedesktop/Sleutelbeheer.h"

namespace tolmo {

// The key vault of the Linux shells: the user's keyring when a Secret Service answers on the
// session bus, else the file only its owner may read (sleutels.json in configMap). With the
// keyring, keys still in the file move into it and leave the file; one that cannot be moved
// stays there and is still found. Without a bus, or with nothing on it that keeps secrets, the
// answer comes at once: the file. `omgeving` gives the environment variables (the keys that take
// precedence and the bus's address).
std::unique_ptr<Sleutelbeheer> openSleutelbeheer(const std::filesystem::path& configMap,
                                                 BestandsKluis::Omgeving omgeving);

// The session bus's address as GLib would find it, without starting a bus:
// DBUS_SESSION_BUS_ADDRESS, else the socket $XDG_RUNTIME_DIR/bus when it exists.
std::optional<std::string> sessieBusAdres(const BestandsKluis::Omgeving& omgeving);

}  // namespace tolmo
