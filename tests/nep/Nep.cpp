// The fakes are header-only; this file gives their library something to compile.
#include "nep/GeheugenOpslag.h"
#include "nep/NepAudio.h"
#include "nep/NepAudioEngine.h"
#include "nep/NepKluis.h"
#include "nep/NepMotor.h"
#include "nep/NepOpschoner.h"
#include "nep/WavLezer.h"
