#pragma once

#include <optional>

#include "TolmoKern/Audio/InvoerFormaat.h"

namespace tolmo {

// What to do with the running recording after the audio configuration changed.
//   geenDictaat              no recording was running; nothing to decide
//   ongewijzigd              same format as before: the recording simply goes on
//   omzetterVernieuwen       a new, usable format: new converter, same file
//   afrondenMetDeelopname    no usable input any more: finish with what was recorded
enum class FormaatBesluit { geenDictaat, ongewijzigd, omzetterVernieuwen, afrondenMetDeelopname };

struct HerstartToestand {
    bool opnameLoopt = false;
    bool startMislukt = false;
    std::optional<InvoerFormaat> oudFormaat;
    InvoerFormaat nieuwFormaat;
};

FormaatBesluit besluitNaWijziging(const HerstartToestand& t);

}  // namespace tolmo
