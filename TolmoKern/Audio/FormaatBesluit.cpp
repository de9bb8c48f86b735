#include "TolmoKern/Audio/FormaatBesluit.h"

namespace tolmo {

FormaatBesluit besluitNaWijziging(const HerstartToestand& t) {
    if (!t.opnameLoopt) {
        return FormaatBesluit::geenDictaat;
    }
    if (t.startMislukt) {
        return FormaatBesluit::afrondenMetDeelopname;
    }
    if (t.nieuwFormaat.isGeldig()) {
        return t.oudFormaat == t.nieuwFormaat ? FormaatBesluit::ongewijzigd
                                              : FormaatBesluit::omzetterVernieuwen;
    }
    return FormaatBesluit::afrondenMetDeelopname;
}

}  // namespace tolmo
