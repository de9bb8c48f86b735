#include "Tolmo/linux/AppStijlLijst.h"

#include <algorithm>
#include <utility>

#include "TolmoKern/Tekst/Tekst.h"

namespace tolmo {

bool AppStijlLijst::bevat(const std::vector<AppStijl>& rijen, const std::string& id) {
    return std::any_of(rijen.begin(), rijen.end(), [&id](const AppStijl& rij) {
        return Tekst::gelijkZonderHoofdletters(rij.bundleId, id);
    });
}

std::vector<AppStijl> AppStijlLijst::ingebouwd(const std::vector<AppStijl>& platformApps) {
    std::vector<AppStijl> uit = standaardApps();
    for (const AppStijl& app : platformApps) {
        if (!bevat(uit, app.bundleId)) {
            uit.push_back(app);
        }
    }
    return uit;
}

std::vector<AppStijl> AppStijlLijst::herstel(const std::vector<AppStijl>& rijen,
                                             const std::vector<AppStijl>& ingebouwd) {
    std::vector<AppStijl> uit = ingebouwd;
    for (const AppStijl& rij : rijen) {
        if (!bevat(uit, rij.bundleId)) {
            uit.push_back(rij);
        }
    }
    return uit;
}

std::optional<std::string> AppStijlLijst::voegToe(std::vector<AppStijl>& rijen, AppStijl app,
                                                  const std::vector<AppStijl>& ingebouwd) {
    if (app.bundleId.empty()) {
        return "Er was geen app actief voordat je de instellingen opende. Open eerst de app, "
               "en dan de instellingen.";
    }
    if (bevat(rijen, app.bundleId)) {
        return (app.naam.empty() ? app.bundleId : app.naam) + " staat al in de lijst.";
    }
    for (const AppStijl& bekend : ingebouwd) {
        if (Tekst::gelijkZonderHoofdletters(bekend.bundleId, app.bundleId)) {
            app.stijl = bekend.stijl;
            break;
        }
    }
    rijen.push_back(std::move(app));
    return std::nullopt;
}

}  // namespace tolmo
