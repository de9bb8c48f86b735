#pragma once

#include <cstdint>

#include "Tolmo/AudioOpnemer/AudioEngine.h"

namespace tolmo {

// A Core Audio four-character code as the number the framework compares.
constexpr std::uint32_t viercc(const char (&c)[5]) {
    return (std::uint32_t{static_cast<unsigned char>(c[0])} << 24) |
           (std::uint32_t{static_cast<unsigned char>(c[1])} << 16) |
           (std::uint32_t{static_cast<unsigned char>(c[2])} << 8) |
           std::uint32_t{static_cast<unsigned char>(c[3])};
}

// Core Audio names a device's transport with a four-character code; voice processing is skipped
// for the two Bluetooth kinds, whose microphones already come through a narrow, processed link.
struct AudioTransport {
    static constexpr std::uint32_t bluetooth = viercc("blue");
    static constexpr std::uint32_t bluetoothLE = viercc("blea");

    static constexpr AudioEngine::Transport uitCoreAudio(std::uint32_t code) {
        if (code == bluetooth) {
            return AudioEngine::Transport::bluetooth;
        }
        if (code == bluetoothLE) {
            return AudioEngine::Transport::bluetoothLE;
        }
        return AudioEngine::Transport::anders;
    }
};

}  // namespace tolmo
