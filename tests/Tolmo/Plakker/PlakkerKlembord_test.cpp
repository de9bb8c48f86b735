#include <gtest/gtest.h>

#include "Tolmo/Plakker/Plakker.h"
#include "nep/GeheugenKlembord.h"
#include "nep/NepHoofdLus.h"
#include "nep/NepToestemmingen.h"

namespace tolmo {
namespace {

// Clipboard managers keep what is not marked transient. Text that will be taken back must be
// marked, or every dictation lands in the user's clipboard history; text left for the user to
// paste must not be, or a manager drops it.
TEST(PlakkerKlembord, OnlyTextThatWillBeRestoredIsMarkedTransient) {
    struct Geval {
        const char* naam;
        bool toegankelijkheid, doelKlopt, herstel;
        bool tijdelijk;
    };
    const Geval gevallen[] = {
        {"geplakt, klembord terug", true, true, true, true},
        {"geplakt, klembord blijft", true, true, false, false},
        {"geen Toegankelijkheid", false, true, true, false},
        {"doel veranderd", true, false, true, false},
    };
    for (const Geval& g : gevallen) {
        SCOPED_TRACE(g.naam);
        nep::GeheugenKlembord k;
        nep::NepHoofdLus l;
        nep::NepToestemmingen t;
        t.toegang = g.toegankelijkheid;
        Plakker p(k, l, t);
        k.kopieer("van de gebruiker");
        p.plak(
            "dictaat", g.herstel, [&] { return g.doelKlopt; }, [](Plakker::Uitkomst) {});
        l.draai();
        ASSERT_EQ(k.tekst(), "dictaat");
        ASSERT_EQ(k.items.size(), 1U);
        bool gemarkeerd = false;
        for (const auto& [type, data] : k.items.front()) {
            gemarkeerd = gemarkeerd || type == "org.nspasteboard.TransientType";
        }
        EXPECT_EQ(gemarkeerd, g.tijdelijk);
    }
}

}  // namespace
}  // namespace tolmo
