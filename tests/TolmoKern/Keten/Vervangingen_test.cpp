#include "TolmoKern/Keten/Vervangingen.h"

#include <gtest/gtest.h>

namespace tolmo {
namespace {

TEST(Vervangingen, WholeWordsLongestFirstNeverTwice) {
    struct Geval {
        const char* naam;
        std::string tekst;
        Vervangingen::Tabel tabel;
        std::string verwacht;
        std::map<std::string, std::int64_t> tellingen;
    };
    using T = Vervangingen::Tabel;
    using N = std::map<std::string, std::int64_t>;
    const Geval gevallen[] = {
        {"hoofdletters genegeerd", "Ik gebruik TOLMO en tolmo", T{{"Tolmo", {"tolmo"}}},
         "Ik gebruik Tolmo en Tolmo", N{{"Tolmo", 2}}},
        {"alleen hele woorden", "tolmos en atolmo en tolmo2 en tolmo.", T{{"Tolmo", {"tolmo"}}},
         "tolmos en atolmo en tolmo2 en Tolmo.", N{{"Tolmo", 1}}},
        {"langste eerst", "jan de vries en jan",
         T{{"Jan", {"jan"}}, {"Jan de Vries", {"jan de vries"}}}, "Jan de Vries en Jan",
         N{{"Jan de Vries", 1}, {"Jan", 1}}},
        {"vervangen tekst niet opnieuw", "kees", T{{"Kees Jan", {"kees"}}, {"Johannes", {"jan"}}},
         "Kees Jan", N{{"Kees Jan", 1}}},
        {"niet-ASCII", "Überall en überall", T{{"überall!", {"ÜBERALL"}}}, "überall! en überall!",
         N{{"überall!", 2}}},
        {"lege en gelijke varianten", "tolmo", T{{"Tolmo", {"", "  "}}, {"tolmo", {"tolmo"}}},
         "tolmo", N{}},
        {"grens tegen een eerdere vervanging", "ab c", T{{"X", {"ab"}}, {"Y", {"c"}}}, "X Y",
         N{{"X", 1}, {"Y", 1}}},
    };
    for (const Geval& g : gevallen) {
        SCOPED_TRACE(g.naam);
        std::map<std::string, std::int64_t> tellingen;
        EXPECT_EQ(Vervangingen::pasToe(g.tekst, g.tabel, tellingen), g.verwacht);
        EXPECT_EQ(tellingen, g.tellingen);
    }
}

}  // namespace
}  // namespace tolmo
