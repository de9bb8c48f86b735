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
    const Geval gevallen[] = {
        {"hoofdletters genegeerd",
         "Ik gebruik TOLMO en tolmo",
         {{"Tolmo", {"tolmo"}}},
         "Ik gebruik Tolmo en Tolmo",
         {{"Tolmo", 2}}},
        {"alleen hele woorden",
         "tolmos en atolmo en tolmo2 en tolmo.",
         {{"Tolmo", {"tolmo"}}},
         "tolmos en atolmo en tolmo2 en Tolmo.",
         {{"Tolmo", 1}}},
        {"langste eerst",
         "jan de vries en jan",
         {{"Jan", {"jan"}}, {"Jan de Vries", {"jan de vries"}}},
         "Jan de Vries en Jan",
         {{"Jan de Vries", 1}, {"Jan", 1}}},
        {"vervangen tekst niet opnieuw",
         "kees",
         {{"Kees Jan", {"kees"}}, {"Johannes", {"jan"}}},
         "Kees Jan",
         {{"Kees Jan", 1}}},
        {"niet-ASCII",
         "Überall en überall",
         {{"überall!", {"ÜBERALL"}}},
         "überall! en überall!",
         {{"überall!", 2}}},
        {"lege en gelijke varianten",
         "tolmo",
         {{"Tolmo", {"", "  "}}, {"tolmo", {"tolmo"}}},
         "tolmo",
         {}},
        {"grens tegen een eerdere vervanging",
         "ab c",
         {{"X", {"ab"}}, {"Y", {"c"}}},
         "X Y",
         {{"X", 1}, {"Y", 1}}},
        {"geen tabel", "niets te doen", {}, "niets te doen", {}},
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
