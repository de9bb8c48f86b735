#pragma once

#include "Tolmo/Poorten/Focus.h"

namespace tolmo {

// The frontmost application from NSWorkspace and its focused element through the
// accessibility API, asked with a messaging time-out of half a second so that a hanging app
// cannot stall the main thread for long: two messages (the focused element, then its role and
// subrole together), so at most about a second when the app hangs. The role and subrole give the
// field's kind and tell a password field. Two fields are the same when CFEqual says so.
class MacFocus final : public Focus {
  public:
    static constexpr float berichtTijdslimiet = 0.5F;

    [[nodiscard]] std::optional<Doel> huidig() const override;
};

}  // namespace tolmo
