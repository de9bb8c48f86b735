#pragma once

#include <string>
#include <vector>
#include "TolmoKern/Draad/Stop.h"

#include "TolmoKern/Audio/Opname.h"

namespace tolmo {

// A speech-to-text engine: one recording in, the raw transcript out. Throws HerkenningsFout,
// or Geannuleerd when stop is requested during the call.
class TranscriptieMotor {
  public:
    virtual ~TranscriptieMotor() = default;
    virtual std::string transcribeer(const Opname& opname, const std::vector<std::string>& woorden,
                                     StopToken stop) = 0;
};

}  // namespace tolmo
