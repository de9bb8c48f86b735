// The fakes are header-only; this file gives their library something to compile.
#include "nep/GeheugenOpslag.h"
#include "nep/NepHoofdLus.h"
#include "nep/NepKluis.h"
#include "nep/NepMotor.h"
#include "nep/NepOpschoner.h"
#include "nep/NepToetsBron.h"
