#include "Tolmo/Plakker/Plakker.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <optional>

#include "nep/GeheugenKlembord.h"
#include "nep/NepHoofdLus.h"
#include "nep/NepToestemmingen.h"

namespace tolmo {
namespace {

using Uitkomst = Plakker::Uitkomst;
using Teksten = std::vector<std::string>;

// The paster over an in-memory clipboard that holds the user's own text, on a fake clock.
struct Opstelling {
    nep::GeheugenKlembord klembord;
    nep::NepHoofdLus lus;
    nep::NepToestemmingen toestemmingen;
    Plakker plakker{klembord, lus, toestemmingen};
    std::vector<Uitkomst> uitkomsten;

    Opstelling() { klembord.kopieer("van de gebruiker"); }
    void plak(
        const std::string& tekst, bool herstel,
        std::function<bool()> doelKlopt = [] { return true; }) {
        plakker.plak(tekst, herstel, std::move(doelKlopt),
                     [this](Uitkomst u) { uitkomsten.push_back(u); });
    }
    // Whether the clipboard's text is marked as transient for clipboard managers.
    [[nodiscard]] bool tijdelijk() const {
        return std::ranges::any_of(klembord.items.at(0), [](const auto& paar) {
            return paar.first == "org.nspasteboard.TransientType";
        });
    }
};

TEST(Plakker, OutcomesAndWhatStaysOnTheClipboard) {
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
        Opstelling o;
        o.toestemmingen.toegang = g.toegankelijkheid;
        o.plak("dictaat", g.herstel, [&] { return g.doelKlopt; });
        o.lus.draai();
        EXPECT_EQ(o.uitkomsten, std::vector<Uitkomst>{g.uitkomst});
        ASSERT_EQ(o.klembord.items.size(), 1U);
        EXPECT_EQ(o.tijdelijk(), g.tijdelijk);
        EXPECT_EQ(o.klembord.geplakt, Teksten(g.toetsen, "dictaat"));
        o.lus.verstrijk(Plakker::herstelVertraging - 0.01);
        EXPECT_EQ(o.klembord.tekst(), "dictaat");
        o.lus.verstrijk(0.02);
        EXPECT_EQ(o.klembord.tekst(), g.daarna);
        EXPECT_FALSE(o.plakker.bezig());
    }
}

// The target is asked again when a waiting paste is due (the controller's
// TheTargetIsCheckedAgainWhenAWaitingPasteIsDue, with its line).
TEST(Plakker, PastesWaitForTheRestoreOfTheOneBefore) {
    Opstelling o;
    o.plak("een", true);
    o.lus.verstrijk(0.3);
    o.plak("twee", true);
    o.lus.verstrijk(0.2);
    EXPECT_EQ(o.klembord.geplakt.size(), 1U) << "the second paste must wait for the first restore";
    o.lus.verstrijk(0.2);
    EXPECT_EQ(o.klembord.geplakt, (Teksten{"een", "twee"}));
    o.lus.verstrijk(1.0);
    EXPECT_EQ(o.klembord.tekst(), "van de gebruiker")
        << "what the user had before the first comes back";
}

// Quitting while a paste waits for its restore and others wait their turn: the restore happens,
// and the waiting texts stay on the clipboard rather than go with the app.
TEST(Plakker, QuittingLeavesWaitingTextsOnTheClipboard) {
    Opstelling o;
    o.plak("een", true);
    o.lus.verstrijk(0.1);
    o.plak("twee", true);
    o.plak("drie", true);
    EXPECT_EQ(o.plakker.rondAfNu(), 2);
    EXPECT_EQ(o.klembord.geplakt, Teksten{"een"});
    EXPECT_EQ(o.klembord.tekst(), "twee\ndrie");
    EXPECT_FALSE(o.tijdelijk()) << "a clipboard manager keeps it once the app is gone";
    EXPECT_EQ(o.klembord.herstellingen, 1);
    o.lus.verstrijk(2.0);
    EXPECT_EQ(o.klembord.geplakt, Teksten{"een"});
}

// Where the platform shows the target app reading the clipboard, the restore follows the last
// read. A copy the user makes meanwhile is theirs, whether reads show or not.
TEST(Plakker, TheRestoreFollowsTheLastRead) {
    struct Geval {
        const char* naam;
        bool lezenZichtbaar;
        std::vector<double> lezingen;  // seconds after the paste
        std::optional<double> gebruikerKopieert;
        double hersteldNa;  // 0: never restored
        std::string daarna;
        bool gemeld;  // told that nobody read it
    };
    const Geval gevallen[] = {
        {"een lezing", true, {0.05}, {}, 0.15, "van de gebruiker", false},
        {"lijst van typen, dan de tekst", true, {0.05, 0.12}, {}, 0.22, "van de gebruiker", false},
        {"nooit gelezen", true, {}, {}, 0, "dictaat", true},
        {"nooit gelezen, gebruiker kopieert", true, {}, 1.0, 0, "net gekopieerd", false},
        {"onzichtbaar, gebruiker kopieert", false, {}, 0.3, 0, "net gekopieerd", false},
    };
    for (const Geval& g : gevallen) {
        SCOPED_TRACE(g.naam);
        Opstelling o;
        int gemeld = 0;
        o.plakker.zetOpNietGelezen([&] { ++gemeld; });
        o.klembord.lezenZichtbaar = g.lezenZichtbaar;
        o.plak("dictaat", true);
        o.lus.draai();
        for (const double moment : g.lezingen) {
            o.lus.postNa(moment, [&o] { o.klembord.lees(); });
        }
        if (g.gebruikerKopieert) {
            o.lus.postNa(*g.gebruikerKopieert, [&o] { o.klembord.kopieer("net gekopieerd"); });
        }
        if (g.hersteldNa > 0) {
            o.lus.verstrijk(g.hersteldNa - 0.001);
            EXPECT_EQ(o.klembord.herstellingen, 0);
            o.lus.verstrijk(0.002);
            EXPECT_EQ(o.klembord.herstellingen, 1);
        }
        o.lus.verstrijk(3.0);
        EXPECT_EQ(o.klembord.herstellingen, g.hersteldNa > 0 ? 1 : 0);
        EXPECT_EQ(o.klembord.tekst(), g.daarna);
        EXPECT_EQ(gemeld, g.gemeld ? 1 : 0);
        // Text left for the user is no longer marked as transient.
        EXPECT_FALSE(o.tijdelijk());
        EXPECT_FALSE(o.plakker.bezig());
    }
}

TEST(Plakker, NothingRunsAfterThePasterIsGone) {
    Opstelling o;
    {
        Plakker p(o.klembord, o.lus, o.toestemmingen);
        for (const char* tekst : {"a", "b"}) {
            p.plak(
                tekst, true, [] { return true; }, [](Uitkomst) {});
        }
        o.lus.draai();
    }
    o.lus.verstrijk(2.0);
    EXPECT_EQ(o.klembord.geplakt, Teksten{"a"});
    EXPECT_EQ(o.klembord.tekst(), "a");
}

}  // namespace
}  // namespace tolmo
