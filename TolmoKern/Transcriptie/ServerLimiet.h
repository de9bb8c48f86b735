#pragma once

#include <chrono>
#include <string>
#include <utility>
#include <vector>

namespace tolmo {

// The limit the relay server reported with a 429: its kind ("plafond" for the server's own
// ceiling, otherwise the kind the server names), the reply's headers (Retry-After among them)
// and when the reply arrived.
struct ServerLimiet {
    std::string soort;
    std::vector<std::pair<std::string, std::string>> headers;
    std::chrono::system_clock::time_point ontvangen{};

    bool operator==(const ServerLimiet&) const = default;
};

}  // namespace tolmo
