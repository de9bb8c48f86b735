#pragma once

#include "TolmoKern/Audio/AudioFormaat.h"
#include "TolmoKern/Transcriptie/Motor.h"

namespace tolmo {

// The format a recording for this engine is written in. Whatever goes over the network is AAC
// (m4a): at 32 kbit/s it is an eighth of 16-bit WAV, and the upload is most of what the user
// waits for. The test engine reads only the recording's measurement, so it gets the WAV that
// costs no encoder.
constexpr AudioFormaat opnameFormaat(Motor motor) {
    return motor == Motor::test ? AudioFormaat::wav : AudioFormaat::m4a;
}

}  // namespace tolmo
