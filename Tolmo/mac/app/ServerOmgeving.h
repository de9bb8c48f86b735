#pragma once

#include <optional>
#include <string>

#include "TolmoKern/Instellingen/SleutelWaardeOpslag.h"

namespace tolmo {

// The chain finds the relay server through TOLMO_SERVER_URL; an app opened from the Finder has no
// such environment, so the shell puts there the address ServerAdres chooses.
struct ServerOmgeving {
    // At launch: the environment's, else the one the user entered, else Info.plist's.
    static void zetInOmgeving(const SleutelWaardeOpslag& standaard);
    // What the user typed: stored and put in the environment, or a Dutch sentence saying why not.
    static std::optional<std::string> zet(SleutelWaardeOpslag& standaard,
                                          const std::string& invoer);
};

}  // namespace tolmo
