#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "Tolmo/GolfView/U.h"

namespace tolmo {

// Draws the waveform on the CPU, for shells without Metal (the Linux indicator): the same
// formulas and constants as the fragment shader, in float, into a premultiplied RGBA image.
// What depends on one column or one row only is computed once per frame; the per-pixel work
// runs over whole rows of columns without branches, so the compiler can do four or eight
// pixels at a time.
class GolfBeeld {
  public:
    GolfBeeld(int breedte, int hoogte);

    // One frame for these uniforms; u.R gives the drawable size the formulas scale to.
    void teken(const U& u);

    // Rows top to bottom, 4 bytes per pixel (r, g, b, a), colour multiplied by alpha.
    [[nodiscard]] const std::vector<std::uint8_t>& pixels() const { return pixels_; }
    [[nodiscard]] int breedte() const { return breedte_; }
    [[nodiscard]] int hoogte() const { return hoogte_; }

  private:
    // One lobe across the columns: its half height, centre line, the glow's width (as the
    // reciprocal of the Gaussian's denominator) and the core's falloff (1 / (h/4 - h), or 0
    // where the lobe is too thin to have a core).
    struct Lob {
        std::vector<float> h, c, gloedFactor, kernFactor;
    };

    void vulKolommen(const U& u, float amp);
    static void telLobOp(std::size_t n, float ly, const Lob& l, const float* env,
                         const std::array<float, 4>& kleur, float* r, float* g, float* b,
                         float* som);
    static void kleurDonker(std::size_t n, const float* kernBreedte, float rijKern, const float* r,
                            const float* g, const float* b, float lijn, std::uint8_t* p);
    static void kleurLicht(std::size_t n, const float* kernBreedte, float rijKern, const float* r,
                           const float* g, const float* b, const float* som,
                           const std::array<float, 4>& eerste, const std::array<float, 3>& kern,
                           float lijn, std::uint8_t* p);

    int breedte_;
    int hoogte_;
    std::vector<std::uint8_t> pixels_;
    std::vector<float> env_, kernBreedte_;
    std::array<Lob, 4> lobben_;
    // One row's sums: colour per channel and the lobes' total.
    std::vector<float> r_, g_, b_, som_;
};

}  // namespace tolmo
