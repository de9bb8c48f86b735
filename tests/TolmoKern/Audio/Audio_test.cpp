#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <vector>

#include "TolmoKern/Audio/AudioMeting.h"
#include "TolmoKern/Audio/FormaatBesluit.h"
#include "TolmoKern/Audio/NiveauVolger.h"
#include "TolmoKern/Audio/OpnameFout.h"
#include "TolmoKern/Audio/StartStap.h"

namespace tolmo {
namespace {

TEST(StartStap, BothSidesMustBeValidAndAgree) {
    struct Geval {
        InvoerFormaat invoer, uitvoer;
        StartStap verwacht;
    };
    const Geval gevallen[] = {
        {{48000, 2}, {48000, 2}, StartStap::starten},
        {{44100, 2}, {48000, 2}, StartStap::wachten},  // rate differs
        {{0, 2}, {48000, 2}, StartStap::vervallen},
        {{48000, 2}, {48000, 0}, StartStap::vervallen},
        {{-1, 1}, {-1, 1}, StartStap::vervallen},  // equal, but invalid
    };
    for (const auto& g : gevallen) {
        EXPECT_EQ(bepaalStartStap(g.invoer, g.uitvoer), g.verwacht)
            << g.invoer.sampleRate << "/" << g.invoer.kanalen << " vs " << g.uitvoer.sampleRate
            << "/" << g.uitvoer.kanalen;
    }
}

TEST(FormaatBesluit, EveryBranch) {
    using F = FormaatBesluit;
    const InvoerFormaat stereo48{48000, 2}, mono16{16000, 1}, leeg{0, 0};
    struct Geval {
        HerstartToestand t;
        F verwacht;
    };
    const Geval gevallen[] = {
        // Idle: whatever the engine did, there is nothing to decide.
        {{false, false, stereo48, mono16}, F::geenDictaat},
        {{false, true, stereo48, leeg}, F::geenDictaat},
        // The restart failed: finish, even when a format is reported.
        {{true, true, stereo48, stereo48}, F::afrondenMetDeelopname},
        {{true, false, stereo48, stereo48}, F::ongewijzigd},
        {{true, false, stereo48, mono16}, F::omzetterVernieuwen},
        // Old format unknown: a valid new one can never count as unchanged.
        {{true, false, std::nullopt, stereo48}, F::omzetterVernieuwen},
        // An unusable new format, even one equal to the old.
        {{true, false, leeg, leeg}, F::afrondenMetDeelopname},
    };
    for (std::size_t i = 0; i < std::size(gevallen); ++i) {
        EXPECT_EQ(besluitNaWijziging(gevallen[i].t), gevallen[i].verwacht) << "geval " << i;
    }
}

TEST(NiveauVolger, TargetFromLevel) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const std::pair<double, float> gevallen[] = {
        {-60.5, 0.0F}, {-59.0, 0.02F}, {-35.0, 0.5F},
        {-10.0, 1.0F}, {6.0, 1.0F},  // clipped input is still 1
        {nan, 0.0F},
    };
    for (const auto& [db, verwacht] : gevallen) {
        EXPECT_NEAR(NiveauVolger::doel(db), verwacht, 1e-6) << db;
    }
}

TEST(NiveauVolger, RisesFastFallsSlowly) {
    NiveauVolger v;
    // Up from 0 to target 1: 0.6, then 0.84.
    EXPECT_FLOAT_EQ(v.volg(0.0), 0.6F);
    EXPECT_FLOAT_EQ(v.volg(-5.0), 0.84F);
    // Down to silence: a quarter of the distance per buffer.
    EXPECT_FLOAT_EQ(v.volg(-160.0), 0.63F);
    EXPECT_FLOAT_EQ(v.volg(-160.0), 0.4725F);
    // Equal target: stays.
    v.herstel();
    EXPECT_FLOAT_EQ(v.volg(-100.0), 0.0F);
}

TEST(AudioMeting, BufferLevelAndStrides) {
    // Interleaved stereo: left 0.5, right 1.0. The first channel alone is measured.
    const std::vector<float> stereo = {0.5F, 1.0F,  -0.5F, 1.0F, 0.5F,
                                       1.0F, -0.5F, 1.0F,  0.5F, 1.0F};
    EXPECT_DOUBLE_EQ(AudioMeting::somKwadratenVan(stereo.data(), 5, 2), 5 * 0.25);
    EXPECT_DOUBLE_EQ(AudioMeting::somKwadratenVan(stereo.data(), 10, 1), 5 * 0.25 + 5 * 1.0);
    EXPECT_DOUBLE_EQ(AudioMeting::somKwadratenVan(stereo.data(), 0, 2), 0.0);

    struct Geval {
        double som;
        std::int64_t n;
        double verwacht;
    };
    const Geval gevallen[] = {
        {0, 0, -160},      // no samples
        {0, 2048, -160},   // all zeros
        {1e-30, 1, -160},  // far below the floor
        {2048 * 0.01, 2048, -20},
    };
    for (const auto& g : gevallen) {
        EXPECT_NEAR(AudioMeting::niveauDB(g.som, g.n), g.verwacht, 1e-9) << g.som << "/" << g.n;
    }

    AudioMeting m;
    m.telBuffer(48000, 24000, 1.0);
    m.telBuffer(16000, 8000, 1.0);  // a switch: 0.5 s at each rate
    EXPECT_DOUBLE_EQ(m.duur(), 1.0);
    EXPECT_EQ(m.aantalSamples, 32000);
    EXPECT_DOUBLE_EQ(m.somKwadraten, 2.0);
}

TEST(OpnameFout, MessagesAndCodes) {
    EXPECT_STREQ(OpnameFout::geenInvoer().what(), "Geen microfoon-invoer gevonden.");
    EXPECT_EQ(OpnameFout::omzetten().melding(), "Audio omzetten naar 16 kHz mislukt.");
    const std::error_code code = OpnameFout::omzetten().foutcode();
    EXPECT_TRUE(code);
    EXPECT_EQ(code.message(), "Audio omzetten naar 16 kHz mislukt.");
    EXPECT_NE(code, OpnameFout::geenInvoer().foutcode());
    EXPECT_NE(code, std::make_error_code(std::errc::io_error));
}

}  // namespace
}  // namespace tolmo
