#include "Tolmo/linux/pulse/SpeexRuisonderdrukker.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

namespace tolmo {
namespace {

// 3 s of 48 kHz stereo, white noise on the left and silence on the right, denoised in blocks
// of `blok` frames. (That the noise gets quieter is checked on the real capture path.)
std::vector<float> ruisIn(std::size_t blok) {
    std::vector<float> data(2 * 3 * 48000);
    std::uint32_t lcg = 12345;
    for (std::size_t i = 0; i < data.size(); i += 2) {
        lcg = lcg * 1664525U + 1013904223U;
        data[i] = 0.05F * (static_cast<float>(lcg >> 8) / 8388608.0F - 1.0F);
    }
    SpeexRuisonderdrukker ruis(48000, 2);
    for (std::size_t i = 0; i < data.size() / 2; i += blok) {
        ruis.verwerk(data.data() + 2 * i, std::min(blok, data.size() / 2 - i));
    }
    return data;
}

// What comes out may depend on the audio only, never on how the server happened to cut it up,
// and one channel's sound never reaches another.
TEST(SpeexRuisonderdrukker, TheOutputDependsOnTheAudioOnly) {
    const auto verwacht = ruisIn(2048);
    for (std::size_t i = 1; i < verwacht.size(); i += 2) {
        ASSERT_EQ(verwacht[i], 0.0F) << "rechts kreeg iets van links bij " << i / 2;
    }
    for (const std::size_t blok : {1UL, 7UL, 959UL, 960UL, 961UL, 3 * 48000UL}) {
        SCOPED_TRACE(blok);
        EXPECT_EQ(ruisIn(blok), verwacht);
    }
}

}  // namespace
}  // namespace tolmo
