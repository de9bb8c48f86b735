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

TEST(Tekst, GraphemeBoundariesCaseFoldingAndRepair) {
    struct Geval {
        std::string s;
        std::vector<std::size_t> grenzen;
    };
    const Geval gevallen[] = {
        {"", {0}},
        {"ab", {0, 1, 2}},
        {"e\u0301x", {0, 3, 4}},     // 1 + 2 bytes for the accented e
        {"👍🏽!", {0, 8, 9}},    // emoji with skin tone: 4 + 4 bytes, one character
        {"a\r\nß", {0, 1, 3, 5}},    // CR LF together
        {"\U00010400x", {0, 4, 5}},  // outside the BMP: a surrogate pair in UTF-16
    };
    for (const Geval& g : gevallen) {
        SCOPED_TRACE(g.s);
        EXPECT_EQ(Tekst::tekenGrenzen(g.s), g.grenzen);
    }

    // Last character and stepping back over code points, also over broken bytes.
    EXPECT_EQ(Tekst::beginLaatsteTeken(""), 0U);
    EXPECT_EQ(Tekst::beginLaatsteTeken("ab"), 1U);
    EXPECT_EQ(Tekst::beginLaatsteTeken("a👍🏽"), 1U);
    EXPECT_EQ(Tekst::beginLaatsteTeken("a\r\n"), 1U);
    EXPECT_EQ(Tekst::beginLaatsteTeken("xe\u0301"), 1U);
    const std::string gemengd = "aé👍\x80";
    std::vector<char32_t> terug;
    for (std::size_t i = gemengd.size(); i > 0;) {
        terug.push_back(Tekst::codepuntVoor(gemengd, i));
    }
    EXPECT_EQ(terug, (std::vector<char32_t>{U'\uFFFD', U'👍', U'é', U'a'}));

    // A walk inside a walk: each level keeps its own position.
    std::string paren;
    Tekst::perTeken("ab", [&](std::size_t b, std::size_t e) {
        Tekst::perTeken("xé", [&](std::size_t b2, std::size_t e2) {
            paren += std::string("ab").substr(b, e - b) + std::string("xé").substr(b2, e2 - b2);
            return true;
        });
        return true;
    });
    EXPECT_EQ(paren, "axaébxbé");

    EXPECT_EQ(Tekst::eersteCodepunt(""), 0U);
    EXPECT_EQ(Tekst::eersteCodepunt("één"), U'\u00e9');
    EXPECT_EQ(Tekst::eersteCodepunt("\xc3"), U'\uFFFD');
    for (const char32_t c : {U'Σ', U'É'}) {
        EXPECT_TRUE(Tekst::isHoofdletter(c));
    }
    for (const char32_t c : {U'\u01C5', U'é', U'3'}) {  // title case Dž is not upper case
        EXPECT_FALSE(Tekst::isHoofdletter(c));
    }
    for (const char32_t c : {U'…', U')', U'»', U'’'}) {
        EXPECT_TRUE(Tekst::isLeesteken(c));
    }
    EXPECT_FALSE(Tekst::isLeesteken(U'€'));  // a currency sign is a symbol
    EXPECT_TRUE(Tekst::gelijkZonderHoofdletters("STRASSE", "straße"));
    EXPECT_TRUE(Tekst::gelijkZonderHoofdletters("ΣΟΦΊΑ", "σοφία"));
    EXPECT_FALSE(Tekst::gelijkZonderHoofdletters("straat", "straten"));
    EXPECT_EQ(Tekst::geldigeUtf8("ok"), "ok");
    EXPECT_EQ(Tekst::geldigeUtf8("a\xc3"
                                 "b\xff"),
              "a\uFFFDb\uFFFD");
    EXPECT_EQ(Tekst::geldigeUtf8("\xed\xa0\x80"), "\uFFFD\uFFFD\uFFFD");  // a lone surrogate
}

TEST(Patroon, IcuSyntaxAndByteOffsets) {
    static const Patroon woord(R"(\p{L}+)");
    const auto treffers = woord.vindAlle("één, twee");
    ASSERT_EQ(treffers.size(), 2U);
    EXPECT_EQ(treffers[0].tekst, "één");
    EXPECT_EQ(treffers[0].begin, 0U);
    EXPECT_EQ(treffers[0].eind, 5U);
    EXPECT_EQ(treffers[1].begin, 7U);
    // Offsets after characters outside the BMP (two UTF-16 units, four bytes).
    const auto naEmoji = woord.vindAlle("👍a 👍👍 bc");
    ASSERT_EQ(naEmoji.size(), 2U);
    EXPECT_EQ(naEmoji[0].begin, 4U);
    EXPECT_EQ(naEmoji[1].begin, 15U);
    EXPECT_EQ(naEmoji[1].eind, 17U);

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
        gelezen.push_back(Tekst::codepuntOp(s, i));
    }
    EXPECT_EQ(gelezen, U"a\u00e9\uFFFD\U0001F44D");
    EXPECT_EQ(i, s.size());
}

}  // namespace
}  // namespace tolmo
