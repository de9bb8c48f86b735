// Compiles the Metal shader text itself, against the stand-in library in shim/, with floating
// literals in single precision as in Metal (so `lijn > 0.001` compares floats). Attributes such
// as [[position]] mean nothing to a C++ compiler and are ignored.
#include "ShaderAlsCpp.h"

namespace msl {
#include "Tolmo/GolfView/GolfShader.metal"
}

namespace tolmo {

std::array<float, 4> shaderPixel(const U& u, float x, float y) {
    msl::U m;
    m.R = msl::metal::float2(u.R[0], u.R[1]);
    m.T = u.T;
    m.A = u.A;
    m.licht = u.licht;
    m.lijn = u.lijn;
    for (int i = 0; i < 4; ++i) {
        const auto& c = u.C[static_cast<std::size_t>(i)];
        m.C[i] = msl::metal::float4(c[0], c[1], c[2], c[3]);
    }
    msl::VUit in;
    in.pos = msl::metal::float4(x, y, 0, 1);
    const msl::metal::float4 s = msl::golfFragment(in, m);
    return {s.x, s.y, s.z, s.w};
}

bool shaderLiteralenZijnFloat() {
    return sizeof(0.001) == sizeof(float);
}

}  // namespace tolmo
