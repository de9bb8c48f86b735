#pragma once

#include <array>

#include "Tolmo/GolfView/U.h"

namespace tolmo {

// The waveform shader's fragment function, compiled from its Metal text as C++: the colour it
// gives the pixel whose centre is (x, y), premultiplied (r, g, b, a).
std::array<float, 4> shaderPixel(const U& u, float x, float y);
// Whether the shader's unsuffixed literals were read as float, as Metal reads them (GCC can be
// told to; Clang cannot, and then `lijn > 0.001` compares in double right at the boundary).
bool shaderLiteralenZijnFloat();

}  // namespace tolmo
