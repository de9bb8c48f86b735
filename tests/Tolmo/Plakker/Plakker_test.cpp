#include "Tolmo/Plakker/Plakker.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <optional>

#include "nep/GeheugenKlembord.h"
#include "nep/NepHoofdLus.h"
#include "nep/NepToestemmingen.h"

namespace tolmo {
namespace {

using Uitkomst = Plakker::Uitkomst;

class PlakkerTest : public ::testing::Test {
  protected:
    nep::GeheugenKlembord klembord;
    nep::NepHoofdLus lus;
    nep::NepToestemmingen toestemmingen;
    Plakker plakker{klembord, lus, toestemmingen};
    std::vector<std::pair<double, Uitkomst>> uitkomsten;

    void plak(
        const std::string& tekst, bool herstel,
        std::function<bool()> doelKlopt = [] { return true; }) {
        plakker.plak(tekst, herstel, std::move(doelKlopt),
                     [this](Uitkomst u) { uitkomsten.emplace_back(lus.uptime(), u); });
    }
};

TEST_F(PlakkerTest, OutcomesAndWhatStaysOnTheClipboard) {
    struct Geval {
        const char* naam;
        bool toegankelijkheid;
        bool doelKlopt;
        bool herstel;
        Uitkomst uitkomst;
        int toetsen;
        std::string daarna;  // clipboard text once everything has settled
        // Clipboard managers keep what is not marked transient: only text that will be taken
        // back is marked, or a manager would drop text left for the user to paste.
        bool tijdelijk;
    };
    const Geval gevallen[] = {
        {"geen Toegankelijkheid", false, true, true, Uitkomst::opKlembord, 0, "dictaat", false},
        {"doel veranderd", true, false, true, Uitkomst::doelGewijzigd, 0, "dictaat", false},
        {"zonder herstel", true, true, false, Uitkomst::verstuurd, 1, "dictaat", false},
        {"met herstel", true, true, true, Uitkomst::verstuurd, 1, "van de gebruiker", true},
    };
    for (const Geval& g : gevallen) {
        SCOPED_TRACE(g.naam);
        nep::GeheugenKlembord k;
        nep::NepHoofdLus l;
        nep::NepToestemmingen t;
        t.toegang = g.toegankelijkheid;
        Plakker p(k, l, t);
        k.kopieer("van de gebruiker");
        std::vector<Uitkomst> u;
        p.plak(
            "dictaat", g.herstel, [&] { return g.doelKlopt; }, [&](Uitkomst x) { u.push_back(x); });
        l.draai();
        ASSERT_EQ(u, std::vector<Uitkomst>{g.uitkomst});
        ASSERT_EQ(k.items.size(), 1U);
        EXPECT_EQ(std::ranges::any_of(k.items.front(),
                                      [](const auto& paar) {
                                          return paar.first == "org.nspasteboard.TransientType";
                                      }),
                  g.tijdelijk);
        EXPECT_EQ(k.plakToetsen, g.toetsen);
        if (g.toetsen > 0) {
            EXPECT_EQ(k.geplakt.front(), "dictaat");
        }
        l.verstrijk(0.59);
        EXPECT_EQ(k.tekst(), g.uitkomst == Uitkomst::verstuurd || g.toetsen == 0 ? "dictaat" : "");
        l.verstrijk(0.02);
        EXPECT_EQ(k.tekst(), g.daarna);
        EXPECT_FALSE(p.bezig());
    }
}

TEST_F(PlakkerTest, PastesWaitForTheRestoreOfTheOneBefore) {
    klembord.kopieer("van de gebruiker");
    std::vector<double> doelGevraagd;
    plak("een", true, [&] {
        doelGevraagd.push_back(lus.uptime());
        return true;
    });
    lus.verstrijk(0.3);
    plak("twee", true, [&] {
        doelGevraagd.push_back(lus.uptime());
        return true;
    });
    lus.verstrijk(0.2);
    EXPECT_EQ(klembord.plakToetsen, 1) << "the second paste must wait for the first restore";
    lus.verstrijk(0.2);
    EXPECT_EQ(klembord.geplakt, (std::vector<std::string>{"een", "twee"}));
    ASSERT_EQ(doelGevraagd.size(), 2U);
    EXPECT_NEAR(doelGevraagd[1] - doelGevraagd[0], 0.6, 1e-9);
    lus.verstrijk(1.0);
    EXPECT_EQ(klembord.tekst(), "van de gebruiker")
        << "what the user had before the first comes back";
}

TEST_F(PlakkerTest, ACopyDuringTheWaitIsKept) {
    klembord.kopieer("oud");
    plak("dictaat", true);
    lus.verstrijk(0.3);
    klembord.kopieer("net gekopieerd");
    lus.verstrijk(0.5);
    EXPECT_EQ(klembord.tekst(), "net gekopieerd");
    EXPECT_EQ(klembord.herstellingen, 0);
}

TEST_F(PlakkerTest, WhereReadsShowTheRestoreFollowsTheLastRead) {
    struct Geval {
        const char* naam;
        std::vector<double> lezingen;  // seconds after the paste
        std::optional<double> gebruikerKopieert;
        double hersteldNa;  // -1: never restored
        std::string daarna;
        bool gemeld;
    };
    const Geval gevallen[] = {
        {"een lezing", {0.05}, {}, 0.15, "van de gebruiker", false},
        {"lijst van typen, dan de tekst", {0.05, 0.12}, {}, 0.22, "van de gebruiker", false},
        {"nooit gelezen", {}, {}, -1, "dictaat", true},
        {"nooit gelezen, gebruiker kopieert", {}, 1.0, -1, "net gekopieerd", false},
    };
    for (const Geval& g : gevallen) {
        SCOPED_TRACE(g.naam);
        nep::GeheugenKlembord k;
        nep::NepHoofdLus l;
        nep::NepToestemmingen t;
        Plakker p(k, l, t);
        int gemeld = 0;
        p.zetOpNietGelezen([&] { ++gemeld; });
        k.lezenZichtbaar = true;
        k.kopieer("van de gebruiker");
        p.plak(
            "dictaat", true, [] { return true; }, [](Uitkomst) {});
        l.draai();
        const double start = l.uptime();
        std::vector<std::pair<double, std::function<void()>>> plan;
        for (double moment : g.lezingen) {
            plan.emplace_back(moment, [&k] { k.lees(); });
        }
        if (g.gebruikerKopieert) {
            plan.emplace_back(*g.gebruikerKopieert, [&k] { k.kopieer("net gekopieerd"); });
        }
        std::optional<double> hersteld;
        for (double tijd = 0; tijd < 3.0; tijd += 0.01) {
            for (auto& [moment, actie] : plan) {
                if (std::abs(moment - tijd) < 0.005) {
                    actie();
                }
            }
            l.verstrijk(0.01);
            if (!hersteld && k.herstellingen > 0) {
                hersteld = l.uptime() - start;
            }
        }
        if (g.hersteldNa < 0) {
            EXPECT_FALSE(hersteld);
        } else {
            ASSERT_TRUE(hersteld);
            EXPECT_NEAR(*hersteld, g.hersteldNa, 0.015);
        }
        EXPECT_EQ(k.tekst(), g.daarna);
        EXPECT_EQ(gemeld, g.gemeld ? 1 : 0);
        // Text left for the user is no longer marked as transient.
        EXPECT_EQ(k.items.front().size(), 1U);
        EXPECT_FALSE(p.bezig());
    }
}

TEST_F(PlakkerTest, NothingRunsAfterThePasterIsGone) {
    nep::GeheugenKlembord k;
    nep::NepHoofdLus l;
    nep::NepToestemmingen t;
    k.kopieer("oud");
    {
        Plakker p(k, l, t);
        p.plak(
            "a", true, [] { return true; }, [](Uitkomst) {});
        p.plak(
            "b", true, [] { return true; }, [](Uitkomst) {});
        l.draai();
    }
    l.verstrijk(2.0);
    EXPECT_EQ(k.plakToetsen, 1);
    EXPECT_EQ(k.tekst(), "a");
}

}  // namespace
}  // namespace tolmo
