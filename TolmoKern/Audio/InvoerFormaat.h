#pragma once

#include <cstdint>

namespace tolmo {

// Sample rate and channel count of audio as the microphone side delivers it.
struct InvoerFormaat {
    double sampleRate = 0;
    std::uint32_t kanalen = 0;

    // A format one can record with: a positive rate and at least one channel.
    [[nodiscard]] constexpr bool isGeldig() const { return sampleRate > 0 && kanalen >= 1; }

    bool operator==(const InvoerFormaat&) const = default;
};

// The format every recording is converted to.
inline constexpr InvoerFormaat doelFormaat{16000.0, 1};

}  // namespace tolmo
