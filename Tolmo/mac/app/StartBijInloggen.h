#pragma once

#include <optional>
#include <string>

namespace tolmo {

// Launch at login through the system's login-item service for the app itself. Registering
// may need the user's approval in System Settings; until then the item is not active.
struct StartBijInloggen {
    [[nodiscard]] static bool aan();
    // Empty on success, otherwise the system's reason.
    static std::optional<std::string> zet(bool aan);
};

}  // namespace tolmo
