#include "Tolmo/GolfView/GolfAnimatie.h"

#include <algorithm>
#include <cmath>

#include "Tolmo/AudioOpnemer/NiveauKanaal.h"

namespace tolmo {

namespace {

constexpr float zestigste = 1.0F / 60.0F;

// A frame after a stall (or the very first one) counts as one ordinary frame, so the smoothing
// never jumps; a burst of very short frames still moves a little each time.
double begrensdeStap(double dt) {
    if (dt <= 0 || dt > 0.1) {
        return zestigste;
    }
    return std::max(dt, 1.0 / 240.0);
}

}  // namespace

GolfAnimatie::Thema GolfAnimatie::Thema::lichtThema() {
    return {true,
            {{{0.16F, 0.42F, 0.95F, 1},
              {0.48F, 0.30F, 0.92F, 1},
              {0.90F, 0.30F, 0.62F, 1},
              {0.10F, 0.68F, 0.80F, 1}}},
            0.35F};
}

GolfAnimatie::Thema GolfAnimatie::Thema::donkerThema() {
    return {false,
            {{{0.25F, 0.55F, 1.00F, 1},
              {0.62F, 0.40F, 1.00F, 1},
              {1.00F, 0.38F, 0.70F, 1},
              {0.20F, 0.85F, 0.95F, 1}}},
            0.45F};
}

GolfAnimatie::GolfAnimatie(Thema thema) : thema_(thema), getoondeLijn_(thema.rustLijn) {}

GolfAnimatie::NiveauBron GolfAnimatie::uitKanaal(const NiveauKanaal& kanaal) {
    return [&kanaal] { return std::clamp(kanaal.lees().niveau, 0.0F, 1.0F); };
}

U GolfAnimatie::beeld(float breedte, float hoogte, double nu) {
    const double dt = begrensdeStap(vorigBeeld_ ? nu - *vorigBeeld_ : 0);
    vorigBeeld_ = nu;
    if (!begin_) {
        begin_ = nu;
    }
    const double verstreken = nu - *begin_;

    float doel = 0;
    switch (stand_) {
        case Stand::rust:
            doel = 0;
            break;
        case Stand::luistert:
            doel = 0.12F + 0.88F * (niveauBron_ ? niveauBron_() : 0.0F);
            break;
        case Stand::verwerkt:
            doel = bewegingBeperkt_
                       ? 0.12F
                       : 0.12F + 0.08F * static_cast<float>(std::sin(3.0 * verstreken));
            break;
    }
    laatsteDoel_ = doel;

    // Fast attack, slower release: the wave jumps up with a syllable and settles gently.
    const double k = doel > getoondNiveau_ ? 0.65 : 0.88;
    getoondNiveau_ += (doel - getoondNiveau_) * static_cast<float>(1.0 - std::pow(k, dt * 30));
    const float lijnDoel = stand_ == Stand::rust ? thema_.rustLijn : 1.0F;
    getoondeLijn_ += (lijnDoel - getoondeLijn_) * static_cast<float>(1.0 - std::pow(0.8, dt * 30));

    U u;
    u.R = {breedte, hoogte};
    // Reduce motion freezes the wave in one pleasant pose instead of stopping it flat.
    u.T = bewegingBeperkt_ ? 1.5F : static_cast<float>(verstreken);
    u.A = getoondNiveau_;
    u.licht = thema_.licht ? 1.0F : 0.0F;
    u.lijn = getoondeLijn_;
    u.C = thema_.kleuren;
    return u;
}

}  // namespace tolmo
