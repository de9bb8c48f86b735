#include "TolmoKern/Tekst/Tekst.h"

#include <gtest/gtest.h>

#include <thread>

#include "TolmoKern/Tekst/Patroon.h"

namespace tolmo {
namespace {

TEST(Tekst, CharactersAreGraphemeClusters) {
    struct Geval {
        std::string s;
        std::size_t aantal;
        std::string eerste;
        std::string laatste;
    };
    const Geval gevallen[] = {
        {"", 0, "", ""},
        {"abc", 3, "a", "c"},
        {"e\u0301t\u00e9", 3, "e\u0301", "\u00e9"},  // combining accent stays with its letter
        {"👍🏽 ok 👨‍👩‍👧", 6, "👍🏽",
         "👨‍👩‍👧"},  // skin tone and family are one character each
        {"Ωμέγα", 5, "Ω", "α"},
        {"a\r\nb", 3, "a", "b"},  // CR LF is one character
    };
    for (const Geval& g : gevallen) {
        SCOPED_TRACE(g.s);
        EXPECT_EQ(Tekst::aantalTekens(g.s), g.aantal);
        EXPECT_EQ(Tekst::eersteTeken(g.s), g.eerste);
        EXPECT_EQ(Tekst::laatsteTeken(g.s), g.laatste);
    }
    EXPECT_EQ(Tekst::eersteTekens("👍🏽ab", 2), "👍🏽a");
    EXPECT_EQ(Tekst::eersteTekens("ab", 5), "ab");
}

TEST(Tekst, WhiteSpaceLettersAndCase) {
    EXPECT_EQ(Tekst::trim("\u00a0\u2003 hallo\twereld \n\u3000"), "hallo\twereld");
    EXPECT_EQ(Tekst::trim(" \n "), "");
    EXPECT_EQ(Tekst::splitsOpWitruimte("  een\u00a0twee\n\ndrie  "),
              (std::vector<std::string>{"een", "twee", "drie"}));
    EXPECT_TRUE(Tekst::bevatLetterOfCijfer("…é"));
    EXPECT_TRUE(Tekst::bevatLetterOfCijfer("٣"));
    EXPECT_FALSE(Tekst::bevatLetterOfCijfer("—…!?"));
    EXPECT_EQ(Tekst::hoofdletters("straße ij"), "STRASSE IJ");
    EXPECT_EQ(Tekst::kleineLetters("ÉÉN ΣΟΦΙΑ"), "één σοφια");
    EXPECT_FALSE(Tekst::isGeldigeUtf8("a\xc3"));
    EXPECT_TRUE(Tekst::isGeldigeUtf8("één"));
    EXPECT_EQ(Tekst::getalNL("%.1f", 2.44), "2,4");
    EXPECT_EQ(Tekst::getalNL("%.2f s", 1234.5), "1234,50 s");
}

TEST(Patroon, IcuSyntaxAndByteOffsets) {
    static const Patroon woord(R"(\p{L}+)");
    const auto treffers = woord.vindAlle("één, twee");
    ASSERT_EQ(treffers.size(), 2U);
    EXPECT_EQ(treffers[0].tekst, "één");
    EXPECT_EQ(treffers[0].begin, 0U);
    EXPECT_EQ(treffers[0].eind, 5U);
    EXPECT_EQ(treffers[1].begin, 7U);

    const Patroon nadruk(R"((?<=\s)eh\b)", true);
    EXPECT_EQ(nadruk.vervangAlles("ja EH nee eh", "…"), "ja … nee …");
    EXPECT_TRUE(Patroon(R"(\d+)").isVolledig("123"));
    EXPECT_FALSE(Patroon(R"(\d+)").isVolledig("123a"));
    EXPECT_EQ(
        woord.vervangMet("a bc", [](const Patroon::Treffer& t) { return "<" + t.tekst + ">"; }),
        "<a> <bc>");
    EXPECT_THROW(Patroon("(onaf"), std::invalid_argument);

    // One compiled pattern used from several threads at once.
    std::vector<std::thread> draden;
    std::atomic<int> goed{0};
    for (int i = 0; i < 4; ++i) {
        draden.emplace_back([&] {
            for (int k = 0; k < 200; ++k) {
                if (woord.vindAlle("een twee drie").size() == 3) {
                    ++goed;
                }
            }
        });
    }
    for (auto& d : draden) {
        d.join();
    }
    EXPECT_EQ(goed.load(), 800);
}

}  // namespace
}  // namespace tolmo

namespace tolmo {
namespace {

TEST(Tekst, InitialCapitalTouchesOnlyTheFirstLetter) {
    const struct {
        std::string woord;
        std::string verwacht;
    } gevallen[] = {
        {"", ""},
        {"hallo", "Hallo"},
        {"ijsje", "IJsje"},  // Dutch capitalises the digraph
        {"\"ijs", "\"IJs"},  // leading punctuation is passed over
        {"i", "I"},
        {"iPhone", "IPhone"},
        {"3e", "3e"},  // a digit first: nothing to capitalise
        {"e\u0301lan", "E\u0301lan"},
        {"\u00dfe", "Sse"},                  // title case, not upper case, of ß
        {"\u01c6ungla", "\u01c5ungla"},      // dž has its own title-case form
        {"\u00e9\u00c9N", "\u00c9\u00c9N"},  // the rest keeps its case
    };
    for (const auto& g : gevallen) {
        SCOPED_TRACE(g.woord);
        EXPECT_EQ(Tekst::metHoofdletter(g.woord), g.verwacht);
    }
}

TEST(Tekst, CodePointScanningAndCharacterClasses) {
    const std::string s = "a\u00e9\xff\xf0\x9f\x91\x8d";
    std::size_t i = 0;
    std::u32string gelezen;
    while (i < s.size()) {
        gelezen.push_back(Tekst::volgendCodepunt(s, i));
    }
    EXPECT_EQ(gelezen, U"a\u00e9\uFFFD\U0001F44D");
    EXPECT_EQ(i, s.size());

    EXPECT_TRUE(Tekst::isLeesteken(U'\u00bb'));
    EXPECT_TRUE(Tekst::isLeesteken(U'\u2019'));
    EXPECT_FALSE(Tekst::isLeesteken(U'\u20ac'));  // a currency sign is a symbol
    EXPECT_TRUE(Tekst::isHoofdletter(U'\u01c5'));
    EXPECT_TRUE(Tekst::isHoofdletter(U'\u00c9'));
    EXPECT_FALSE(Tekst::isHoofdletter(U'\u00e9'));
    EXPECT_FALSE(Tekst::isHoofdletter(U'3'));
}

}  // namespace
}  // namespace tolmo
