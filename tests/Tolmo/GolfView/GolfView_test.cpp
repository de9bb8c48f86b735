#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "Tolmo/GolfView/GolfAnimatie.h"
#include "Tolmo/GolfView/GolfBeeld.h"
#include "Tolmo/GolfView/ShaderAlsCpp.h"

namespace tolmo {
namespace {

using Stand = GolfAnimatie::Stand;

// Drives frames at the given times and answers the amplitude after the last one.
float niveauNa(GolfAnimatie& g, const std::vector<double>& tijden) {
    for (double t : tijden) {
        g.beeld(280, 56, t);
    }
    return g.getoondNiveau();
}

TEST(GolfAnimatie, EenStapTelt1Zestigste_NaStilstandOfTerugInDeTijd_EnMinstens1_240) {
    struct Geval {
        double tweede;  // the second frame's time; the first is at 10 s and counts as 1/60
        double dt;
    };
    const Geval gevallen[] = {
        {10.0, 1.0 / 60}, {9.5, 1.0 / 60}, {10.25, 1.0 / 60},   {10.001, 1.0 / 240},
        {10.05, 0.05},    {10.1, 0.1},     {10.1001, 1.0 / 60},
    };
    for (const auto& g : gevallen) {
        SCOPED_TRACE(g.tweede);
        GolfAnimatie a;
        a.zetStand(Stand::luistert);  // no level source: the target is 0.12
        const double na1 = 0.12 * (1 - std::pow(0.65, 30.0 / 60));
        const double verwacht = na1 + (0.12 - na1) * (1 - std::pow(0.65, g.dt * 30));
        EXPECT_NEAR(niveauNa(a, {10.0, g.tweede}), verwacht, 1e-6);
    }
}

// The wave's time is a float in the shader: after days of uptime it no longer tells frames a
// sixtieth apart, so each showing starts the clock again.
TEST(GolfAnimatie, DeKlokBegintOpnieuwAlsDeGolfVerschijnt) {
    GolfAnimatie a;
    const double dagenLater = 5 * 86400.0;
    a.beeld(280, 56, 1.0);
    a.beeld(280, 56, dagenLater);
    a.herstartKlok();
    const U nieuw1 = a.beeld(280, 56, dagenLater + 10);
    const U nieuw2 = a.beeld(280, 56, dagenLater + 10 + 1.0 / 60);
    EXPECT_EQ(nieuw1.T, 0.0F);
    EXPECT_NEAR(nieuw2.T - nieuw1.T, 1.0 / 60, 1e-6);
}

// Each state's target, the slower fall than rise of the level, reduce motion, and the line
// settling back to the theme's rest line; drawing at a line too dim to show is GolfBeeld's row.
TEST(GolfAnimatie, DoelEnLijnPerStand) {
    GolfAnimatie a;  // light theme: rest line 0.35
    float niveau = 0.5F;
    a.zetNiveauBron([&] { return niveau; });
    a.zetStand(Stand::luistert);
    niveauNa(a, {0, 1.0 / 60});
    EXPECT_FLOAT_EQ(a.laatsteDoel(), 0.12F + 0.88F * 0.5F);
    niveau = 0;
    const float voor = a.getoondNiveau();
    a.beeld(280, 56, 2.0 / 60);
    EXPECT_NEAR(a.getoondNiveau(), voor + (0.12F - voor) * (1 - std::pow(0.88, 0.5)), 1e-6);

    a.zetStand(Stand::verwerkt);
    a.beeld(280, 56, 0.5);
    EXPECT_NEAR(a.laatsteDoel(), 0.12 + 0.08 * std::sin(3 * 0.5), 1e-6);
    // Reduce motion holds the wave in one pose, without the breath.
    a.zetBewegingBeperkt(true);
    EXPECT_EQ(a.beeld(280, 56, 0.6).T, 1.5F);
    EXPECT_FLOAT_EQ(a.laatsteDoel(), 0.12F);

    a.zetStand(Stand::rust);
    const float lijn = a.getoondeLijn();
    a.beeld(280, 56, 0.6 + 1.0 / 60);
    EXPECT_EQ(a.laatsteDoel(), 0);
    EXPECT_NEAR(a.getoondeLijn(), lijn + (0.35F - lijn) * (1 - std::pow(0.8, 0.5)), 1e-6);
}

// The CPU renderer against the shader text compiled as C++, pixel by pixel, for a table of
// frames: a typo in either one fails here.
TEST(GolfBeeld, TekentWatDeShaderTekent) {
    struct Geval {
        const char* naam;
        bool licht;
        float T;
        float A;
        float lijn;
    };
    const Geval gevallen[] = {
        {"licht rust", true, 0.7F, 0.0F, 0.35F},
        {"donker rust", false, 0.7F, 0.0F, 0.45F},
        {"licht luid", true, 2.3F, 0.95F, 1.0F},
        {"donker luid", false, 2.3F, 0.95F, 1.0F},
        {"licht zacht", true, 5.1F, 0.13F, 1.0F},
        {"donker zacht", false, 5.1F, 0.13F, 1.0F},
        {"lijn op de grens", false, 3.0F, 0.5F, 0.001F},
        {"lijn net erboven", false, 3.0F, 0.5F, 0.0011F},
    };
    const int b = 140;
    const int h = 28;
    for (const auto& g : gevallen) {
        SCOPED_TRACE(g.naam);
        U u;
        u.R = {static_cast<float>(b), static_cast<float>(h)};
        u.T = g.T;
        u.A = g.A;
        u.licht = g.licht ? 1 : 0;
        u.lijn = g.lijn;
        const auto thema =
            g.licht ? GolfAnimatie::Thema::lichtThema() : GolfAnimatie::Thema::donkerThema();
        u.C = thema.kleuren;

        GolfBeeld beeld(b, h);
        beeld.teken(u);
        double grootsteVerschil = 0;
        double zichtbaar = 0;
        for (int y = 0; y < h; ++y) {
            for (int x = 0; x < b; ++x) {
                const auto s =
                    shaderPixel(u, static_cast<float>(x) + 0.5F, static_cast<float>(y) + 0.5F);
                const auto* p = &beeld.pixels()[static_cast<std::size_t>((y * b + x) * 4)];
                if (g.lijn == 0.001F && !shaderLiteralenZijnFloat()) {
                    zichtbaar += p[3];  // only the CPU renderer can be judged at the boundary
                    continue;
                }
                for (std::size_t k = 0; k < 4; ++k) {
                    const double cpu = p[k] / 255.0;
                    grootsteVerschil = std::fmax(grootsteVerschil, std::fabs(cpu - s[k]));
                }
                zichtbaar += s[3];
            }
        }
        EXPECT_LE(grootsteVerschil, 1.0 / 255) << "rounding to bytes costs at most half of that";
        if (g.lijn > 0.001F) {
            EXPECT_GT(zichtbaar, 0.5) << "the wave shows";
        } else {
            EXPECT_EQ(zichtbaar, 0);
        }
    }
}

}  // namespace
}  // namespace tolmo
