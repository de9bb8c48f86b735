#pragma once

#include <cstdint>
#include <optional>

#include "TolmoKern/Sneltoetsen/HoudToets.h"
#include "TolmoKern/Sneltoetsen/ToetsVlaggen.h"

namespace tolmo {

// Turns modifier changes, ordinary key presses and safety-net polls into the start, stop and
// cancel of a hold. Pure state: the caller feeds it events with the system uptime at which it
// handled them (not the events' own time stamps) and acts on the answers.
struct HoudToetsHerkenner {
    enum class Actie { begin, einde, annuleer };

    // A shorter hold is a tap and cancels; the same limit holds whether the release came as an
    // event or was found by the safety net.
    static constexpr double minimumHoudDuur = 0.3;
    // Consecutive polls that must find the key up before a hold counts as released.
    static constexpr int peilingenVoorLos = 2;

    HoudToets toets = HoudToets::uit;
    // Uptime at which the current hold began; empty when no hold is in progress.
    std::optional<double> ingedruktSinds;
    // The current press of the hold key came with, or was followed by, another key: it starts
    // nothing until the key is released.
    bool genegeerd = false;
    // Consecutive polls that found the hold key up during a hold.
    int losGezien = 0;

    explicit HoudToetsHerkenner(HoudToets t) : toets(t) {}

    void reset();

    // A modifier key went up or down; toetscode is that key's code, vlaggen the event's flags.
    std::optional<Actie> modificatieGewijzigd(std::uint16_t toetscode, ToetsVlaggen vlaggen,
                                              double tijd);
    // An ordinary (non-modifier) key went down.
    std::optional<Actie> andereToetsOmlaag();
    // A safety-net tick during a hold; vlaggen is the session's current combined flag state.
    std::optional<Actie> vangnetPeiling(ToetsVlaggen vlaggen, double tijd);

    // Whether a modifier other than the hold key itself is down. The left-hand twin of the hold
    // key counts as another key; the hold key's own generic bit does not.
    static bool andereModificatie(ToetsVlaggen vlaggen, HoudToets toets);

    [[nodiscard]] bool houdtVast() const { return ingedruktSinds.has_value(); }

    bool operator==(const HoudToetsHerkenner&) const = default;

  private:
    // einde or annuleer for a hold that ends at tijd, and back to idle.
    Actie beeindig(double tijd);
};

}  // namespace tolmo
