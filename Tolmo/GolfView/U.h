#pragma once

#include <array>
#include <cstddef>

namespace tolmo {

// The waveform shader's uniform block, byte for byte as the fragment function reads it from
// buffer 0: the Mac view uploads it as is every frame, the CPU renderer reads the same fields.
// Metal aligns a float4 to 16 bytes, so the two padding floats put C at offset 32.
struct U {
    std::array<float, 2> R{};  // drawable size in pixels
    float T = 0;               // animation time in seconds
    float A = 0;               // amplitude 0…1
    float licht = 0;           // 1 for the light theme, 0 for dark
    float lijn = 0;            // overall line brightness
    float vul1 = 0;
    float vul2 = 0;
    std::array<std::array<float, 4>, 4> C{};  // the theme's four wave colours (r, g, b, a)
};

static_assert(sizeof(U) == 96);
static_assert(offsetof(U, R) == 0);
static_assert(offsetof(U, T) == 8);
static_assert(offsetof(U, A) == 12);
static_assert(offsetof(U, licht) == 16);
static_assert(offsetof(U, lijn) == 20);
static_assert(offsetof(U, vul1) == 24);
static_assert(offsetof(U, vul2) == 28);
static_assert(offsetof(U, C) == 32);

}  // namespace tolmo
