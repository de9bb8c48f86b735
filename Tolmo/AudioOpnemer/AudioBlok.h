#pragma once

#include <cstddef>
#include <cstdint>

#include "TolmoKern/Audio/InvoerFormaat.h"

namespace tolmo {

// One buffer of float samples as the engine's tap delivers it, without owning them. Channel c
// holds frames samples starting at kanalen[c], `stap` floats apart: planar audio (one array per
// channel) has stap 1, interleaved audio points every channel into the same array with stap equal
// to the channel count. Both kinds pass without copying.
struct AudioBlok {
    InvoerFormaat formaat;
    std::uint32_t frames = 0;
    const float* const* kanalen = nullptr;  // formaat.kanalen pointers
    std::size_t stap = 1;

    [[nodiscard]] float sample(std::uint32_t kanaal, std::size_t i) const {
        return kanalen[kanaal][i * stap];
    }
};

}  // namespace tolmo
