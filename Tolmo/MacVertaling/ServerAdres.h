#pragma once

#include <optional>
#include <string>

namespace tolmo {

// Where the app finds the relay server. The chain reads TOLMO_SERVER_URL from the environment,
// which an app opened from the Finder does not have; the shell therefore puts the address there
// itself, chosen from (in this order) an address already in the environment (a developer's
// override), the one the user entered in the settings window, and the one the build wrote into
// the app's Info.plist.
struct ServerAdres {
    static constexpr const char* omgevingsvariabele = "TOLMO_SERVER_URL";
    static constexpr const char* instellingSleutel = "mac.serverAdres";
    static constexpr const char* bundelSleutel = "TolmoServerAdres";

    static std::optional<std::string> kies(const std::optional<std::string>& omgeving,
                                           const std::optional<std::string>& ingevoerd,
                                           const std::optional<std::string>& bundel);

    // What the user typed, as an address: surrounding white space dropped, http:// or https://
    // followed by a host. Empty when it is no such address.
    static std::optional<std::string> geldig(const std::string& invoer);
};

}  // namespace tolmo
