#include "TolmoKern/Sneltoetsen/HoudToetsHerkenner.h"

namespace tolmo {

namespace {

// Uptimes are large doubles, so a hold of exactly 0.3 s can come out a few ulps short after
// the subtraction (100.3 - 100.0 < 0.3). Anything within a microsecond of the limit counts as
// having reached it; no keyboard resolves time that finely.
constexpr double speling = 1e-6;

constexpr std::uint64_t shiftControlCommand =
    ToetsVlaggen::shift | ToetsVlaggen::control | ToetsVlaggen::command;
constexpr std::uint64_t shiftControlOption =
    ToetsVlaggen::shift | ToetsVlaggen::control | ToetsVlaggen::option;
constexpr std::uint64_t shiftOptionCommand =
    ToetsVlaggen::shift | ToetsVlaggen::option | ToetsVlaggen::command;

// A right-hand modifier is alone when its left twin is up and, while its generic bit is set,
// no other kind of modifier is down. Without the generic bit (a flags word that only carries
// the device bit) any main modifier means another key.
bool andereNaast(ToetsVlaggen vlaggen, std::uint64_t linkerTwin, std::uint64_t algemeen,
                 std::uint64_t anderen) {
    if (vlaggen.bevatEen(linkerTwin)) {
        return true;
    }
    return vlaggen.bevatEen(algemeen) ? vlaggen.bevatEen(anderen)
                                      : vlaggen.bevatEen(ToetsVlaggen::hoofdModificaties);
}

}  // namespace

void HoudToetsHerkenner::reset() {
    ingedruktSinds.reset();
    genegeerd = false;
    losGezien = 0;
}

bool HoudToetsHerkenner::andereModificatie(ToetsVlaggen vlaggen, HoudToets toets) {
    switch (toets) {
        case HoudToets::fn:
        case HoudToets::uit:
            return vlaggen.bevatEen(ToetsVlaggen::hoofdModificaties);
        case HoudToets::rechterOption:
            return andereNaast(vlaggen, ToetsVlaggen::linkerOption, ToetsVlaggen::option,
                               shiftControlCommand);
        case HoudToets::rechterCommand:
            return andereNaast(vlaggen, ToetsVlaggen::linkerCommand, ToetsVlaggen::command,
                               shiftControlOption);
        case HoudToets::rechterControl:
            return andereNaast(vlaggen, ToetsVlaggen::linkerControl, ToetsVlaggen::control,
                               shiftOptionCommand);
    }
    return false;
}

HoudToetsHerkenner::Actie HoudToetsHerkenner::beeindig(double tijd) {
    const double duur = tijd - *ingedruktSinds;
    ingedruktSinds.reset();
    genegeerd = false;
    return duur < minimumHoudDuur - speling ? Actie::annuleer : Actie::einde;
}

std::optional<HoudToetsHerkenner::Actie> HoudToetsHerkenner::modificatieGewijzigd(
    std::uint16_t toetscode, ToetsVlaggen vlaggen, double tijd) {
    const auto eigenCode = tolmo::toetscode(toets);
    if (!eigenCode) {
        return std::nullopt;
    }
    const bool omlaag = vlaggen.bevatEen(apparaatVlag(toets));

    if (toetscode != *eigenCode) {
        if (houdtVast() && andereModificatie(vlaggen, toets)) {
            ingedruktSinds.reset();
            // Still down: the rest of this press must not start a new hold.
            genegeerd = omlaag;
            return Actie::annuleer;
        }
        if (!omlaag) {
            genegeerd = false;
        }
        return std::nullopt;
    }

    if (omlaag) {
        if (houdtVast() || genegeerd) {
            return std::nullopt;
        }
        if (andereModificatie(vlaggen, toets)) {
            genegeerd = true;
            return std::nullopt;
        }
        ingedruktSinds = tijd;
        losGezien = 0;
        return Actie::begin;
    }

    if (houdtVast()) {
        return beeindig(tijd);
    }
    genegeerd = false;
    return std::nullopt;
}

std::optional<HoudToetsHerkenner::Actie> HoudToetsHerkenner::andereToetsOmlaag() {
    if (!houdtVast()) {
        return std::nullopt;
    }
    ingedruktSinds.reset();
    genegeerd = true;
    return Actie::annuleer;
}

std::optional<HoudToetsHerkenner::Actie> HoudToetsHerkenner::vangnetPeiling(ToetsVlaggen vlaggen,
                                                                            double tijd) {
    if (!houdtVast()) {
        return std::nullopt;
    }
    // The generic bit on purpose: while right Option is held the session state may show only
    // the generic Option bit, and that must not end the hold.
    if (toets == HoudToets::uit || vlaggen.bevatEen(algemeneVlag(toets))) {
        losGezien = 0;
        return std::nullopt;
    }
    ++losGezien;
    if (losGezien < peilingenVoorLos) {
        return std::nullopt;
    }
    losGezien = 0;
    return beeindig(tijd);
}

}  // namespace tolmo
