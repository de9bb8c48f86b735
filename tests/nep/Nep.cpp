// The fakes are header-only; this file gives their library something to compile, and checks
// that every fake header stands on its own.
#include "nep/GeheugenOpslag.h"
#include "nep/NepAudio.h"
#include "nep/NepAudioEngine.h"
#include "nep/NepHoofdLus.h"
#include "nep/NepKluis.h"
#include "nep/NepMotor.h"
#include "nep/NepOpschoner.h"
#include "nep/NepToetsBron.h"
#include "nep/TijdelijkeOpname.h"
#include "nep/WavLezer.h"
