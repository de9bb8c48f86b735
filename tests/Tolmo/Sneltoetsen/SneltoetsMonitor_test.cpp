#include "Tolmo/Sneltoetsen/SneltoetsMonitor.h"

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "nep/NepHoofdLus.h"
#include "nep/NepToetsBron.h"

namespace tolmo {
namespace {

using Actie = SneltoetsMonitor::Actie;
using Mechanisme = SneltoetsMonitor::Mechanisme;
using Gebeurtenis = ToetsBron::Gebeurtenis;
using V = ToetsVlaggen;
using Regels = std::vector<std::string>;

constexpr std::uint16_t rechterOptionCode = 61, linkerOptionCode = 58, rechterCommandCode = 54,
                        fnCode = 63, pijlLinks = 123, letterE = 14;
constexpr std::uint64_t rOpt = V::option | V::rechterOption;
constexpr std::uint64_t lOpt = V::option | V::linkerOption;
constexpr std::uint64_t rCmd = V::command | V::rechterCommand;

Gebeurtenis mod(std::uint16_t code, std::uint64_t vlaggen) {
    return {ToetsBron::Soort::modificatie, code, V{vlaggen}};
}
Gebeurtenis omlaag(std::uint16_t code) {
    return {ToetsBron::Soort::toetsOmlaag, code, V{}};
}

const std::string tapGemaakt = "CGEventTap gemaakt (main run loop, common modes, aan)";
const std::string viaTap = "Houdtoets actief via CGEventTap (Invoermonitoring)";
const std::string viaNsEvent = "Houdtoets actief via NSEvent-monitor (Toegankelijkheid)";
const std::string nietActief =
    "Houdtoets niet actief: geen Invoermonitoring en geen Toegankelijkheid";
const std::string tapDood =
    "CGEventTap ontvangt geen toetsen terwijl de NSEvent-monitor ze wel ziet: Invoermonitoring "
    "werkt niet voor deze versie";

class SneltoetsMonitorTest : public ::testing::Test {
  protected:
    nep::NepToetsBron bron;
    nep::NepHoofdLus lus;
    Regels log;
    std::vector<Actie> acties;
    int wissels = 0;
    std::unique_ptr<SneltoetsMonitor> monitor;

    void SetUp() override { maak(HoudToets::rechterOption); }

    // A new monitor; `opnieuw` also on a fresh key source.
    void maak(HoudToets toets, bool opnieuw = false) {
        if (opnieuw) {
            monitor.reset();
            bron = nep::NepToetsBron{};
        }
        monitor = std::make_unique<SneltoetsMonitor>(bron, lus, toets);
        monitor->opHoudActie = [this](Actie a) { acties.push_back(a); };
        monitor->opWissel = [this] { ++wissels; };
        monitor->opLog = [this](const std::string& r) { log.push_back(r); };
    }

    // The log lines and decisions since the last call.
    Regels nieuweRegels() { return std::exchange(log, {}); }
    std::vector<Actie> nieuweActies() { return std::exchange(acties, {}); }
    Regels nieuweVerzoeken() { return std::exchange(bron.verzoeken, {}); }
};

TEST_F(SneltoetsMonitorTest, StartChoosesHowTheHoldKeyIsWatched) {
    struct Geval {
        const char* naam;
        bool invoermonitoring, toegankelijkheid, tapLukt, tapGaatAan, globaleMonitorLukt;
        Mechanisme verwacht;
        Regels regels;
        Regels verzoeken;
    };
    const Geval gevallen[] = {
        {"beide", true, true, true, true, true, Mechanisme::tap, Regels{tapGemaakt, viaTap},
         Regels{"maakTap", "tap aan", "globale monitor", "lokale monitor"}},
        {"alleen Invoermonitoring", true, false, true, true, true, Mechanisme::tap,
         Regels{tapGemaakt, viaTap}, Regels{"maakTap", "tap aan"}},
        {"alleen Toegankelijkheid", false, true, true, true, true, Mechanisme::nsEvent,
         Regels{viaNsEvent}, Regels{"globale monitor", "lokale monitor"}},
        // The first start says why the hold key does nothing, though the mechanism stays geen.
        {"geen van beide", false, false, true, true, true, Mechanisme::geen, Regels{nietActief},
         Regels{}},
        {"tap geweigerd, Toegankelijkheid wel", true, true, false, true, true, Mechanisme::nsEvent,
         Regels{"CGEventTap maken mislukt", viaNsEvent},
         Regels{"maakTap", "globale monitor", "lokale monitor"}},
        {"tap geweigerd, geen Toegankelijkheid", true, false, false, true, true, Mechanisme::geen,
         Regels{"CGEventTap maken mislukt", nietActief}, Regels{"maakTap"}},
        {"tap gaat niet aan", true, false, true, false, true, Mechanisme::tap,
         Regels{"CGEventTap gemaakt (main run loop, common modes, uit)", viaTap},
         Regels{"maakTap", "tap aan"}},
        {"geen globale monitor", false, true, true, true, false, Mechanisme::geen,
         Regels{nietActief}, Regels{"globale monitor", "lokale monitor"}},
    };
    for (const Geval& g : gevallen) {
        maak(HoudToets::rechterOption, true);
        bron.tapLukt = g.tapLukt;
        bron.tapGaatAan = g.tapGaatAan;
        bron.globaleMonitorLukt = g.globaleMonitorLukt;
        log.clear();
        monitor->start(g.invoermonitoring, g.toegankelijkheid);
        EXPECT_EQ(monitor->mechanisme(), g.verwacht) << g.naam;
        EXPECT_EQ(nieuweRegels(), g.regels) << g.naam;
        EXPECT_EQ(bron.verzoeken, g.verzoeken) << g.naam;
        EXPECT_EQ(monitor->tapMislukt(), !g.tapLukt && g.invoermonitoring) << g.naam;
    }
}

TEST_F(SneltoetsMonitorTest, WithAWorkingTapTheMonitorsOnlyWitness) {
    monitor->start(true, true);
    nieuweRegels();
    bron.toets(mod(rechterOptionCode, rOpt));
    // Decisions hop to the main loop; the owner never runs inside the event callback.
    EXPECT_TRUE(acties.empty());
    lus.draai();
    EXPECT_EQ(nieuweActies(), std::vector<Actie>{Actie::begin});
    lus.verstrijk(0.4);
    bron.toets(mod(rechterOptionCode, 0), true);
    lus.verstrijk(2.0);
    EXPECT_EQ(nieuweActies(), std::vector<Actie>{Actie::einde});
    EXPECT_EQ(monitor->tapGemist(), 0);
    EXPECT_EQ(monitor->mechanisme(), Mechanisme::tap);
    EXPECT_EQ(nieuweRegels(), (Regels{"Eerste modificatietoets ontvangen via CGEventTap "
                                      "(Invoermonitoring)",
                                      "Houdtoets ingedrukt", "Houdtoets losgelaten"}));

    // Option+E: the tap's key-down cancels; the monitors' copy of it changes nothing.
    bron.toets(mod(rechterOptionCode, rOpt));
    bron.toets(omlaag(letterE));
    bron.toets(mod(rechterOptionCode, 0));
    lus.verstrijk(2.0);
    EXPECT_EQ(nieuweActies(), (std::vector<Actie>{Actie::begin, Actie::annuleer}));
    EXPECT_EQ(lus.actieveTimers(), 0);
}

TEST_F(SneltoetsMonitorTest, DeadTapIsAbandonedAfterTwoWitnessedMisses) {
    bron.tapLevert = false;
    monitor->start(true, true);
    nieuweRegels();

    bron.toets(mod(linkerOptionCode, lOpt));
    lus.verstrijk(0.29);
    EXPECT_EQ(monitor->tapGemist(), 0) << "checked only after 0.3 s";
    lus.verstrijk(0.01);
    EXPECT_EQ(monitor->tapGemist(), 1);
    // Key-downs are no witnesses.
    bron.toets(omlaag(letterE));
    bron.toets(omlaag(letterE));
    lus.verstrijk(1.0);
    EXPECT_EQ(monitor->mechanisme(), Mechanisme::tap);
    EXPECT_TRUE(nieuweRegels().empty());
    EXPECT_TRUE(acties.empty());

    bron.toets(mod(linkerOptionCode, 0));
    lus.verstrijk(0.3);
    EXPECT_EQ(monitor->mechanisme(), Mechanisme::nsEvent);
    EXPECT_TRUE(monitor->tapLevertNiets());
    EXPECT_EQ(nieuweRegels(), (Regels{tapDood, viaNsEvent}));

    // From now on the monitors decide, and the tap is not chosen again.
    bron.toets(mod(rechterOptionCode, rOpt));
    lus.verstrijk(0.5);
    bron.toets(mod(rechterOptionCode, 0));
    lus.draai();
    EXPECT_EQ(nieuweActies(), (std::vector<Actie>{Actie::begin, Actie::einde}));
    monitor->start(true, true);
    EXPECT_EQ(monitor->mechanisme(), Mechanisme::nsEvent);
    EXPECT_EQ(nieuweRegels(),
              (Regels{"Eerste modificatietoets ontvangen via NSEvent-monitor (Toegankelijkheid)",
                      "Houdtoets ingedrukt", "Houdtoets losgelaten"}));
}

TEST_F(SneltoetsMonitorTest, WitnessCountsOnlyChangesTheTapMissedForOverASecond) {
    struct Geval {
        const char* naam;
        double stilte;  // seconds from the tap's last event to the change it misses
        int gemist;
    };
    const Geval gevallen[] = {
        {"1,0 s is niet meer dan 1,0 s", 1.0, 0},
        {"1,001 s wel", 1.001, 1},
        {"direct erna niet", 0.0, 0},
    };
    for (const Geval& g : gevallen) {
        maak(HoudToets::rechterOption, true);
        monitor->start(true, true);
        bron.toets(mod(linkerOptionCode, lOpt));
        bron.toets(mod(linkerOptionCode, 0));
        bron.tapLevert = false;
        lus.verstrijk(g.stilte);
        bron.toets(mod(linkerOptionCode, lOpt));
        lus.verstrijk(0.3);
        EXPECT_EQ(monitor->tapGemist(), g.gemist) << g.naam;
    }
}

TEST_F(SneltoetsMonitorTest, AKeyTheTapDeliversResetsTheMissCount) {
    bron.tapLevert = false;
    monitor->start(true, true);
    bron.toets(mod(linkerOptionCode, lOpt));
    lus.verstrijk(1.0);
    EXPECT_EQ(monitor->tapGemist(), 1);
    bron.tapLevert = true;
    bron.toets(omlaag(letterE));
    EXPECT_EQ(monitor->tapGemist(), 0);
    bron.tapLevert = false;
    lus.verstrijk(1.5);
    bron.toets(mod(linkerOptionCode, 0));
    lus.verstrijk(1.0);
    EXPECT_EQ(monitor->tapGemist(), 1);
    EXPECT_EQ(monitor->mechanisme(), Mechanisme::tap);

    // A second miss whose check comes after the monitor stopped counts for nothing.
    bron.toets(mod(linkerOptionCode, lOpt));
    monitor->stop();
    lus.verstrijk(1.0);
    EXPECT_EQ(monitor->tapGemist(), 1);
    EXPECT_FALSE(monitor->tapLevertNiets());
    EXPECT_EQ(monitor->mechanisme(), Mechanisme::geen);
}

TEST_F(SneltoetsMonitorTest, SafetyNetEndsAHoldWhoseReleaseWasMissed) {
    monitor->start(true, false);
    bron.toets(mod(rechterOptionCode, rOpt));
    lus.draai();
    EXPECT_EQ(lus.actieveTimers(), 1);
    // The release never arrives as an event; only the session state knows.
    bron.sessie = V{};
    lus.verstrijk(0.25);
    EXPECT_EQ(nieuweActies(), std::vector<Actie>{Actie::begin});
    lus.verstrijk(0.25);
    EXPECT_EQ(nieuweActies(), std::vector<Actie>{Actie::einde});
    EXPECT_EQ(lus.actieveTimers(), 0);
    // The logged state was cleared with it, so the next press is logged again.
    nieuweRegels();
    bron.toets(mod(rechterOptionCode, rOpt));
    EXPECT_EQ(nieuweRegels(), Regels{"Houdtoets ingedrukt"});

    // While the session still shows the generic bit the hold goes on, however long.
    bron.sessie = V{V::option};
    lus.verstrijk(10.0);
    EXPECT_EQ(nieuweActies(), std::vector<Actie>{Actie::begin});
    // A second begin restarts rather than adds a timer.
    bron.toets(mod(rechterOptionCode, 0));
    bron.toets(mod(rechterOptionCode, rOpt));
    lus.draai();
    EXPECT_EQ(nieuweActies(), (std::vector<Actie>{Actie::einde, Actie::begin}));
    EXPECT_EQ(lus.actieveTimers(), 1);
}

// A missed release must end the hold on the second poll after it, the polls a quarter second
// apart and counted from the press: not earlier (a poll too soon or too often), not later.
TEST_F(SneltoetsMonitorTest, SafetyNetPollsAQuarterSecondApartFromThePress) {
    monitor->start(true, false);
    lus.verstrijk(0.125);
    bron.toets(mod(rechterOptionCode, rOpt));
    lus.draai();
    nieuweActies();
    bron.sessie = V{};
    lus.verstrijk(0.49609375);
    EXPECT_TRUE(nieuweActies().empty());
    lus.verstrijk(0.00390625);
    EXPECT_EQ(nieuweActies(), std::vector<Actie>{Actie::einde});
}

TEST_F(SneltoetsMonitorTest, ChangingTheHoldKeyDuringAHoldCancelsIt) {
    monitor->start(true, false);
    bron.toets(mod(rechterOptionCode, rOpt));
    lus.draai();
    monitor->zetHoudToets(HoudToets::fn);
    lus.draai();
    EXPECT_EQ(nieuweActies(), (std::vector<Actie>{Actie::begin, Actie::annuleer}));
    EXPECT_EQ(lus.actieveTimers(), 0);
    EXPECT_EQ(monitor->herkenner(), HoudToetsHerkenner(HoudToets::fn));

    bron.toets(mod(rechterOptionCode, 0));
    bron.toets(mod(fnCode, V::fn));
    lus.verstrijk(1.0);
    bron.toets(mod(fnCode, 0));
    lus.draai();
    EXPECT_EQ(nieuweActies(), (std::vector<Actie>{Actie::begin, Actie::einde}));

    // Without a hold nothing is delivered.
    monitor->zetHoudToets(HoudToets::rechterCommand);
    lus.draai();
    EXPECT_TRUE(acties.empty());
}

TEST_F(SneltoetsMonitorTest, StopDuringAHoldDeliversNoCancel) {
    monitor->start(true, true);
    bron.toets(mod(rechterOptionCode, rOpt));
    lus.draai();
    nieuweRegels();
    nieuweVerzoeken();
    monitor->stop();
    EXPECT_EQ(nieuweVerzoeken(), (Regels{"tap weg", "globale monitor weg", "lokale monitor weg"}));
    EXPECT_EQ(monitor->mechanisme(), Mechanisme::geen);
    EXPECT_FALSE(monitor->herkenner().houdtVast());
    lus.verstrijk(5.0);
    EXPECT_EQ(nieuweActies(), std::vector<Actie>{Actie::begin});
    EXPECT_EQ(lus.actieveTimers(), 0);
    EXPECT_TRUE(nieuweRegels().empty());

    // Starting again builds everything anew.
    monitor->start(true, true);
    EXPECT_EQ(nieuweVerzoeken(),
              (Regels{"maakTap", "tap aan", "globale monitor", "lokale monitor"}));
    EXPECT_EQ(nieuweRegels(), (Regels{tapGemaakt, viaTap}));
}

TEST_F(SneltoetsMonitorTest, FailedTapIsNotRetriedAfterStop) {
    bron.tapLukt = false;
    monitor->start(true, true);
    bron.tapLukt = true;
    monitor->stop();
    monitor->start(true, true);
    monitor->start(true, false);
    EXPECT_EQ(std::count(bron.verzoeken.begin(), bron.verzoeken.end(), "maakTap"), 1);
    EXPECT_TRUE(monitor->tapMislukt());
    EXPECT_EQ(monitor->mechanisme(), Mechanisme::geen);
    EXPECT_EQ(nieuweRegels(),
              (Regels{"CGEventTap maken mislukt", viaNsEvent, viaNsEvent, nietActief}));
}

TEST_F(SneltoetsMonitorTest, PermissionsChangingAtRunTime) {
    struct Stap {
        bool invoermonitoring, toegankelijkheid;
        Mechanisme verwacht;
        Regels regels;
        Regels verzoeken;
    };
    const Stap stappen[] = {
        {false, false, Mechanisme::geen, {nietActief}, {}},
        // A later start without permissions while already geen stays quiet.
        {false, false, Mechanisme::geen, {}, {}},
        {false, true, Mechanisme::nsEvent, {viaNsEvent}, {"globale monitor", "lokale monitor"}},
        {false, true, Mechanisme::nsEvent, {}, {}},
        {true, true, Mechanisme::tap, {tapGemaakt, viaTap}, {"maakTap", "tap aan"}},
        {true, false, Mechanisme::tap, {}, {"globale monitor weg", "lokale monitor weg"}},
        // Input Monitoring withdrawn: the tap stays but is no longer trusted.
        {false, false, Mechanisme::geen, {nietActief}, {}},
        {false, true, Mechanisme::nsEvent, {viaNsEvent}, {"globale monitor", "lokale monitor"}},
        {true, true, Mechanisme::tap, {viaTap}, {}},
    };
    for (std::size_t i = 0; i < std::size(stappen); ++i) {
        const Stap& s = stappen[i];
        monitor->start(s.invoermonitoring, s.toegankelijkheid);
        EXPECT_EQ(monitor->mechanisme(), s.verwacht) << "stap " << i + 1;
        EXPECT_EQ(nieuweRegels(), s.regels) << "stap " << i + 1;
        EXPECT_EQ(nieuweVerzoeken(), s.verzoeken) << "stap " << i + 1;
    }
}

TEST_F(SneltoetsMonitorTest, AHoldCannotSurviveAChangeOfMechanism) {
    monitor->start(false, true);
    bron.toets(mod(rechterOptionCode, rOpt));
    lus.draai();
    monitor->start(true, true);
    lus.draai();
    EXPECT_EQ(nieuweActies(), (std::vector<Actie>{Actie::begin, Actie::annuleer}));
    EXPECT_EQ(lus.actieveTimers(), 0);
    // The key still down from before: its release through the tap is not a hold.
    bron.toets(mod(rechterOptionCode, 0));
    lus.draai();
    EXPECT_TRUE(acties.empty());
    // Same mechanism again: nothing is cancelled.
    bron.toets(mod(rechterOptionCode, rOpt));
    monitor->start(true, true);
    lus.draai();
    EXPECT_EQ(nieuweActies(), std::vector<Actie>{Actie::begin});
}

TEST_F(SneltoetsMonitorTest, TapSwitchedOffBySystemIsSwitchedOnAgain) {
    monitor->start(true, false);
    nieuweRegels();
    nieuweVerzoeken();
    bron.zetTapUit(ToetsBron::TapUit::timeOut);
    bron.zetTapUit(ToetsBron::TapUit::gebruikersInvoer);
    EXPECT_EQ(nieuweVerzoeken(), (Regels{"tap aan", "tap aan"}));
    EXPECT_TRUE(bron.tapAan);
    EXPECT_EQ(nieuweRegels(), (Regels{"CGEventTap stond uit (time-out), weer aangezet",
                                      "CGEventTap stond uit (gebruikersinvoer), weer aangezet"}));
}

TEST_F(SneltoetsMonitorTest, ModifierLogging) {
    using Gebeurtenissen = std::vector<Gebeurtenis>;
    struct Geval {
        const char* naam;
        HoudToets toets;
        bool viaTap;
        Gebeurtenissen gebeurtenissen;
        Regels regels;
    };
    const std::string eersteTap =
        "Eerste modificatietoets ontvangen via CGEventTap (Invoermonitoring)";
    const std::string eersteNs =
        "Eerste modificatietoets ontvangen via NSEvent-monitor (Toegankelijkheid)";
    const Geval gevallen[] = {
        {"andere kandidaten een keer gemeld", HoudToets::rechterOption, true,
         Gebeurtenissen{mod(fnCode, V::fn), mod(fnCode, 0), mod(fnCode, V::fn), mod(fnCode, 0),
                        mod(rechterCommandCode, rCmd), mod(rechterCommandCode, 0),
                        mod(linkerOptionCode, lOpt), mod(linkerOptionCode, 0)},
         Regels{eersteTap, "Fn (wereldbol) gezien, maar de houdtoets is Rechter Option (⌥)",
                "Rechter Command (⌘) gezien, maar de houdtoets is Rechter Option (⌥)"}},
        {"houdtoets alleen bij een wissel van stand", HoudToets::fn, false,
         Gebeurtenissen{mod(fnCode, 0), mod(fnCode, V::fn), mod(fnCode, V::fn), omlaag(pijlLinks),
                        mod(fnCode, 0), mod(rechterOptionCode, rOpt)},
         Regels{eersteNs, "Houdtoets ingedrukt", "Houdtoets losgelaten",
                "Rechter Option (⌥) gezien, maar de houdtoets is Fn (wereldbol)"}},
        {"uit", HoudToets::uit, true,
         Gebeurtenissen{mod(rechterOptionCode, rOpt), mod(rechterOptionCode, 0),
                        mod(rechterOptionCode, rOpt)},
         Regels{eersteTap, "Rechter Option (⌥) gezien, maar de houdtoets is Uit"}},
        {"alleen toetsomlaag: niets", HoudToets::fn, true, Gebeurtenissen{omlaag(pijlLinks)},
         Regels{}},
    };
    for (const Geval& g : gevallen) {
        maak(g.toets, true);
        monitor->start(g.viaTap, true);
        log.clear();
        for (const Gebeurtenis& e : g.gebeurtenissen) {
            bron.toets(e);
            lus.verstrijk(0.5);
        }
        EXPECT_EQ(nieuweRegels(), g.regels) << g.naam;
    }
}

TEST_F(SneltoetsMonitorTest, ChangingTheHoldKeyReportsCandidatesAgain) {
    monitor->start(true, false);
    bron.toets(mod(fnCode, V::fn));
    bron.toets(mod(fnCode, 0));
    monitor->zetHoudToets(HoudToets::rechterOption);
    bron.toets(mod(fnCode, V::fn));
    const std::string regel = "Fn (wereldbol) gezien, maar de houdtoets is Rechter Option (⌥)";
    EXPECT_EQ(nieuweRegels(),
              (Regels{tapGemaakt, viaTap,
                      "Eerste modificatietoets ontvangen via CGEventTap (Invoermonitoring)", regel,
                      regel}));
}

TEST_F(SneltoetsMonitorTest, NothingHappensOnceTheMonitorIsGone) {
    ASSERT_TRUE(monitor->registreerWissel(Toetscombinatie{2, {1 | 2}, "D"}));
    monitor->start(true, true);
    bron.tapLevert = false;
    bron.toets(mod(rechterOptionCode, rOpt));  // a witness check is now pending
    bron.tapLevert = true;
    bron.toets(mod(rechterOptionCode, rOpt));  // begin: a posted decision and the safety net
    nieuweRegels();
    nieuweVerzoeken();
    monitor.reset();
    const Regels weg = nieuweVerzoeken();
    for (const char* v : {"tap weg", "globale monitor weg", "lokale monitor weg", "wissel weg ⌃⌥D",
                          "wisselhandler weg"}) {
        EXPECT_NE(std::find(weg.begin(), weg.end(), v), weg.end()) << v;
    }
    lus.verstrijk(5.0);
    bron.oudeTapHandler(mod(rechterOptionCode, 0));
    bron.oudeGlobaleHandler(mod(rechterOptionCode, 0));
    bron.oudeTapUitHandler(ToetsBron::TapUit::timeOut);
    bron.oudeWisselHandler();
    lus.verstrijk(5.0);
    EXPECT_TRUE(acties.empty());
    EXPECT_TRUE(log.empty());
    EXPECT_EQ(wissels, 0);
    EXPECT_TRUE(bron.verzoeken.empty());
}

TEST_F(SneltoetsMonitorTest, ToggleRegistration) {
    using M = Toetscombinatie::Modificaties;
    const Toetscombinatie d{2, {M::control | M::option}, "D"};
    const Toetscombinatie k{40, {M::shift | M::command}, "K"};
    const Toetscombinatie alleenShift{40, {M::shift}, "K"};
    const Toetscombinatie bezet{3, {M::command}, "F"};
    bron.bezet = {bezet};
    struct Stap {
        const char* naam;
        std::optional<Toetscombinatie> combinatie;  // empty: verwijderWissel
        bool verwijder;
        bool verwacht;
        Regels verzoeken;
        std::optional<Toetscombinatie> geregistreerd;
    };
    const Stap stappen[] = {
        {"eerste", d, false, true, {"wisselhandler", "registreer ⌃⌥D"}, d},
        {"vervangen, handler blijft", k, false, true, {"wissel weg ⌃⌥D", "registreer ⇧⌘K"}, k},
        {"ongeldig: oude weg, toch true", alleenShift, false, true, Regels{"wissel weg ⇧⌘K"},
         std::nullopt},
        {"opnieuw", d, false, true, {"registreer ⌃⌥D"}, d},
        {"afwezig: oude weg, true", std::nullopt, false, true, {"wissel weg ⌃⌥D"}, std::nullopt},
        {"bezet: false, niets bewaard", bezet, false, false, {"registreer ⌘F"}, std::nullopt},
        {"na weigering opnieuw", k, false, true, {"registreer ⇧⌘K"}, k},
        {"verwijderen", std::nullopt, true, true, {"wissel weg ⇧⌘K"}, std::nullopt},
        {"verwijderen zonder registratie", std::nullopt, true, true, {}, std::nullopt},
    };
    for (const Stap& s : stappen) {
        bool kreeg = true;
        if (s.verwijder) {
            monitor->verwijderWissel();
        } else {
            kreeg = monitor->registreerWissel(s.combinatie);
        }
        EXPECT_EQ(kreeg, s.verwacht) << s.naam;
        EXPECT_EQ(nieuweVerzoeken(), s.verzoeken) << s.naam;
        EXPECT_EQ(bron.geregistreerd, s.geregistreerd) << s.naam;
        const int voor = wissels;
        bron.drukWissel();
        EXPECT_EQ(wissels - voor, s.geregistreerd ? 1 : 0) << s.naam;
    }
    // The hot key is apart from hold-key observation.
    monitor->registreerWissel(d);
    monitor->start(false, false);
    monitor->stop();
    bron.drukWissel();
    EXPECT_EQ(bron.geregistreerd, d);
}

TEST_F(SneltoetsMonitorTest, ToggleWithoutHandlerIsNotRegistered) {
    bron.handlerLukt = false;
    EXPECT_FALSE(monitor->registreerWissel(Toetscombinatie{2, {1}, "D"}));
    EXPECT_EQ(nieuweVerzoeken(), Regels{"wisselhandler"});
    bron.handlerLukt = true;
    EXPECT_TRUE(monitor->registreerWissel(Toetscombinatie{2, {1}, "D"}));
    EXPECT_EQ(nieuweVerzoeken(), (Regels{"wisselhandler", "registreer ⌃D"}));
}

}  // namespace
}  // namespace tolmo
