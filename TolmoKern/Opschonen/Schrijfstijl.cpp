#include "TolmoKern/Opschonen/Schrijfstijl.h"

#include <algorithm>

#include "TolmoKern/Tekst/Tekst.h"

namespace tolmo {

std::array<std::string, Schrijfstijl::aantalVoorbeelden> Schrijfstijl::genormaliseerdeVoorbeelden(
    const std::vector<std::string>& voorbeelden) {
    std::array<std::string, aantalVoorbeelden> uit;
    const std::size_t n = std::min(voorbeelden.size(), aantalVoorbeelden);
    for (std::size_t i = 0; i < n; ++i) {
        uit[i] = Tekst::eersteTekens(voorbeelden[i], maxTekens);
    }
    return uit;
}

}  // namespace tolmo
