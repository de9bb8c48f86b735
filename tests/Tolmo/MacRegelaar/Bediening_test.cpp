// The controller's launch, and what a shell drives and watches: the change reports, the
// settings it changes while the app runs, and quitting.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Opstelling.h"
#include "Tolmo/MacRegelaar/Logboek.h"
#include "Tolmo/MacRegelaar/WoordSuggesties.h"

namespace tolmo::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

using W = DictaatRegelaar::Wijziging;

TEST(Bediening, ElkeWijzigingKomtEenKeerEnOpVolgorde) {
    struct Geval {
        const char* naam;
        std::function<void(Opstelling&)> doe;
        std::vector<W> verwacht;
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
        std::vector<W> gezien;
        std::size_t logRegels = 0;
        // Log lines are only counted; the other reports must come in this order.
        o.regelaar->luister([&](W w) {
            if (w == W::logRegel) {
                ++logRegels;
            } else {
                gezien.push_back(w);
            }
        });
        g.doe(o);
        o.lus.draai();
        EXPECT_EQ(gezien, g.verwacht);
        EXPECT_EQ(logRegels, o.nieuweRegels().size()) << "one report per log line";
    }
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
    ASSERT_EQ(o.klembord.geplakt.size(), 1U);
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

TEST(DictaatRegelaarOpstarten, LaunchLoadsSettingsClearsLeftoversAndLogs) {
    Opstelling o;
    o.toestemmingen.toegang = false;
    o.logOpslag.opgeslagen = {{7, 5, "mac", "vorige keer"},
                              {8, 6, "toetsenbord", "van de telefoon"}};
    // Two leftovers; the rest is not ours, or not a recording.
    std::ofstream(o.map.pad() / "tolmo-1.wav") << "x";
    std::ofstream(o.map.pad() / "tolmo-2.m4a") << "x";
    std::ofstream(o.map.pad() / "tolmo-3.txt") << "x";
    std::ofstream(o.map.pad() / "notitie.wav") << "x";
    std::filesystem::create_directory(o.map.pad() / "tolmo-map.wav");
    o.startRegels = {"Sessie x11 (DISPLAY is gezet)", "Plakken: XTest"};
    o.maak();

    EXPECT_THAT(
        o.regelaar->logboek().teksten(),
        ElementsAre("vorige keer", "van de telefoon", "Mac-app gestart (1.4.2)",
                    "Sessie x11 (DISPLAY is gezet)", "Plakken: XTest",
                    "Toestemmingen bij start: microfoon ja, invoermonitoring ja, "
                    "toegankelijkheid nee",
                    "Klembord na plakken herstellen: aan", "2 achtergebleven opname(s) verwijderd",
                    "CGEventTap gemaakt (main run loop, common modes, aan)",
                    "Houdtoets actief via CGEventTap (Invoermonitoring)"));
    const auto& regels = o.regelaar->logboek().regels();
    EXPECT_EQ(regels[2], (LogRegel{9, 1000000, "mac", "Mac-app gestart (1.4.2)"}));
    EXPECT_EQ(o.logOpslag.opgeslagen.back(), regels.back()) << "every line is stored at once";
    EXPECT_EQ(o.opnamesOpSchijf(), 2);  // tolmo-3.txt and the directory tolmo-map.wav stay
    EXPECT_TRUE(std::filesystem::exists(o.map.pad() / "notitie.wav"));
    EXPECT_EQ(o.regelaar->houdtoetsMechanisme(), SneltoetsMonitor::Mechanisme::tap);
    EXPECT_EQ(o.toetsen.geregistreerd, MacInstellingen::standaard().wisselSneltoets);

    // What the shell changes is stored at once and read at the next launch, where the Mac still
    // dictates through the relay whatever engine is stored, and does not store that.
    o.regelaar->wijzigInstellingen([](TolmoInstellingen& t) {
        t.motor = Motor::openAI;
        t.serverAanbieder = Aanbieder::openAI;
        t.woorden = {"Tolmo"};
    });
    o.regelaar->zetHoudToets(HoudToets::rechterCommand);
    o.regelaar->zetKlembordHerstellen(false);
    Opstelling later;
    later.groep = o.groep;
    later.groep.gezet.clear();
    later.standaard = o.standaard;
    later.maak();
    EXPECT_EQ(later.regelaar->instellingen().woorden, Regels{"Tolmo"});
    EXPECT_EQ(later.regelaar->instellingen().motor, Motor::tolmo);
    EXPECT_EQ(later.regelaar->instellingen().serverAanbieder, Aanbieder::mistral);
    EXPECT_THAT(later.groep.gezet, IsEmpty());
    EXPECT_EQ(later.regelaar->macInstellingen().houdToets, HoudToets::rechterCommand);
    EXPECT_FALSE(later.regelaar->klembordHerstellen());
}

// Permissions are read every two seconds; the hold key is watched anew when one of the two it
// depends on changes.
TEST(DictaatRegelaarOpstarten, PermissionPoll) {
    Opstelling o;
    o.toestemmingen.toegang = false;
    o.maak();
    o.toetsen.verzoeken.clear();
    o.toestemmingen.toegang = true;
    o.lus.verstrijk(1.9);
    EXPECT_THAT(o.nieuweRegels(), IsEmpty());
    o.lus.verstrijk(0.1);
    EXPECT_THAT(o.nieuweRegels(), ElementsAre("Toestemmingen gewijzigd: microfoon ja, "
                                              "invoermonitoring ja, toegankelijkheid ja"));
    EXPECT_THAT(o.toetsen.verzoeken, ElementsAre("globale monitor", "lokale monitor"));
    EXPECT_TRUE(o.regelaar->toestemmingen().toegankelijkheid);

    // The microphone alone changes nothing about the keys.
    o.toetsen.verzoeken.clear();
    o.toestemmingen.mic = false;
    o.lus.verstrijk(2.0);
    EXPECT_THAT(o.nieuweRegels(), ElementsAre("Toestemmingen gewijzigd: microfoon nee, "
                                              "invoermonitoring ja, toegankelijkheid ja"));
    EXPECT_THAT(o.toetsen.verzoeken, IsEmpty());
    o.lus.verstrijk(10.0);
    EXPECT_THAT(o.nieuweRegels(), IsEmpty()) << "an unchanged state is not logged again";
}

TEST(DictaatRegelaarOpstarten, AddingAProposedWord) {
    struct Geval {
        const char* naam;
        std::vector<std::string> lijst;
        std::string woord;
        std::vector<std::string> regels;
        std::vector<Melding> meldingen;
        std::size_t lengteDaarna;
    };
    const Geval gevallen[] = {
        {"de laatste plaats", Regels(199, "Term"), "ChatGPT",
         Regels{"Term toegevoegd aan de woordenlijst (200 termen)"}, std::vector<Melding>{}, 200},
        {"al aanwezig, andere hoofdletters", Regels{"ChatGPT"}, "chatgpt", Regels{},
         std::vector<Melding>{{"Staat al in de woordenlijst.", false, std::nullopt}}, 1},
        {"vol", Regels(200, "Term"), "ChatGPT", Regels{},
         std::vector<Melding>{{"De woordenlijst is vol (200 termen).", true, std::nullopt}}, 200},
    };
    for (const Geval& g : gevallen) {
        SCOPED_TRACE(g.naam);
        Opstelling o;
        TolmoInstellingen opgeslagen;
        opgeslagen.motor = Motor::openAI;
        opgeslagen.woorden = g.lijst;
        o.groep.zet("instellingen", opgeslagen.naarJson().dump());
        o.maak();
        o.regelaar->voegWoordToe(g.woord);

        EXPECT_EQ(o.nieuweRegels(), g.regels);
        EXPECT_EQ(o.meldingen.getoond, g.meldingen);
        const auto bewaard = GedeeldeOpslag(o.groep, o.standaard).laad();
        EXPECT_EQ(bewaard.woorden.size(), g.lengteDaarna);
        EXPECT_EQ(bewaard.motor, Motor::openAI) << "the user's engine choice is kept";
        EXPECT_EQ(o.regelaar->instellingen().woorden, bewaard.woorden);
        EXPECT_EQ(o.regelaar->instellingen().motor, Motor::tolmo);
    }
}

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
    };
    for (const Geval& g : gevallen) {
        SCOPED_TRACE(g.naam);
        EXPECT_EQ(WoordSuggesties::voorstellen(g.ruw, g.tekst, g.lijst), g.verwacht);
    }
}

// The log keeps the newest lines and numbers on from what an earlier run stored.
TEST(Logboek, KeepsTheNewestLines) {
    nep::NepLogOpslag opslag;
    for (std::uint64_t i = 1; i <= Logboek::maximum + 100; ++i) {
        opslag.opgeslagen.push_back({i, 0, "mac", "regel " + std::to_string(i)});
    }
    std::int64_t klok = 5;
    Logboek log(opslag, "mac", [&klok] { return klok; });
    log.laad();
    ASSERT_EQ(log.regels().size(), Logboek::maximum);
    EXPECT_EQ(log.regels().front().id, 101U);

    log.schrijf("nieuw");
    EXPECT_EQ(log.regels().size(), Logboek::maximum);
    EXPECT_EQ(log.regels().front().id, 102U);
    EXPECT_EQ(log.regels().back(), (LogRegel{Logboek::maximum + 101, 5, "mac", "nieuw"}));
    EXPECT_EQ(opslag.opgeslagen.back().tekst, "nieuw") << "stored as it is written";
}

}  // namespace
}  // namespace tolmo::test
