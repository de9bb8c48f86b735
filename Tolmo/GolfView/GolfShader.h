#pragma once

#include <string_view>

namespace tolmo {

// The waveform's fragment shader in Metal Shading Language. The Mac app compiles this text at
// run time (newLibraryWithSource), with "golfHoekpunt" as vertex and "golfFragment" as fragment
// function; a Linux test compiles the same text as C++ to prove the CPU renderer draws the same
// wave. The text sits in its own file, GolfShader.metal, between the two marker lines, so that
// test can cut it out at build time.
class GolfShader {
  public:
    [[nodiscard]] static std::string_view bron();
};

}  // namespace tolmo
