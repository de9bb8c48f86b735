#pragma once

#include <optional>
#include <string>
#include <vector>

#include "TolmoKern/Opschonen/Stijl.h"

namespace tolmo {

// The user's per-app style rows as the Linux settings window edits them. Ids are compared
// without regard to case, as the style lookup does, so two rows never name the same app.
class AppStijlLijst {
  public:
    // The rows Tolmo brings itself on this platform: the shared default list (the user's other
    // devices read the same document) followed by the platform's common apps.
    [[nodiscard]] static std::vector<AppStijl> ingebouwd(const std::vector<AppStijl>& platformApps);

    // Every built-in row back with its built-in style, in the built-in order, followed by the
    // user's own rows (ids the built-in list does not know) in their order. A built-in row whose
    // style the user changed gets its own style back: that is what restoring asks for; an app of
    // their own is never lost.
    [[nodiscard]] static std::vector<AppStijl> herstel(const std::vector<AppStijl>& rijen,
                                                       const std::vector<AppStijl>& ingebouwd);

    // Appends a row for the app. Its style is the built-in one when Tolmo knows the app (a row of
    // the user's own must not quietly undo the style the app already had), else app.stijl.
    // Answers the message for the user when it cannot: no id, or a row for that app already.
    [[nodiscard]] static std::optional<std::string> voegToe(std::vector<AppStijl>& rijen,
                                                            AppStijl app,
                                                            const std::vector<AppStijl>& ingebouwd);

    [[nodiscard]] static bool bevat(const std::vector<AppStijl>& rijen, const std::string& id);
};

}  // namespace tolmo
