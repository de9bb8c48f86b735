// What a shell drives and watches: the change reports, the settings it changes while the app
// runs, and quitting.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Opstelling.h"

namespace tolmo::test {
namespace {

using ::testing::ElementsAre;

using W = DictaatRegelaar::Wijziging;

// The reports a listener received, with the log lines folded into one letter each ("L"), so a
// sequence reads like the controller's story.
struct Luisteraar {
    std::vector<W> gezien;
    explicit Luisteraar(DictaatRegelaar& r) {
        r.luister([this](W w) { gezien.push_back(w); });
    }
    std::vector<W> zonderLog() const {
        std::vector<W> uit;
        std::copy_if(gezien.begin(), gezien.end(), std::back_inserter(uit),
                     [](W w) { return w != W::logRegel; });
        return uit;
    }
};

TEST(Bediening, ElkeWijzigingKomtEenKeerEnOpVolgorde) {
    struct Geval {
        const char* naam;
        std::function<void(Opstelling&)> doe;
        std::vector<W> verwacht;  // without the log lines, which are checked by count
    };
    const Geval gevallen[] = {
        {"een dictaat met voorstel",
         [](Opstelling& o) {
             o.transcript = "we gebruiken chat gpt op de iphone";
             o.schoon = "We gebruiken ChatGPT op de iPhone.";
             o.dicteer();
             o.lus.verstrijk(0.6);
         },
         {W::toestand, W::toestand, W::laatsteDictaat, W::woordVoorstellen, W::toestand}},
        {"een melding en het wissen ervan",
         [](Opstelling& o) {
             o.toestemmingen.mic = false;
             o.regelaar->start(DictaatRegelaar::Bron::menu);
             o.lus.verstrijk(DictaatRegelaar::meldingDuur);
         },
         {W::toestemmingen, W::melding, W::melding}},
        {"toestemmingen en het mechanisme",
         [](Opstelling& o) {
             o.toestemmingen.invoer = false;
             o.lus.verstrijk(DictaatRegelaar::toestemmingInterval);
         },
         {W::toestemmingen, W::houdtoetsMechanisme}},
        {"instellingen",
         [](Opstelling& o) {
             o.regelaar->wijzigInstellingen([](TolmoInstellingen& t) { t.opschonen = false; });
             o.regelaar->zetKlembordHerstellen(false);
             o.regelaar->zetHoudToets(HoudToets::rechterCommand);
         },
         {W::instellingen, W::macInstellingen, W::macInstellingen}},
    };
    for (const auto& g : gevallen) {
        SCOPED_TRACE(g.naam);
        Opstelling o;
        o.maak();
        Luisteraar l(*o.regelaar);
        g.doe(o);
        o.lus.draai();
        EXPECT_EQ(l.zonderLog(), g.verwacht);
        EXPECT_EQ(l.gezien.size() - l.zonderLog().size(), o.nieuweRegels().size())
            << "one report per log line";
    }
}

TEST(Bediening, InstellingenWordenMeteenBewaard) {
    Opstelling o;
    o.maak();
    o.regelaar->wijzigInstellingen([](TolmoInstellingen& t) { t.woorden = {"Tolmo"}; });
    o.regelaar->zetHoudToets(HoudToets::rechterCommand);
    o.regelaar->zetKlembordHerstellen(false);

    Opstelling later;
    later.groep = o.groep;
    later.standaard = o.standaard;
    later.maak();
    EXPECT_EQ(later.regelaar->instellingen().woorden, std::vector<std::string>{"Tolmo"});
    EXPECT_EQ(later.regelaar->macInstellingen().houdToets, HoudToets::rechterCommand);
    EXPECT_FALSE(later.regelaar->klembordHerstellen());
    EXPECT_EQ(later.regelaar->instellingen().motor, Motor::tolmo) << "the Mac forces the relay";
}

// A combination another program has taken is reported, at launch as later, and the one that
// worked before keeps working.
TEST(Bediening, EenGeweigerdeSneltoetsLaatDeOudeWerken) {
    const auto oud = MacInstellingen::standaard().wisselSneltoets;
    Opstelling o;
    o.toetsen.bezet = {*oud};
    o.maak();
    EXPECT_THAT(o.meldingen.getoond,
                ElementsAre(Melding{"Sneltoets ⌃⌥D is al in gebruik", true, std::nullopt}));
    const Toetscombinatie nieuw{7, {Toetscombinatie::Modificaties::command}, "X"};
    o.toetsen.bezet = {nieuw};
    EXPECT_FALSE(o.regelaar->zetWisselSneltoets(nieuw));
    EXPECT_EQ(o.meldingen.getoond.back(),
              (Melding{"Sneltoets ⌘X is al in gebruik", true, std::nullopt}));
    EXPECT_EQ(o.toetsen.geregistreerd, oud);
    EXPECT_EQ(o.regelaar->macInstellingen().wisselSneltoets, oud);
    EXPECT_EQ(GedeeldeOpslag(o.groep, o.standaard).laadMac().wisselSneltoets, oud);

    // While a settings screen records a new combination, the old one does not fire.
    o.regelaar->pauzeerWisselSneltoets(true);
    EXPECT_FALSE(o.toetsen.geregistreerd);
    o.regelaar->pauzeerWisselSneltoets(false);
    EXPECT_EQ(o.toetsen.geregistreerd, oud);

    o.toetsen.bezet.clear();
    EXPECT_TRUE(o.regelaar->zetWisselSneltoets(nieuw));
    EXPECT_EQ(o.toetsen.geregistreerd, nieuw);
    EXPECT_EQ(GedeeldeOpslag(o.groep, o.standaard).laadMac().wisselSneltoets, nieuw);
}

TEST(Bediening, AfsluitenZetHetKlembordTerugEnLaatAllesLos) {
    Opstelling o;
    o.maak();
    o.klembord.kopieer("van de gebruiker");
    o.dicteer();
    ASSERT_EQ(o.klembord.plakToetsen, 1);
    o.lus.verstrijk(Plakker::herstelVertraging / 2);
    ASSERT_EQ(o.klembord.herstellingen, 0);
    o.regelaar->afsluiten();
    EXPECT_EQ(o.klembord.tekst(), "van de gebruiker");
    o.lus.verstrijk(1.0);
    EXPECT_EQ(o.klembord.herstellingen, 1) << "restored once, not again when the timer runs";

    o.regelaar->start(DictaatRegelaar::Bron::menu);
    o.lus.draai();
    o.regelaar->afsluiten();
    EXPECT_EQ(o.regelaar->toestand(), Toestand::klaar);
    EXPECT_EQ(o.opnamesOpSchijf(), 0);
    EXPECT_FALSE(o.toetsen.geregistreerd) << "the toggle combination is free again";
    EXPECT_EQ(o.regelaar->houdtoetsMechanisme(), SneltoetsMonitor::Mechanisme::geen);
}

}  // namespace
}  // namespace tolmo::test
