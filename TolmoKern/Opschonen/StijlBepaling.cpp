#include "TolmoKern/Opschonen/StijlBepaling.h"

#include <string>

#include "TolmoKern/Tekst/Tekst.h"

namespace tolmo {

Stijl stijlVoorApp(std::optional<std::string_view> bundleId, const StijlBepaling& bepaling) {
    if (!bundleId) {
        return bepaling.standaardStijl;
    }
    const std::string gezocht = Tekst::kleineLetters(*bundleId);
    for (const AppStijl& rij : bepaling.stijlPerApp) {
        if (Tekst::kleineLetters(rij.bundleId) == gezocht) {
            return rij.stijl;
        }
    }
    return bepaling.standaardStijl;
}

Stijl stijlVoorVeld(InvoerSoort invoerSoort, std::optional<Stijl> gekozenStijl,
                    const StijlBepaling& bepaling) {
    if (gekozenStijl) {
        return *gekozenStijl;
    }
    switch (invoerSoort) {
        case InvoerSoort::adres:
        case InvoerSoort::zoeken:
            // Addresses and search terms must arrive exactly as spoken: no capital, no stop.
            return Stijl::letterlijk;
        case InvoerSoort::chat:
            return Stijl::los;
        case InvoerSoort::gewoon:
            break;
    }
    return bepaling.standaardStijl;
}

}  // namespace tolmo
