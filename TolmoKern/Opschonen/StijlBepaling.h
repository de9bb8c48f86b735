#pragma once

#include <optional>
#include <string_view>
#include <vector>

#include "TolmoKern/Opschonen/Stijl.h"

namespace tolmo {

// The user's style choices: the style for any app without a row of its own, and the rows.
struct StijlBepaling {
    Stijl standaardStijl = Stijl::neutraal;
    std::vector<AppStijl> stijlPerApp = standaardApps();

    bool operator==(const StijlBepaling&) const = default;
};

// The style for the frontmost app. Bundle identifiers are compared without regard to case,
// because the system reports them in whatever case the app declared; the first matching row
// wins. Without a known app, or without a row for it, the default style applies.
Stijl stijlVoorApp(std::optional<std::string_view> bundleId, const StijlBepaling& bepaling);

// An explicitly chosen style wins; otherwise the kind of field decides, and an ordinary field
// gets the default style.
Stijl stijlVoorVeld(InvoerSoort invoerSoort, std::optional<Stijl> gekozenStijl,
                    const StijlBepaling& bepaling);

}  // namespace tolmo
