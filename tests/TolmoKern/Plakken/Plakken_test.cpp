#include <gtest/gtest.h>

#include "TolmoKern/Plakken/KlembordTransacties.h"
#include "TolmoKern/Plakken/PlakDoel.h"
#include "nep/GeheugenKlembord.h"

namespace tolmo {
namespace {

using Doel = PlakDoel<int>;
using Reden = Doel::Reden;
using Beslissing = Doel::Beslissing;

TEST(PlakDoel, PasteOnlyIntoTheSameAppAndField) {
    const Doel mail{10, "com.apple.mail", 1};
    struct Geval {
        const char* naam;
        std::optional<Doel> start;
        std::optional<Doel> nu;
        Beslissing verwacht;
    };
    const Geval gevallen[] = {
        {"zelfde app en veld", mail, mail, Beslissing::plak()},
        {"geen doel bij de start", std::nullopt, mail,
         Beslissing::naarKlembord(Reden::onbekendDoel)},
        {"geen doel nu", mail, std::nullopt, Beslissing::naarKlembord(Reden::onbekendDoel)},
        {"ander proces", mail, Doel{11, "com.apple.mail", 1},
         Beslissing::naarKlembord(Reden::andereApp)},
        {"andere bundel", mail, Doel{10, "com.apple.Notes", 1},
         Beslissing::naarKlembord(Reden::andereApp)},
        {"één bundel onbekend", mail, Doel{10, std::nullopt, 1},
         Beslissing::naarKlembord(Reden::andereApp)},
        {"beide bundels onbekend", Doel{10, std::nullopt, 1}, Doel{10, std::nullopt, 1},
         Beslissing::plak()},
        {"ander veld", mail, Doel{10, "com.apple.mail", 2},
         Beslissing::naarKlembord(Reden::anderVeld)},
        {"veld verdwenen", mail, Doel{10, "com.apple.mail", std::nullopt},
         Beslissing::naarKlembord(Reden::anderVeld)},
        {"geen veld bij de start", Doel{10, "com.apple.mail", std::nullopt},
         Doel{10, "com.apple.mail", 7}, Beslissing::plak()},
    };
    for (const Geval& g : gevallen) {
        EXPECT_EQ(Doel::beslis(g.start, g.nu), g.verwacht) << g.naam;
    }
}

TEST(KlembordTransacties, RestoresOnlyWhatTheUserHadAndOnlyIfUntouched) {
    {
        // Two pastes in a row: the user's own clipboard comes back after both.
        nep::GeheugenKlembord k;
        k.kopieer("van de gebruiker");
        KlembordTransacties t(k);
        const auto eerste = t.begin("dictaat een");
        const auto tweede = t.begin("dictaat twee");
        EXPECT_EQ(k.tekst(), "dictaat twee");
        t.rondAf(eerste);
        EXPECT_EQ(k.tekst(), "dictaat twee") << "an older token must not restore";
        t.rondAf(tweede);
        EXPECT_EQ(k.tekst(), "van de gebruiker");
        EXPECT_EQ(k.herstellingen, 1);
        EXPECT_FALSE(t.houdtOrigineel());
    }
    {
        // The user copies during the wait: their copy stays and the old snapshot is dropped.
        nep::GeheugenKlembord k;
        k.kopieer("oud");
        KlembordTransacties t(k);
        const auto token = t.begin("dictaat");
        k.kopieer("nieuw van de gebruiker");
        t.rondAf(token);
        EXPECT_EQ(k.tekst(), "nieuw van de gebruiker");
        EXPECT_EQ(k.herstellingen, 0);
        EXPECT_FALSE(t.houdtOrigineel());
        // The next paste snapshots the new copy.
        const auto volgende = t.begin("nog een");
        t.rondAf(volgende);
        EXPECT_EQ(k.tekst(), "nieuw van de gebruiker");
    }
    {
        // Someone writes between two pastes: the second snapshot takes their content.
        nep::GeheugenKlembord k;
        k.kopieer("eerst");
        KlembordTransacties t(k);
        t.begin("a");
        k.kopieer("tussendoor");
        const auto token = t.begin("b");
        t.rondAf(token);
        EXPECT_EQ(k.tekst(), "tussendoor");
    }
    {
        // An empty clipboard is restored as empty.
        nep::GeheugenKlembord k;
        KlembordTransacties t(k);
        t.rondAf(t.begin("a"));
        EXPECT_TRUE(k.items.empty());
    }
}

}  // namespace
}  // namespace tolmo
