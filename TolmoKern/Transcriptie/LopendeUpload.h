#pragma once

#include "TolmoKern/Audio/Opname.h"
#include "TolmoKern/Transcriptie/TranscriptieMotor.h"

namespace tolmo {

// A recording's upload that began while the recording was still being written. Destroyed
// before rondAf, it is broken off: the server keeps nothing of it. After rondAf it is the
// dictation's engine: transcribeer answers with the upload's own reply (no second upload), or
// sends the recording whole when the upload's connection failed.
class LopendeUpload : public TranscriptieMotor {
  public:
    // The recording is finished: the rest of the file goes out and the body ends. A recording
    // marked onvolledig is broken off instead.
    virtual void rondAf(const Opname& opname) = 0;
};

}  // namespace tolmo
