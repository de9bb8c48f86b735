#include "TolmoKern/Audio/StartStap.h"

namespace tolmo {

StartStap bepaalStartStap(const InvoerFormaat& invoer, const InvoerFormaat& uitvoer) {
    if (!invoer.isGeldig() || !uitvoer.isGeldig()) {
        return StartStap::vervallen;
    }
    return invoer == uitvoer ? StartStap::starten : StartStap::wachten;
}

}  // namespace tolmo
