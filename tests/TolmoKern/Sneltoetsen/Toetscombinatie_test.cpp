#include "TolmoKern/Sneltoetsen/Toetscombinatie.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <unordered_set>

#include "TolmoKern/Sneltoetsen/CombinatieOpname.h"

namespace tolmo {
namespace {

using M = Toetscombinatie::Modificaties;
using V = ToetsVlaggen;

TEST(Toetscombinatie, DisplayValidityAndCarbonEncoding) {
    struct Geval {
        Toetscombinatie c;
        const char* weergave;
        bool geldig;
        std::uint32_t carbon;
    };
    const Geval gevallen[] = {
        {{40, {M::shift | M::command}, "K"}, "⇧⌘K", true, 0x300},
        {{40, {M::command | M::shift | M::option | M::control}, "K"}, "⌃⌥⇧⌘K", true, 0x1B00},
        {{40, {M::option}, ""}, "⌥", false, 0x800},
        {{49, {M::control}, "Spatie"}, "⌃Spatie", true, 0x1000},
        // Shift alone is not enough, and bits outside the four modifiers say nothing.
        {{40, {16 | M::shift}, "K"}, "⇧K", false, 0x200},
    };
    for (const Geval& g : gevallen) {
        EXPECT_EQ(g.c.weergave(), g.weergave);
        EXPECT_EQ(g.c.isGeldig(), g.geldig) << g.weergave;
        EXPECT_EQ(g.c.carbonModificaties(), g.carbon) << g.weergave;
    }
}

TEST(Toetscombinatie, KeyLabel) {
    struct Geval {
        std::uint32_t code;
        std::optional<std::string> tekens;
        const char* label;
    };
    const Geval gevallen[] = {
        {36, "\r", "↩"}, {48, "\t", "⇥"},    {49, " ", "Spatie"},         {53, "\x1b", "Esc"},
        {39, "é", "É"},  {7, " \n\t", "#7"}, {122, std::nullopt, "#122"}, {2, "  d\n", "D"},
    };
    for (const Geval& g : gevallen) {
        EXPECT_EQ(Toetscombinatie::toetsLabel(g.code, g.tekens), g.label) << g.code;
    }
}

TEST(Toetscombinatie, JsonRoundTripAndRejects) {
    const Toetscombinatie c{40, {M::shift | M::command}, "K"};
    EXPECT_EQ(c.naarJson().dump(), R"({"label":"K","modificaties":12,"toetscode":40})");
    EXPECT_EQ(Toetscombinatie::uitJson(nlohmann::json::parse(c.naarJson().dump())), c);
    // Built in code, small numbers are signed integers in nlohmann.
    EXPECT_EQ(Toetscombinatie::uitJson({{"toetscode", 40}, {"modificaties", 12}, {"label", "K"}}),
              c);
    const char* fout[] = {
        R"({"toetscode":-1,"modificaties":12,"label":"K"})",
        R"({"toetscode":4294967296,"modificaties":12,"label":"K"})",
        R"({"toetscode":40,"modificaties":-12,"label":"K"})",
        R"({"toetscode":40.5,"modificaties":12,"label":"K"})",
        R"({"toetscode":40,"modificaties":12,"label":7})",
        R"({"toetscode":40,"label":"K"})",
        R"([40,12,"K"])",
    };
    for (const char* tekst : fout) {
        EXPECT_EQ(Toetscombinatie::uitJson(nlohmann::json::parse(tekst)), std::nullopt) << tekst;
    }
    const Toetscombinatie grens{4294967295u, {4294967295u}, "X"};
    EXPECT_EQ(Toetscombinatie::uitJson(nlohmann::json::parse(grens.naarJson().dump())), grens);
}

TEST(Toetscombinatie, HashesAsItCompares) {
    std::unordered_set<Toetscombinatie> set{{2, {M::control}, "D"},
                                            {2, {M::control}, "D"},
                                            {2, {M::option}, "D"},
                                            {3, {M::control}, "D"},
                                            {2, {M::control}, "E"}};
    EXPECT_EQ(set.size(), 4u);
    std::unordered_set<V> vlaggen{V{V::shift}, V{V::shift}, V{V::shift | 0x2}};
    EXPECT_EQ(vlaggen.size(), 2u);
}

TEST(CombinatieOpname, ThreeOutcomesOfAKeyPress) {
    using U = CombinatieOpname::Uitkomst;
    struct Geval {
        const char* naam;
        std::uint16_t code;
        std::uint64_t vlaggen;
        std::optional<std::string> tekens;
        U uitkomst;
        std::optional<Toetscombinatie> combinatie;
    };
    const Geval gevallen[] = {
        {"Esc breekt af", 53, 0, "\x1b", U::afgebroken, std::nullopt},
        {"Esc breekt af, ook met Command", 53, V::command, "\x1b", U::afgebroken, std::nullopt},
        {"Control+Option+D", 2, V::control | V::option | 0x1 | 0x20, "d", U::geldig,
         Toetscombinatie{2, {M::control | M::option}, "D"}},
        {"Shift+Command+K", 40, V::shift | V::command | 0x2 | 0x8, "k", U::geldig,
         Toetscombinatie{40, {M::shift | M::command}, "K"}},
        {"Shift alleen is te weinig", 40, V::shift, "k", U::ongeldig, std::nullopt},
        {"Fn telt niet mee", 40, V::fn, "k", U::ongeldig, std::nullopt},
        {"alleen apparaatbits tellen niet mee", 40, 0x8 | 0x20, "k", U::ongeldig, std::nullopt},
        {"Command+F1 zonder tekens", 122, V::command | V::fn, std::nullopt, U::geldig,
         Toetscombinatie{122, {M::command}, "#122"}},
        {"Control+Tab", 48, V::control, "\t", U::geldig, Toetscombinatie{48, {M::control}, "⇥"}},
    };
    for (const Geval& g : gevallen) {
        const auto r = CombinatieOpname::uitToetsOmlaag(g.code, V{g.vlaggen}, g.tekens);
        EXPECT_EQ(r.uitkomst, g.uitkomst) << g.naam;
        EXPECT_EQ(r.combinatie, g.combinatie) << g.naam;
    }
}

}  // namespace
}  // namespace tolmo
