#include "TolmoKern/Opschonen/RegelOpschoner.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "TolmoKern/Tekst/Patroon.h"

namespace tolmo {
namespace {

constexpr Stijl neutraal = Stijl::neutraal;
constexpr Stijl letterlijk = Stijl::letterlijk;

TEST(RegelOpschoner, BasisOpschoning) {
    struct Geval {
        std::string in;
        Stijl stijl;
        std::string uit;
    };
    const Geval gevallen[] = {
        // Short dictations as the chain sees them.
        {"eh, ok.", letterlijk, "ok"},
        {"eh ok.", neutraal, "Ok."},
        // Nothing letter-like left: the input comes back untouched, punctuation and all.
        {"  eh …  ", neutraal, "  eh …  "},
        // Fillers glued to punctuation take one following mark with them, never the preceding.
        {"ik eh… denk", neutraal, "Ik denk"},
        {"ja.eh.nee", neutraal, "Ja.nee"},
        {"EH ÄH, ja", neutraal, "Ja"},
        {"dat eh, is ehm. goed", neutraal, "Dat is goed"},
        // Only whole words are fillers.
        {"Ehmke zegt teh", neutraal, "Ehmke zegt teh"},
        // Commas at the ends; a line break after a leading comma stays.
        {", , hallo", neutraal, "Hallo"},
        {"ja,,", neutraal, "Ja"},
        {",\n,ja", neutraal, "\n,Ja"},
        // Spacing: runs of spaces and tabs, line ends, line starts, Unicode space at the ends.
        {"ja\teh\tnee", neutraal, "Ja nee"},
        {"eh  eerste regel  \n\t  tweede\tregel \n", neutraal, "Eerste regel\ntweede\tregel"},
        {"eh\u00a0ok", neutraal, "Ok"},
        // The first capital: not after a number, not for mixed case.
        {"3 appels graag", neutraal, "3 appels graag"},
        {"iPhone kopen", neutraal, "iPhone kopen"},
        {"(hallo)", neutraal, "(Hallo)"},
        {"één ding", neutraal, "Één ding"},
        {"ßpiel", neutraal, "SSpiel"},
        // Literal style: no capital, one final stop goes, an ellipsis stays.
        {"wacht...", letterlijk, "wacht..."},
        {"wacht…", letterlijk, "wacht…"},
        // Invalid UTF-8 comes out as U+FFFD.
        {"\xff", neutraal, "\uFFFD"},
    };
    for (const Geval& g : gevallen) {
        SCOPED_TRACE(g.in);
        EXPECT_EQ(RegelOpschoner::basisOpschoning(g.in, g.stijl), g.uit);
    }
}

TEST(RegelOpschoner, MaakSchoon) {
    struct Geval {
        std::string in;
        std::vector<std::string> woorden;
        Stijl stijl;
        std::string uit;
    };
    const Geval gevallen[] = {
        // Only fillers: empty, although the basic tidy leaves such a text alone.
        {"eh, ehm.", {}, neutraal, ""},
        {"EHM… Euh.", {}, letterlijk, ""},
        {"eh eh nee", {}, neutraal, "Nee."},
        // No words at all: nothing to capitalise or close.
        {"…", {}, neutraal, "…"},
        {"  ", {}, neutraal, "  "},
        {"Ehm ik denk dat dat dat klopt", {}, neutraal, "Ik denk dat klopt."},
        // Repeats, until stable, first spelling wins; where a repeat ends is
        // HerhalingenZoalsVolledigHerhalen's, whose pattern pins the borders.
        {"de de de de de", {}, neutraal, "De."},
        {"het is Jan jan", {}, neutraal, "Het is Jan."},
        {"super👍 super👍", {}, neutraal, "Super👍 super👍."},
        {"eh de de test.", {}, letterlijk, "de test"},
        // Sentence starts, and the words that keep their casing there.
        {"dat is het. en verder", {}, neutraal, "Dat is het. En verder."},
        {"tolmo werkt. tolmo ook", {"TOLMO"}, neutraal, "Tolmo werkt. tolmo ook."},
        {"ja. nee! misschien? oké", {}, neutraal, "Ja. Nee! Misschien? Oké."},
        {"ok.\nvolgende regel", {}, neutraal, "Ok.\nVolgende regel."},
        {"zie macOS. iPhone ook. i ga", {}, neutraal, "Zie macOS. iPhone ook. I ga."},
        {"ναι. όχι", {}, neutraal, "Ναι. Όχι."},
        {"eh ja\n\ntwee. drie", {}, neutraal, "Ja\n\ntwee. Drie."},
        // The closing stop: only after a letter, digit or symbol.
        {"3 appels graag", {}, neutraal, "3 appels graag."},
        {"echt (zo)", {}, neutraal, "Echt (zo)"},
        {"wacht…", {}, neutraal, "Wacht…"},
        {"👍 top top", {}, neutraal, "👍 Top."},
        {"eh ja\xc3 ja \xff", {}, neutraal, "Ja\uFFFD ja \uFFFD."},
    };
    for (const Geval& g : gevallen) {
        SCOPED_TRACE(g.in);
        EXPECT_EQ(RegelOpschoner::maakSchoon(g.in, g.woorden, g.stijl), g.uit);
    }
}

// The cleaner repeats the stammer pattern only around the words the previous pass kept. That
// must give exactly what repeating the full pattern over the whole text gives.
TEST(RegelOpschoner, HerhalingenZoalsVolledigHerhalen) {
    static const Patroon herhaling(
        R"((?i)(?<![\p{L}\p{N}'’-])([\p{L}\p{N}]+)[ \t]+\1(?![\p{L}\p{N}'’-]))");
    const auto volledig = [](std::string t) {
        for (std::string vorige; vorige != t;) {
            vorige = t;
            t = herhaling.vervangAlles(vorige, "$1");
        }
        return t;
    };
    // Words from a small set, so that neighbours repeat often, sometimes glued to an
    // apostrophe, hyphen, emoji or stop, between assorted spacing.
    const std::vector<std::string> woorden{"de", "De", "dé", "DÉ", "a",      "1",       "ω",
                                           "Ω",  "eh", "ab", "ß",  "straße", "STRASSE", "e\u0301"};
    const std::vector<std::string> lijm{"", "", "", "", "'", "’", "-", "👍", "."};
    const std::vector<std::string> tussen{" ", " ", " ", "  ", "\t", " \t ", "\n", ", "};
    std::mt19937 gen(20240611);
    const auto kies = [&gen](const std::vector<std::string>& uit) -> const std::string& {
        return uit[std::uniform_int_distribution<std::size_t>(0, uit.size() - 1)(gen)];
    };
    std::uniform_int_distribution<int> lengte(1, 12);
    int metHerhaling = 0;
    for (int n = 0; n < 3000; ++n) {
        std::string tekst = kies(lijm);
        for (int k = lengte(gen); k > 0; --k) {
            tekst += kies(woorden) + kies(lijm) + kies(tussen);
        }
        // The literal style stops right after the repeats, so what comes out is exactly the
        // tidied text with its repeats collapsed.
        const std::string basis = RegelOpschoner::basisOpschoning(tekst, Stijl::letterlijk);
        const std::string schoon = RegelOpschoner::maakSchoon(tekst, {}, Stijl::letterlijk);
        if (schoon.empty()) {
            continue;  // only fillers: nothing was collapsed
        }
        const std::string verwacht = volledig(basis);
        metHerhaling += verwacht != basis ? 1 : 0;
        ASSERT_EQ(schoon, verwacht) << "invoer: " << tekst;
    }
    EXPECT_GT(metHerhaling, 300);  // the random texts do exercise the collapse
}

TEST(RegelOpschoner, WoordenEnEigenSchrijfwijze) {
    const std::pair<std::string, std::string> woorden[] = {
        {"… !", ""},
        {"  (rock-'n-roll) ja", "rock-'n-roll"},
        {"’s avonds", "s"},  // only the straight apostrophe belongs to a word
        {"3D-printer kopen", "3D-printer"},
        {"e\u0301tage", "e\u0301tage"},
    };
    for (const auto& [tekst, woord] : woorden) {
        EXPECT_EQ(RegelOpschoner::eersteWoord(tekst), woord) << tekst;
    }

    struct Schrijfwijze {
        std::string woord;
        std::vector<std::string> lijst;
        bool houdt;
    };
    const Schrijfwijze gevallen[] = {
        {"", {}, true},
        {"I", {}, true},
        {"i", {}, false},
        {"iPhone", {}, true},
        {"éÉn", {}, true},
        {"Één", {}, false},
        {"straße", {"STRASSE"}, true},  // full case folding
        {"tolmo", {"Tolm"}, false},
    };
    for (const Schrijfwijze& g : gevallen) {
        SCOPED_TRACE(g.woord);
        EXPECT_EQ(RegelOpschoner::houdtEigenSchrijfwijze(g.woord, g.lijst), g.houdt);
    }
}

TEST(RegelOpschoner, AlsOpschoner) {
    RegelOpschoner opschoner;
    StopBron stop;
    stop.vraagStop();  // rules finish instantly; a late stop does not turn them into a failure
    const OpschoonUitkomst uit =
        opschoner.schoonOp("eh dat dat klopt", {}, Stijl::zakelijk, true, stop.token());
    EXPECT_EQ(uit.tekst, "Dat klopt.");
    EXPECT_FALSE(uit.verwerking.has_value());
    EXPECT_FALSE(uit.dienstTijd.has_value());

    EXPECT_EQ(opschoner.niveau(), Opschoonniveau::licht);
    EXPECT_EQ(opschoner.opNiveau(Opschoonniveau::strak), nullptr);
    ASSERT_NE(opschoner.opNiveau(Opschoonniveau::licht), nullptr);

    const std::pair<std::string, std::int64_t> gevallen[] = {
        {"", 0}, {"om 12:30 of 3,5 uur", 2}, {"v2 en 3D en ٣", 3}, {"drie. vier", 0}, {"1. 2.", 2},
    };
    for (const auto& [tekst, getallen] : gevallen) {
        EXPECT_EQ(opschoner.telGetallen(tekst), getallen) << tekst;
    }
}

}  // namespace
}  // namespace tolmo
