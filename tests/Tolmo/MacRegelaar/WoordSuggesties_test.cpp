#include "Tolmo/MacRegelaar/WoordSuggesties.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace tolmo {
namespace {

TEST(WoordSuggesties, ProposesTermsTheCleanupSpelledDifferently) {
    struct Geval {
        const char* naam;
        std::string ruw;
        std::string tekst;
        std::vector<std::string> lijst;
        std::vector<std::string> verwacht;
    };
    using L = std::vector<std::string>;
    const Geval gevallen[] = {
        {"samengevoegd en hoofdletters", "we gebruiken chat gpt op de iphone",
         "We gebruiken ChatGPT op de iPhone.", L{}, L{"ChatGPT", "iPhone"}},
        // A capital only at the start may just begin a sentence.
        {"alleen beginhoofdletter", "jan en piet gingen", "Jan en Piet gingen.", {}, {}},
        {"cijfers", "de q drie cijfers", "De Q3-cijfers", {}, {"Q3-cijfers"}},
        {"alleen cijfers is geen term", "twintig vierentwintig", "2024", {}, {}},
        {"een enkel teken is geen term", "a", "X", {}, {}},
        {"zo gehoord, niets veranderd", "bel KLM over de A380", "Bel KLM over de A380.", {}, {}},
        {"leestekens eromheen tellen niet", "(iPhone),", "iPhone", {}, {}},
        {"al in de woordenlijst, zonder hoofdlettergevoel", "chat gpt", "ChatGPT", {"chatgpt"}, {}},
        {"elk woord een keer", "mac os en mac os", "macOS en macOS", {}, {"macOS"}},
        {"hoogstens drie", "a b c d e", "iOS tvOS macOS watchOS visionOS", L{},
         L{"iOS", "tvOS", "macOS"}},
        {"niet-Latijns schrift", "привет мир", "Привет МИР", {}, {"МИР"}},
        {"lege teksten", "", "", {}, {}},
    };
    for (const Geval& g : gevallen) {
        SCOPED_TRACE(g.naam);
        EXPECT_EQ(WoordSuggesties::voorstellen(g.ruw, g.tekst, g.lijst), g.verwacht);
    }
}

}  // namespace
}  // namespace tolmo
