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
        {"e\u0301te\u0301", 3, "e\u0301", "e\u0301"},  // an accent stays with its letter
        {"👍🏽 ok 👨‍👩‍👧", 6, "👍🏽",
         "👨‍👩‍👧"},                 // skin tone and family: one each
        {"a\r\nb\r\n", 4, "a", "\r\n"},         // CR LF is one character
        {"\U00010400x", 2, "\U00010400", "x"},  // a surrogate pair in UTF-16
    };
    for (const Geval& g : gevallen) {
        SCOPED_TRACE(g.s);
        EXPECT_EQ(Tekst::aantalTekens(g.s), g.aantal);
        EXPECT_EQ(Tekst::eersteTeken(g.s), g.eerste);
        EXPECT_EQ(Tekst::laatsteTeken(g.s), g.laatste);
        // The byte offsets, found another way, agree.
        const std::vector<std::size_t> grenzen = Tekst::tekenGrenzen(g.s);
        ASSERT_EQ(grenzen.size(), g.aantal + 1);
        EXPECT_EQ(grenzen.back(), g.s.size());
        EXPECT_EQ(grenzen[g.aantal > 0 ? 1 : 0], g.eerste.size());
        EXPECT_EQ(Tekst::beginLaatsteTeken(g.s), g.s.size() - g.laatste.size());
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
    EXPECT_TRUE(Tekst::gelijkZonderHoofdletters("STRASSE", "straße"));
    EXPECT_TRUE(Tekst::gelijkZonderHoofdletters("ΣΟΦΊΑ", "σοφία"));
    EXPECT_FALSE(Tekst::gelijkZonderHoofdletters("straat", "straten"));
    for (const char32_t c : std::u32string_view(U"ΣÉ")) {
        EXPECT_TRUE(Tekst::isHoofdletter(c));
    }
    for (const char32_t c : std::u32string_view(U"\u01C5é3")) {  // title case Dž is no capital
        EXPECT_FALSE(Tekst::isHoofdletter(c));
    }
    for (const char32_t c : std::u32string_view(U"…)»’")) {
        EXPECT_TRUE(Tekst::isLeesteken(c));
    }
    EXPECT_FALSE(Tekst::isLeesteken(U'€'));  // a currency sign is a symbol
}

TEST(Tekst, CodePointsAndBrokenUtf8) {
    // Forwards and backwards over the same bytes, broken ones read as U+FFFD.
    const std::string s = "a\u00e9\xff\U0001F44D\x80";
    std::u32string vooruit;
    std::size_t i = 0;
    while (i < s.size()) {
        vooruit.push_back(Tekst::codepuntOp(s, i));
    }
    EXPECT_EQ(i, s.size());
    EXPECT_EQ(vooruit, U"a\u00e9\uFFFD\U0001F44D\uFFFD");
    std::u32string achteruit;
    for (i = s.size(); i > 0;) {
        achteruit.insert(achteruit.begin(), Tekst::codepuntVoor(s, i));
    }
    EXPECT_EQ(achteruit, vooruit);
    EXPECT_EQ(Tekst::eersteCodepunt(""), 0U);
    EXPECT_EQ(Tekst::eersteCodepunt("één"), U'\u00e9');
    EXPECT_EQ(Tekst::eersteCodepunt("\xc3"), U'\uFFFD');

    EXPECT_FALSE(Tekst::isGeldigeUtf8("a\xc3"));
    EXPECT_TRUE(Tekst::isGeldigeUtf8("één"));
    EXPECT_EQ(Tekst::geldigeUtf8("ok"), "ok");
    EXPECT_EQ(Tekst::geldigeUtf8("a\xc3"
                                 "b\xff"),
              "a\uFFFDb\uFFFD");
    EXPECT_EQ(Tekst::geldigeUtf8("\xed\xa0\x80"), "\uFFFD\uFFFD\uFFFD");  // a lone surrogate

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
        {"3e", "3e"},                        // a digit first: nothing to capitalise
        {"\u00dfe", "Sse"},                  // title case, not upper case, of ß
        {"\u01c6ungla", "\u01c5ungla"},      // dž has its own title-case form
        {"\u00e9\u00c9N", "\u00c9\u00c9N"},  // the rest keeps its case
    };
    for (const auto& g : gevallen) {
        SCOPED_TRACE(g.woord);
        EXPECT_EQ(Tekst::metHoofdletter(g.woord), g.verwacht);
    }
}

}  // namespace
}  // namespace tolmo
