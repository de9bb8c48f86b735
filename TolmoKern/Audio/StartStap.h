#pragma once

#include "TolmoKern/Audio/InvoerFormaat.h"

namespace tolmo {

// Verdict on the input while an engine without voice processing starts: the hardware side
// (invoer) and the side the tap sees (uitvoer) must both be valid and agree, because right after
// a device switch they briefly disagree and a tap installed then delivers nothing usable.
enum class StartStap { starten, wachten, vervallen };

StartStap bepaalStartStap(const InvoerFormaat& invoer, const InvoerFormaat& uitvoer);

}  // namespace tolmo
