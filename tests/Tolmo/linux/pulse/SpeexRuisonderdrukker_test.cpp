#include "Tolmo/linux/pulse/SpeexRuisonderdrukker.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <numbers>
#include <vector>

namespace tolmo {
namespace {

// 4 s on channel 0: white noise throughout, a voiced vowel-like sound (140 Hz and its
// harmonics, in syllables of 125 ms) from 2.5 s on; every other channel silent.
struct Signaal {
    std::uint32_t rate;
    std::uint32_t kanalen;
    std::vector<float> spraak;  // channel 0's speech alone
    std::vector<float> data;    // interleaved

    Signaal(std::uint32_t r, std::uint32_t k)
        : rate(r), kanalen(k), spraak(4 * r), data(4 * r * k) {
        std::uint32_t lcg = 12345;
        for (std::size_t i = 0; i < spraak.size(); ++i) {
            const double t = static_cast<double>(i) / rate;
            double s = 0;
            for (int h = 1; h <= 10 && 140.0 * h < rate / 2.0; ++h) {
                s += 0.15 / h * std::sin(2 * std::numbers::pi * 140.0 * h * t);
            }
            spraak[i] = t < 2.5
                            ? 0.0F
                            : static_cast<float>(s * std::abs(std::sin(std::numbers::pi * 4 * t)));
            lcg = lcg * 1664525U + 1013904223U;
            const float ruis = 0.05F * (static_cast<float>(lcg >> 8) / 8388608.0F - 1.0F);
            data[i * k] = spraak[i] + ruis;
        }
    }

    // Level in dB of channel 0 of `x` between the two times.
    [[nodiscard]] double db(const std::vector<float>& x, double van, double tot,
                            std::size_t stap) const {
        double som = 0;
        const auto a = static_cast<std::size_t>(van * rate);
        const auto b = static_cast<std::size_t>(tot * rate);
        for (std::size_t i = a; i < b; ++i) {
            som += double{x[i * stap]} * x[i * stap];
        }
        return 10 * std::log10(som / static_cast<double>(b - a) + 1e-20);
    }
};

std::vector<float> verwerkIn(const Signaal& s, std::size_t blok) {
    SpeexRuisonderdrukker ruis(s.rate, s.kanalen);
    std::vector<float> uit = s.data;
    const std::size_t frames = uit.size() / s.kanalen;
    for (std::size_t i = 0; i < frames; i += blok) {
        ruis.verwerk(uit.data() + i * s.kanalen, std::min(blok, frames - i));
    }
    return uit;
}

TEST(SpeexRuisonderdrukker, DampsStationaryNoiseAndKeepsTheVoice) {
    for (const auto& [rate, kanalen] : {std::pair{48000U, 2U}, {44100U, 1U}, {16000U, 1U}}) {
        SCOPED_TRACE(rate);
        const Signaal s(rate, kanalen);
        const auto uit = verwerkIn(s, 2048);
        EXPECT_LT(s.db(uit, 1.5, 2.5, kanalen), s.db(s.data, 1.5, 2.5, kanalen) - 10);
        EXPECT_NEAR(s.db(uit, 2.8, 3.8, kanalen), s.db(s.spraak, 2.8, 3.8, 1), 3.0);
        for (std::size_t i = 0; kanalen > 1 && i < uit.size(); i += kanalen) {
            ASSERT_EQ(uit[i + 1], 0.0F) << "kanaal 1 kreeg iets van kanaal 0 bij " << i;
        }
    }
}

// What comes out may depend on the audio only, never on how the server happened to cut it up.
TEST(SpeexRuisonderdrukker, TheBlockLengthDoesNotChangeTheOutput) {
    const Signaal s(48000, 2);
    const auto verwacht = verwerkIn(s, 2048);
    for (const std::size_t blok : {1UL, 7UL, 959UL, 960UL, 961UL, 4 * 48000UL}) {
        SCOPED_TRACE(blok);
        EXPECT_EQ(verwerkIn(s, blok), verwacht);
    }
}

}  // namespace
}  // namespace tolmo
