#include "TolmoKern/Sneltoetsen/HoudToetsHerkenner.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tolmo {
namespace {

using Actie = HoudToetsHerkenner::Actie;
using V = ToetsVlaggen;

// Key codes and the flags words the system reports after each change.
constexpr std::uint16_t linkerShiftCode = 56, controlCode = 59, linkerOptionCode = 58,
                        rechterOptionCode = 61, rechterCommandCode = 54, fnCode = 63,
                        capsLockCode = 57, rechterControlCode = 62;
constexpr std::uint64_t linkerShift = V::shift | 0x2;
constexpr std::uint64_t ctrl = V::control | 0x1;
constexpr std::uint64_t rCtrl = V::control | V::rechterControl;
constexpr std::uint64_t rOpt = V::option | V::rechterOption;
constexpr std::uint64_t lOpt = V::option | V::linkerOption;
constexpr std::uint64_t rCmd = V::command | V::rechterCommand;
constexpr std::uint64_t lCmd = V::command | V::linkerCommand;

struct Stap {
    enum class Soort { modificatie, andereToets, peiling, reset } soort;
    std::uint16_t code = 0;
    std::uint64_t vlaggen = 0;
    double tijd = 0;
    std::optional<Actie> verwacht;
};

Stap mod(std::uint16_t code, std::uint64_t vlaggen, double tijd,
         std::optional<Actie> verwacht = std::nullopt) {
    return {Stap::Soort::modificatie, code, vlaggen, tijd, verwacht};
}
Stap ander(std::optional<Actie> verwacht = std::nullopt) {
    return {Stap::Soort::andereToets, 0, 0, 0, verwacht};
}
Stap peil(std::uint64_t vlaggen, double tijd, std::optional<Actie> verwacht = std::nullopt) {
    return {Stap::Soort::peiling, 0, vlaggen, tijd, verwacht};
}
Stap reset() {
    return {Stap::Soort::reset, 0, 0, 0, std::nullopt};
}

using Stappen = std::vector<Stap>;

struct Reeks {
    const char* naam;
    HoudToets toets;
    std::vector<Stap> stappen;
};

void speel(const Reeks& r) {
    HoudToetsHerkenner h(r.toets);
    for (std::size_t i = 0; i < r.stappen.size(); ++i) {
        const Stap& s = r.stappen[i];
        std::optional<Actie> kreeg;
        switch (s.soort) {
            case Stap::Soort::modificatie:
                kreeg = h.modificatieGewijzigd(s.code, V{s.vlaggen}, s.tijd);
                break;
            case Stap::Soort::andereToets:
                kreeg = h.andereToetsOmlaag();
                break;
            case Stap::Soort::peiling:
                kreeg = h.vangnetPeiling(V{s.vlaggen}, s.tijd);
                break;
            case Stap::Soort::reset:
                h.reset();
                EXPECT_EQ(h, HoudToetsHerkenner(r.toets)) << r.naam;
                break;
        }
        EXPECT_EQ(kreeg, s.verwacht) << r.naam << ", stap " << i + 1;
        // Only begin leaves a hold in progress; every decision that ends one leaves idle.
        if (kreeg == Actie::begin) {
            EXPECT_TRUE(h.houdtVast()) << r.naam << ", stap " << i + 1;
        } else if (kreeg) {
            EXPECT_FALSE(h.houdtVast()) << r.naam << ", stap " << i + 1;
        }
    }
}

TEST(HoudToetsHerkenner, MinimumHoldIsTheSameInBothReleasePaths) {
    const Reeks reeksen[] = {
        // 100.3 - 100.0 is a few ulps below 0.3 in doubles.
        {"rechter Option 0,30 s", HoudToets::rechterOption,
         Stappen{mod(rechterOptionCode, rOpt, 100.0, Actie::begin),
                 mod(rechterOptionCode, 0, 100.3, Actie::einde)}},
        {"Fn 0,2999 s", HoudToets::fn,
         Stappen{mod(fnCode, V::fn, 86400.7, Actie::begin),
                 mod(fnCode, 0, 86400.9999, Actie::annuleer)}},
        {"rechter Command 0,29 s, dan opnieuw 5 s", HoudToets::rechterCommand,
         Stappen{mod(rechterCommandCode, rCmd, 12345.6, Actie::begin),
                 mod(rechterCommandCode, 0, 12345.89, Actie::annuleer),
                 mod(rechterCommandCode, rCmd, 12346.0, Actie::begin),
                 mod(rechterCommandCode, 0, 12351.0, Actie::einde)}},
        {"gemiste loslating, tweede peiling na 0,29 s", HoudToets::rechterOption,
         Stappen{mod(rechterOptionCode, rOpt, 50.0, Actie::begin), peil(0, 50.14),
                 peil(0, 50.29, Actie::annuleer)}},
        {"gemiste loslating, tweede peiling na 0,30 s", HoudToets::rechterOption,
         Stappen{mod(rechterOptionCode, rOpt, 50.0, Actie::begin), peil(0, 50.15),
                 peil(0, 50.3, Actie::einde)}},
    };
    for (const Reeks& r : reeksen) {
        speel(r);
    }
}

TEST(HoudToetsHerkenner, OtherKeysDisqualifyAPress) {
    const Reeks reeksen[] = {
        {"eerst Shift, dan rechter Option: genegeerd tot loslaten, ook na Shift los",
         HoudToets::rechterOption,
         Stappen{mod(linkerShiftCode, linkerShift, 1.0),
                 mod(rechterOptionCode, linkerShift | rOpt, 1.1), mod(linkerShiftCode, rOpt, 1.2),
                 mod(linkerShiftCode, rOpt | linkerShift, 1.3), mod(rechterOptionCode, rOpt, 1.4),
                 mod(rechterOptionCode, 0, 2.0), mod(rechterOptionCode, rOpt, 3.0, Actie::begin),
                 mod(rechterOptionCode, 0, 4.0, Actie::einde)}},
        {"rechter Option, dan linker Option: annuleer, geen herstart zolang rechts omlaag",
         HoudToets::rechterOption,
         Stappen{mod(rechterOptionCode, rOpt, 1.0, Actie::begin),
                 mod(linkerOptionCode, rOpt | lOpt, 2.0, Actie::annuleer),
                 mod(linkerOptionCode, rOpt, 2.5), peil(rOpt, 2.6),
                 mod(rechterOptionCode, rOpt, 2.7), mod(rechterOptionCode, 0, 3.0),
                 mod(rechterOptionCode, rOpt, 4.0, Actie::begin)}},
        {"Fn met een pijltje", HoudToets::fn,
         Stappen{ander(), mod(fnCode, V::fn, 1.0, Actie::begin), ander(Actie::annuleer), ander(),
                 mod(fnCode, 0, 2.0), mod(fnCode, V::fn, 3.0, Actie::begin)}},
        {"rechter Control: houden, dan Ctrl+C annuleert", HoudToets::rechterControl,
         Stappen{mod(rechterControlCode, rCtrl, 1.0, Actie::begin),
                 mod(rechterControlCode, 0, 2.0, Actie::einde),
                 mod(rechterControlCode, rCtrl, 3.0, Actie::begin), ander(Actie::annuleer),
                 mod(controlCode, rCtrl | ctrl, 3.2), mod(rechterControlCode, 0, 3.5)}},
        // With the hold key already up (its release missed), nothing is left to ignore.
        {"Option na een gemiste loslating van rechter Command", HoudToets::rechterCommand,
         Stappen{mod(rechterCommandCode, rCmd, 1.0, Actie::begin),
                 mod(linkerOptionCode, lOpt, 1.1, Actie::annuleer),
                 mod(rechterCommandCode, rCmd, 2.0, Actie::begin)}},
        {"Caps Lock zonder andere modificatie laat de houd staan", HoudToets::fn,
         Stappen{mod(fnCode, V::fn, 1.0, Actie::begin), mod(capsLockCode, V::fn | 0x10000, 1.2),
                 mod(fnCode, 0, 2.0, Actie::einde)}},
        {"de houdtoets nog eens omlaag tijdens een houd", HoudToets::rechterOption,
         Stappen{mod(rechterOptionCode, rOpt, 1.0, Actie::begin), mod(rechterOptionCode, rOpt, 1.1),
                 mod(rechterOptionCode, 0, 1.5, Actie::einde)}},
        // The release of a cancelled press never arrived: the next event that shows the hold
        // key up lifts the latch, or the key would never start a hold again.
        {"gemiste loslating na een annulering", HoudToets::fn,
         Stappen{mod(fnCode, V::fn, 1.0, Actie::begin), ander(Actie::annuleer),
                 mod(fnCode, V::fn, 1.5), mod(controlCode, ctrl, 2.0), mod(controlCode, 0, 2.1),
                 mod(fnCode, V::fn, 3.0, Actie::begin)}},
        {"uit: niets", HoudToets::uit,
         Stappen{mod(rechterOptionCode, rOpt, 1.0), mod(fnCode, V::fn, 1.1),
                 mod(rechterCommandCode, rCmd, 1.2), mod(0, 0, 1.3), ander(), peil(0, 1.5),
                 peil(0, 1.75), mod(rechterOptionCode, 0, 3.0)}},
        {"reset midden in een houd", HoudToets::rechterOption,
         Stappen{mod(rechterOptionCode, rOpt, 1.0, Actie::begin), reset(),
                 mod(rechterOptionCode, 0, 2.0), mod(rechterOptionCode, linkerShift | rOpt, 3.0),
                 reset(), mod(rechterOptionCode, rOpt, 4.0, Actie::begin)}},
    };
    for (const Reeks& r : reeksen) {
        speel(r);
    }
}

TEST(HoudToetsHerkenner, SafetyNetRecoversAMissedRelease) {
    const Reeks reeksen[] = {
        {"twee peilingen met de toets los", HoudToets::rechterOption,
         Stappen{peil(0, 0.5), mod(rechterOptionCode, rOpt, 1.0, Actie::begin), peil(rOpt, 1.25),
                 peil(0, 1.5), peil(0, 1.75, Actie::einde), peil(0, 2.0)}},
        {"een peiling die de toets weer ziet, telt opnieuw", HoudToets::rechterOption,
         Stappen{mod(rechterOptionCode, rOpt, 1.0, Actie::begin), peil(0, 1.25), peil(rOpt, 1.5),
                 peil(0, 1.75), peil(0, 2.0, Actie::einde)}},
        // Only the generic bit counts: right Option held shows at least the Option bit.
        {"het algemene Option-bit houdt de houd vast", HoudToets::rechterOption,
         Stappen{mod(rechterOptionCode, rOpt, 1.0, Actie::begin), peil(V::option, 1.25),
                 peil(V::option, 1.5), peil(V::option, 1.75), peil(V::rechterOption, 2.0),
                 peil(V::rechterOption, 2.25, Actie::einde)}},
        {"rechter Command", HoudToets::rechterCommand,
         Stappen{mod(rechterCommandCode, rCmd, 1.0, Actie::begin), peil(V::command, 1.25),
                 peil(0, 1.5), peil(0, 1.75, Actie::einde)}},
        {"na de gemiste loslating start een nieuwe druk gewoon", HoudToets::fn,
         Stappen{mod(fnCode, V::fn, 1.0, Actie::begin), peil(0, 1.25), peil(0, 1.5, Actie::einde),
                 mod(fnCode, V::fn, 2.0, Actie::begin), peil(0, 2.25), mod(fnCode, V::fn, 2.3),
                 peil(0, 2.5, Actie::einde)}},
        {"de telling begint bij elke houd opnieuw", HoudToets::fn,
         Stappen{mod(fnCode, V::fn, 1.0, Actie::begin), peil(0, 1.25),
                 mod(fnCode, 0, 1.4, Actie::einde), mod(fnCode, V::fn, 2.0, Actie::begin),
                 peil(0, 2.25), peil(V::fn, 2.5)}},
    };
    for (const Reeks& r : reeksen) {
        speel(r);
    }
}

TEST(HoudToetsHerkenner, OtherModifierTest) {
    struct Geval {
        HoudToets toets;
        std::uint64_t vlaggen;
        bool verwacht;
    };
    const Geval gevallen[] = {
        {HoudToets::fn, V::fn, false},
        {HoudToets::fn, V::fn | linkerShift, true},
        {HoudToets::rechterOption, rOpt, false},
        {HoudToets::rechterOption, rOpt | V::fn, false},
        {HoudToets::rechterOption, rOpt | lOpt, true},
        {HoudToets::rechterOption, rOpt | ctrl, true},
        {HoudToets::rechterOption, rOpt | rCmd, true},
        // Without the generic Option bit every main modifier counts, Option included.
        {HoudToets::rechterOption, linkerShift, true},
        {HoudToets::rechterOption, V::rechterOption, false},
        {HoudToets::rechterCommand, rCmd, false},
        {HoudToets::rechterCommand, rCmd | lCmd, true},
        {HoudToets::rechterCommand, rCmd | V::option, true},
        {HoudToets::rechterCommand, V::option, true},
        {HoudToets::rechterControl, rCtrl, false},
        {HoudToets::rechterControl, rCtrl | ctrl, true},
        {HoudToets::rechterControl, rCtrl | rOpt, true},
        {HoudToets::uit, V::command, true},
    };
    for (const Geval& g : gevallen) {
        EXPECT_EQ(HoudToetsHerkenner::andereModificatie(V{g.vlaggen}, g.toets), g.verwacht)
            << houdToetsWaarden.naam(g.toets) << " met 0x" << std::hex << g.vlaggen;
    }
}

}  // namespace
}  // namespace tolmo
