#pragma once

#include "Tolmo/AudioOpnemer/AudioEngine.h"

namespace tolmo {

// The system's default input device as Core Audio reports it: only how it is connected, which
// decides whether voice processing is worth turning on.
struct CoreAudioInvoer {
    // Transport::anders when the device or its transport type cannot be read.
    static AudioEngine::Transport transport();
};

}  // namespace tolmo
