#include "Tolmo/MacVertaling/QuartzToetsen.h"

#include <gtest/gtest.h>

#include "Tolmo/MacVertaling/AudioTransport.h"

namespace tolmo {
namespace {

using Soort = ToetsBron::Soort;

TEST(QuartzToetsen, ReadsTheTwoKeyKindsAndTheTwoSwitchOffs) {
    const std::uint64_t rechterOption = ToetsVlaggen::option | ToetsVlaggen::rechterOption;
    struct Geval {
        std::uint32_t type;
        std::int64_t code;
        QuartzToetsen::Betekenis verwacht;
    };
    const Geval gevallen[] = {
        {12, 61, ToetsBron::Gebeurtenis{Soort::modificatie, 61, ToetsVlaggen{rechterOption}}},
        {10, 0xFFFF,
         ToetsBron::Gebeurtenis{Soort::toetsOmlaag, 0xFFFF, ToetsVlaggen{rechterOption}}},
        {10, 0x10000, std::monostate{}},  // no virtual key code fits: not some other key
        {12, -1, std::monostate{}},
        {11, 9, std::monostate{}},  // key up is not watched
        {0xFFFFFFFE, 0, ToetsBron::TapUit::timeOut},
        {0xFFFFFFFF, 0, ToetsBron::TapUit::gebruikersInvoer},
    };
    for (const auto& g : gevallen) {
        EXPECT_EQ(QuartzToetsen::vertaal(g.type, g.code, rechterOption), g.verwacht)
            << "type " << g.type << ", code " << g.code;
    }
}

TEST(AudioTransport, OnlyTheBluetoothKindsCount) {
    EXPECT_EQ(AudioTransport::uitCoreAudio(0x626C7565), AudioEngine::Transport::bluetooth);
    EXPECT_EQ(AudioTransport::uitCoreAudio(0x626C6561), AudioEngine::Transport::bluetoothLE);
    EXPECT_EQ(AudioTransport::uitCoreAudio(viercc("bltn")), AudioEngine::Transport::anders);
    EXPECT_EQ(AudioTransport::uitCoreAudio(0), AudioEngine::Transport::anders);
}

}  // namespace
}  // namespace tolmo
