#pragma once

#include <array>
#include <functional>
#include <optional>

#include "Tolmo/GolfView/U.h"

namespace tolmo {

class NiveauKanaal;

// The motion of the indicator's wave, one step per drawn frame: how high the lobes stand (the
// microphone level while listening, a slow breath while processing, nothing at rest) and how
// bright the line is. Fills the uniform block the shader and the CPU renderer draw from. Knows
// no platform: the Mac view and the Linux indicator call beeld() from their frame callback.
class GolfAnimatie {
  public:
    enum class Stand { rust, luistert, verwerkt };

    struct Thema {
        bool licht = true;
        std::array<std::array<float, 4>, 4> kleuren{};
        // Line brightness at rest.
        float rustLijn = 0;

        static Thema lichtThema();
        static Thema donkerThema();
    };

    // The current level 0…1; read once per frame.
    using NiveauBron = std::function<float()>;

    explicit GolfAnimatie(Thema thema = Thema::lichtThema());

    // The recorder's published level as a source (the channel must outlive the animation).
    static NiveauBron uitKanaal(const NiveauKanaal& kanaal);

    void zetStand(Stand s) { stand_ = s; }
    void zetNiveauBron(NiveauBron bron) { niveauBron_ = std::move(bron); }
    void zetBewegingBeperkt(bool aan) { bewegingBeperkt_ = aan; }
    void zetThema(const Thema& t) { thema_ = t; }

    // One frame: breedte × hoogte is the drawable in pixels, nu a monotonic time in seconds.
    U beeld(float breedte, float hoogte, double nu);
    // The next frame starts the clock again. Called each time the wave shows: the time it
    // hands the shader is a float, which after days of uptime no longer tells frames apart.
    void herstartKlok() {
        begin_.reset();
        vorigBeeld_.reset();
    }

    [[nodiscard]] Stand stand() const { return stand_; }
    [[nodiscard]] float getoondNiveau() const { return getoondNiveau_; }
    [[nodiscard]] float getoondeLijn() const { return getoondeLijn_; }
    [[nodiscard]] float laatsteDoel() const { return laatsteDoel_; }

  private:
    Stand stand_ = Stand::rust;
    Thema thema_;
    NiveauBron niveauBron_;
    bool bewegingBeperkt_ = false;
    float getoondNiveau_ = 0;
    float getoondeLijn_;
    float laatsteDoel_ = 0;
    std::optional<double> vorigBeeld_;
    std::optional<double> begin_;
};

}  // namespace tolmo
