#include "Tolmo/GolfView/GolfBeeld.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstddef>

namespace tolmo {

namespace {

// Plain comparisons rather than fmin/fmax: they map to the vector min and max instructions.
float klem(float x, float laag, float hoog) {
    return x < laag ? laag : (x > hoog ? hoog : x);
}

std::uint8_t byte(float v) {
    return static_cast<std::uint8_t>(klem(v, 0, 1) * 255.0F + 0.5F);
}

// e^x for x ≤ 0 to about 1e-7 relative, without a branch or a library call, so that a loop
// over a row vectorises: 2^n by the exponent bits, 2^f for |f| ≤ 1/2 by its Taylor series.
float snelExp(float x) {
    const float k = (x < -87.0F ? -87.0F : x) * 1.44269504F;
    const float n = (k + 12582912.0F) - 12582912.0F;  // round to nearest by 1.5 × 2^23
    const float f = (k - n) * 0.693147181F;
    const float p =
        1.0F +
        f * (1.0F +
             f * (0.5F + f * (0.166666667F +
                              f * (0.0416666667F + f * (0.00833333333F + f * 0.00138888889F)))));
    return std::bit_cast<float>(std::bit_cast<std::int32_t>(p) +
                                (static_cast<std::int32_t>(n) << 23));
}

}  // namespace

// One lobe's light added to a row: the core (smoothstep(h, h / 4, d), full within a quarter of
// h, gone at h) and the Gaussian glow around its centre line.
void GolfBeeld::telLobOp(std::size_t n, float ly, const Lob& l, const float* __restrict env,
                         const std::array<float, 4>& kleur, float* __restrict r,
                         float* __restrict g, float* __restrict b, float* __restrict som) {
    const float* __restrict h = l.h.data();
    const float* __restrict c = l.c.data();
    const float* __restrict gf = l.gloedFactor.data();
    const float* __restrict kf = l.kernFactor.data();
    const float cr = kleur[0];
    const float cg = kleur[1];
    const float cb = kleur[2];
    for (std::size_t x = 0; x < n; ++x) {
        const float d = std::fabs(ly - c[x]);
        const float t = klem((d - h[x]) * kf[x], 0, 1);
        const float kern = t * t * (3.0F - 2.0F * t);
        const float gloed = snelExp(d * d * gf[x]) * env[x];
        const float bijdrage = kern * 0.85F + gloed * 0.55F;
        r[x] += cr * bijdrage;
        g[x] += cg * bijdrage;
        b[x] += cb * bijdrage;
        som[x] += bijdrage;
    }
}

// Dark theme: additive light with a white hot core and soft bloom, alpha the brightest channel.
void GolfBeeld::kleurDonker(std::size_t n, const float* __restrict kernBreedte, float rijKern,
                            const float* __restrict r, const float* __restrict g,
                            const float* __restrict b, float lijn, std::uint8_t* __restrict p) {
    for (std::size_t x = 0; x < n; ++x) {
        const float w = kernBreedte[x] * rijKern;
        const float kr = 1.0F - snelExp(-(r[x] + w) * 1.25F);
        const float kg = 1.0F - snelExp(-(g[x] + w) * 1.25F);
        const float kb = 1.0F - snelExp(-(b[x] + w) * 1.25F);
        const float a = klem(kr > kg ? (kr > kb ? kr : kb) : (kg > kb ? kg : kb), 0, 1);
        p[4 * x] = byte(kr * lijn);
        p[4 * x + 1] = byte(kg * lijn);
        p[4 * x + 2] = byte(kb * lijn);
        p[4 * x + 3] = byte(a * lijn);
    }
}

// Light theme: ordinary alpha blending, the lobes' own mixed colour with a coloured core.
void GolfBeeld::kleurLicht(std::size_t n, const float* __restrict kernBreedte, float rijKern,
                           const float* __restrict r, const float* __restrict g,
                           const float* __restrict b, const float* __restrict som,
                           const std::array<float, 4>& eerste, const std::array<float, 3>& kern,
                           float lijn, std::uint8_t* __restrict p) {
    for (std::size_t x = 0; x < n; ++x) {
        const float w = kernBreedte[x] * rijKern;
        const bool metTint = som[x] > 0.0001F;
        const float tr = metTint ? r[x] / som[x] : eerste[0];
        const float tg = metTint ? g[x] / som[x] : eerste[1];
        const float tb = metTint ? b[x] / som[x] : eerste[2];
        const float m = klem(w, 0, 1) * 0.7F;
        const float a = klem(1.0F - snelExp(-(som[x] * 0.9F + w * 0.5F)), 0, 1);
        p[4 * x] = byte((tr + (kern[0] - tr) * m) * a * lijn);
        p[4 * x + 1] = byte((tg + (kern[1] - tg) * m) * a * lijn);
        p[4 * x + 2] = byte((tb + (kern[2] - tb) * m) * a * lijn);
        p[4 * x + 3] = byte(a * lijn);
    }
}

GolfBeeld::GolfBeeld(int breedte, int hoogte)
    : breedte_(std::max(breedte, 0)),
      hoogte_(std::max(hoogte, 0)),
      pixels_(static_cast<std::size_t>(breedte_) * static_cast<std::size_t>(hoogte_) * 4) {
    const auto n = static_cast<std::size_t>(breedte_);
    for (auto* v : {&env_, &kernBreedte_, &r_, &g_, &b_, &som_}) {
        v->resize(n);
    }
    for (Lob& l : lobben_) {
        for (auto* v : {&l.h, &l.c, &l.gloedFactor, &l.kernFactor}) {
            v->resize(n);
        }
    }
}

void GolfBeeld::vulKolommen(const U& u, float amp) {
    for (int x = 0; x < breedte_; ++x) {
        const auto k = static_cast<std::size_t>(x);
        const float uvx = ((static_cast<float>(x) + 0.5F) / u.R[0] - 0.5F) * 2.0F;
        const float rest = std::fmax(0.0F, 1.0F - std::fabs(uvx));
        env_[k] = std::pow(rest, 1.6F);
        kernBreedte_[k] = std::pow(rest, 3.0F);
        for (std::size_t i = 0; i < 4; ++i) {
            const auto fi = static_cast<float>(i);
            const float f = 3.2F + 0.9F * fi;
            const float s = 1.4F + 0.45F * fi;
            const float ph = 1.9F * fi;
            const float a = amp * (0.75F + 0.25F * std::sin(u.T * 0.9F + fi));
            Lob& l = lobben_[i];
            const float h = a * env_[k] * (0.55F + 0.45F * std::sin(uvx * f + u.T * s + ph));
            l.h[k] = h;
            l.c[k] = a * 0.25F * env_[k] * std::sin(uvx * f * 0.7F - u.T * s * 0.8F + ph * 2.0F);
            l.gloedFactor[k] = -1.0F / (0.0025F + h * h * 0.9F);
            // step(0.0005, h): a lobe this thin has no core.
            l.kernFactor[k] = h >= 0.0005F ? 1.0F / (h * 0.25F - h) : 0.0F;
        }
    }
}

void GolfBeeld::teken(const U& u) {
    if (u.lijn <= 0.001F) {
        std::fill(pixels_.begin(), pixels_.end(), std::uint8_t{0});
        return;
    }
    const float amp = 0.04F + u.A * 0.42F;
    vulKolommen(u, amp);
    const bool donker = u.licht < 0.5F;
    const float kernSterkte = 0.35F + u.A * 0.9F;
    const float kernNoemer = 0.0008F + amp * amp * 0.08F;
    const float ySchaal = 2.0F * (u.R[1] / u.R[0]) * 1.6F;
    const auto& C = u.C;
    const std::array<float, 3> kernKleur = {(C[2][0] + C[3][0]) * 0.5F, (C[2][1] + C[3][1]) * 0.5F,
                                            (C[2][2] + C[3][2]) * 0.5F};
    const std::size_t n = env_.size();
    float* __restrict r = r_.data();
    float* __restrict g = g_.data();
    float* __restrict b = b_.data();
    float* __restrict som = som_.data();

    for (int y = 0; y < hoogte_; ++y) {
        const float uvy = ((static_cast<float>(y) + 0.5F) / u.R[1] - 0.5F) * ySchaal;
        const float rijKern = std::exp(-uvy * uvy / kernNoemer) * kernSterkte;
        std::fill_n(r, n, 0.0F);
        std::fill_n(g, n, 0.0F);
        std::fill_n(b, n, 0.0F);
        std::fill_n(som, n, 0.0F);
        for (std::size_t i = 0; i < 4; ++i) {
            const Lob& l = lobben_[i];
            telLobOp(n, uvy + (static_cast<float>(i) - 1.5F) * 0.006F, l, env_.data(), C[i], r, g,
                     b, som);
        }
        std::uint8_t* p = pixels_.data() + static_cast<std::size_t>(y) * n * 4;
        if (donker) {
            kleurDonker(n, kernBreedte_.data(), rijKern, r, g, b, u.lijn, p);
        } else {
            kleurLicht(n, kernBreedte_.data(), rijKern, r, g, b, som, C[0], kernKleur, u.lijn, p);
        }
    }
}

}  // namespace tolmo
