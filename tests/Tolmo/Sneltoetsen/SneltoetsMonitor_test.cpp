#include "Tolmo/Sneltoetsen/SneltoetsMonitor.h"

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <utility>
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
const std::string eersteTap = "Eerste modificatietoets ontvangen via CGEventTap (Invoermonitoring)";
const std::string tapDood =
    "CGEventTap ontvangt geen toetsen terwijl de NSEvent-monitor ze wel ziet: Invoermonitoring "
    "werkt niet voor deze versie";

using Acties = std::vector<Actie>;

// A monitor on a fake key source and a fake clock, keeping what it tells its owner.
struct Opstelling {
    nep::NepToetsBron bron;
    nep::NepHoofdLus lus;
    Regels log;
    Acties acties;
    int wissels = 0;
    std::unique_ptr<SneltoetsMonitor> monitor;

    explicit Opstelling(HoudToets toets = HoudToets::rechterOption)
        : monitor(std::make_unique<SneltoetsMonitor>(bron, lus, toets)) {
        monitor->opHoudActie = [this](Actie a) { acties.push_back(a); };
        monitor->opWissel = [this] { ++wissels; };
        monitor->opLog = [this](const std::string& r) { log.push_back(r); };
    }
    // The log lines, decisions and requests since the last call.
    Regels nieuweRegels() { return std::exchange(log, {}); }
    Acties nieuweActies() { return std::exchange(acties, {}); }
    Regels nieuweVerzoeken() { return std::exchange(bron.verzoeken, {}); }
};

class SneltoetsMonitorTest : public ::testing::Test, public Opstelling {};

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
        SCOPED_TRACE(g.naam);
        Opstelling o;
        o.bron.tapLukt = g.tapLukt;
        o.bron.tapGaatAan = g.tapGaatAan;
        o.bron.globaleMonitorLukt = g.globaleMonitorLukt;
        o.monitor->start(g.invoermonitoring, g.toegankelijkheid);
        EXPECT_EQ(o.monitor->mechanisme(), g.verwacht);
        EXPECT_EQ(o.nieuweRegels(), g.regels);
        EXPECT_EQ(o.nieuweVerzoeken(), g.verzoeken);
        // A refused tap stays refused until the app is restarted; a granted one is made anew
        // after a stop.
        EXPECT_EQ(o.monitor->tapMislukt(), !g.tapLukt && g.invoermonitoring);
        o.bron.tapLukt = true;
        o.monitor->stop();
        o.monitor->start(g.invoermonitoring, g.toegankelijkheid);
        EXPECT_EQ(std::ranges::count(o.nieuweVerzoeken(), "maakTap"),
                  g.invoermonitoring && g.tapLukt ? 1 : 0);
    }
}

// The monitors witness the tap: a modifier change they saw and the tap missed counts 0.3 s later,
// a key the tap delivers clears the count, and two misses in a row hand the hold key to the
// monitors for good. The hold key's log lines are pinned with the controller
// (DictaatRegelaar.HoldKeyAndCancellation) and in ModifierLogging.
TEST_F(SneltoetsMonitorTest, TheMonitorsWitnessTheTap) {
    monitor->start(true, true);
    // A working tap decides alone, on the main loop, and nothing counts as missed.
    bron.toets(mod(rechterOptionCode, rOpt));
    EXPECT_TRUE(acties.empty()) << "the owner never runs inside the event callback";
    lus.verstrijk(0.4);
    bron.toets(mod(rechterOptionCode, 0));
    lus.verstrijk(2.0);
    EXPECT_EQ(nieuweActies(), (Acties{Actie::begin, Actie::einde}));
    EXPECT_EQ(monitor->tapGemist(), 0);

    // The tap falls silent. A miss whose check comes after a stop counts for nothing.
    bron.tapLevert = false;
    bron.toets(mod(linkerOptionCode, lOpt));
    monitor->stop();
    lus.verstrijk(1.0);
    EXPECT_EQ(monitor->tapGemist(), 0);
    monitor->start(true, true);
    nieuweRegels();

    bron.toets(mod(linkerOptionCode, 0));
    lus.verstrijk(0.29);
    EXPECT_EQ(monitor->tapGemist(), 0) << "checked only after 0.3 s";
    lus.verstrijk(0.01);
    EXPECT_EQ(monitor->tapGemist(), 1);
    // Key-downs are no witnesses; a key the tap delivers proves it alive.
    bron.toets(omlaag(letterE));
    lus.verstrijk(1.0);
    EXPECT_EQ(monitor->tapGemist(), 1);
    bron.tapLevert = true;
    bron.toets(omlaag(letterE));
    EXPECT_EQ(monitor->tapGemist(), 0);
    bron.tapLevert = false;
    for (const std::uint64_t vlaggen : {lOpt, std::uint64_t{0}}) {
        lus.verstrijk(1.5);
        bron.toets(mod(linkerOptionCode, vlaggen));
        lus.verstrijk(0.3);
        EXPECT_EQ(monitor->mechanisme(), vlaggen ? Mechanisme::tap : Mechanisme::nsEvent);
    }
    EXPECT_TRUE(monitor->tapLevertNiets());
    EXPECT_EQ(nieuweRegels(), (Regels{tapDood, viaNsEvent})) << "a single miss is not logged";
    EXPECT_TRUE(acties.empty());

    // From now on the monitors decide, and the tap is not chosen again.
    bron.toets(mod(rechterOptionCode, rOpt));
    lus.verstrijk(0.5);
    bron.toets(mod(rechterOptionCode, 0));
    lus.draai();
    EXPECT_EQ(nieuweActies(), (Acties{Actie::begin, Actie::einde}));
    monitor->start(true, true);
    EXPECT_EQ(monitor->mechanisme(), Mechanisme::nsEvent);
}

// The paste keystroke Tolmo posts reaches its own tap and monitors like any key; it must not
// cancel a hold the user has just begun, on either path, while the user's own key still does.
TEST(SneltoetsMonitorEigen, KeysWePostedOurselvesAreNeverAnotherKey) {
    for (const bool invoermonitoring : {true, false}) {
        Opstelling o;
        o.monitor->start(invoermonitoring, true);
        ASSERT_EQ(o.monitor->mechanisme(),
                  invoermonitoring ? Mechanisme::tap : Mechanisme::nsEvent);
        o.bron.toets(mod(rechterOptionCode, rOpt));
        o.lus.verstrijk(0.5);
        Gebeurtenis plakken = omlaag(9);
        plakken.eigen = true;
        o.bron.toets(plakken);
        o.lus.verstrijk(0.1);
        EXPECT_EQ(o.nieuweActies(), (Acties{Actie::begin})) << invoermonitoring;
        o.bron.toets(omlaag(9));
        o.lus.verstrijk(0.1);
        EXPECT_EQ(o.nieuweActies(), (Acties{Actie::annuleer})) << invoermonitoring;
    }
}

// Only a change after more than a second of the tap's silence counts as missed.
TEST_F(SneltoetsMonitorTest, WitnessCountsOnlyChangesTheTapMissedForOverASecond) {
    for (const auto& [stilte, gemist] : {std::pair{1.0, 0}, std::pair{1.001, 1}}) {
        Opstelling o;
        o.monitor->start(true, true);
        o.bron.toets(mod(linkerOptionCode, lOpt));
        o.bron.toets(mod(linkerOptionCode, 0));
        o.bron.tapLevert = false;
        o.lus.verstrijk(stilte);
        o.bron.toets(mod(linkerOptionCode, lOpt));
        o.lus.verstrijk(0.3);
        EXPECT_EQ(o.monitor->tapGemist(), gemist) << stilte << " s";
    }
}

// While a hold lasts the session state is polled every quarter second, counted from the press:
// a release the events missed ends the hold at the second poll after it, not a moment earlier
// (a poll too soon or too often) and not later.
TEST_F(SneltoetsMonitorTest, SafetyNetEndsAHoldWhoseReleaseWasMissed) {
    const auto losNaEenHalveSeconde = [&] {
        bron.sessie = V{};
        lus.verstrijk(0.49609375);
        EXPECT_TRUE(nieuweActies().empty());
        lus.verstrijk(0.00390625);
        EXPECT_EQ(nieuweActies(), Acties{Actie::einde});
        EXPECT_EQ(lus.actieveTimers(), 0);
    };
    monitor->start(true, false);
    lus.verstrijk(0.125);
    bron.toets(mod(rechterOptionCode, rOpt));
    lus.draai();
    EXPECT_EQ(nieuweActies(), Acties{Actie::begin});
    EXPECT_EQ(lus.actieveTimers(), 1);
    losNaEenHalveSeconde();
    // The logged state was cleared with it, so the next press is logged again.
    nieuweRegels();
    bron.toets(mod(rechterOptionCode, rOpt));
    EXPECT_EQ(nieuweRegels(), Regels{"Houdtoets ingedrukt"});

    // While the session still shows the generic bit the hold goes on, however long.
    bron.sessie = V{V::option};
    lus.verstrijk(10.0625);
    EXPECT_EQ(nieuweActies(), Acties{Actie::begin});
    // A new hold starts the polls anew from its own press, and never adds a second timer.
    bron.toets(mod(rechterOptionCode, 0));
    bron.toets(mod(rechterOptionCode, rOpt));
    lus.draai();
    EXPECT_EQ(nieuweActies(), (Acties{Actie::einde, Actie::begin}));
    EXPECT_EQ(lus.actieveTimers(), 1);
    losNaEenHalveSeconde();
}

// A hold in progress is cancelled, the new key works at once, and keys that could be the hold
// key are reported anew (once per hold key).
TEST_F(SneltoetsMonitorTest, ChangingTheHoldKey) {
    const std::string fnGezien = "Fn (wereldbol) gezien, maar de houdtoets is Rechter Option (⌥)";
    const std::string in = "Houdtoets ingedrukt";
    monitor->start(true, false);
    nieuweRegels();
    bron.toets(mod(fnCode, V::fn));
    bron.toets(mod(fnCode, 0));
    bron.toets(mod(rechterOptionCode, rOpt));
    lus.draai();
    monitor->zetHoudToets(HoudToets::fn);
    lus.draai();
    EXPECT_EQ(nieuweActies(), (Acties{Actie::begin, Actie::annuleer}));
    EXPECT_EQ(lus.actieveTimers(), 0);

    bron.toets(mod(rechterOptionCode, 0));
    bron.toets(mod(fnCode, V::fn));
    lus.verstrijk(1.0);
    bron.toets(mod(fnCode, 0));
    lus.draai();
    EXPECT_EQ(nieuweActies(), (Acties{Actie::begin, Actie::einde}));

    // Without a hold nothing is delivered.
    monitor->zetHoudToets(HoudToets::rechterOption);
    lus.draai();
    EXPECT_TRUE(acties.empty());
    bron.toets(mod(fnCode, V::fn));
    EXPECT_EQ(nieuweRegels(),
              (Regels{eersteTap, fnGezien, in, in, "Houdtoets losgelaten", fnGezien}));
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
    // The system switches a tap off now and then; it is switched on again at once.
    bron.zetTapUit(ToetsBron::TapUit::timeOut);
    bron.zetTapUit(ToetsBron::TapUit::gebruikersInvoer);
    EXPECT_EQ(nieuweVerzoeken(), (Regels{"tap aan", "tap aan"}));
    EXPECT_TRUE(bron.tapAan);
    EXPECT_EQ(nieuweRegels(), (Regels{"CGEventTap stond uit (time-out), weer aangezet",
                                      "CGEventTap stond uit (gebruikersinvoer), weer aangezet"}));
}

TEST_F(SneltoetsMonitorTest, AHoldCannotSurviveAChangeOfMechanism) {
    monitor->start(false, true);
    bron.toets(mod(rechterOptionCode, rOpt));
    lus.draai();
    monitor->start(true, true);
    lus.draai();
    EXPECT_EQ(nieuweActies(), (Acties{Actie::begin, Actie::annuleer}));
    EXPECT_EQ(lus.actieveTimers(), 0);
    // The key still down from before: its release through the tap is not a hold.
    bron.toets(mod(rechterOptionCode, 0));
    lus.draai();
    EXPECT_TRUE(acties.empty());
    // Same mechanism again: nothing is cancelled. Nor by a stop: the owner cancels a running
    // hold itself.
    bron.toets(mod(rechterOptionCode, rOpt));
    monitor->start(true, true);
    nieuweVerzoeken();
    monitor->stop();
    lus.verstrijk(5.0);
    EXPECT_EQ(nieuweActies(), Acties{Actie::begin});
    EXPECT_EQ(nieuweVerzoeken(), (Regels{"tap weg", "globale monitor weg", "lokale monitor weg"}));
    EXPECT_EQ(monitor->mechanisme(), Mechanisme::geen);
    EXPECT_FALSE(monitor->herkenner().houdtVast());
    EXPECT_EQ(lus.actieveTimers(), 0) << "the safety net goes with the stop";
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
        Opstelling o(g.toets);
        o.monitor->start(g.viaTap, true);
        o.nieuweRegels();
        for (const Gebeurtenis& e : g.gebeurtenissen) {
            o.bron.toets(e);
            o.lus.verstrijk(0.5);
        }
        EXPECT_EQ(o.nieuweRegels(), g.regels) << g.naam;
    }
}

TEST_F(SneltoetsMonitorTest, NothingHappensOnceTheMonitorIsGone) {
    ASSERT_TRUE(monitor->registreerWissel(Toetscombinatie{2, {1 | 2}, "D"}));
    monitor->start(true, true);
    bron.tapLevert = false;
    bron.toets(mod(rechterOptionCode, rOpt));  // a witness check is now pending
    bron.tapLevert = true;
    bron.toets(mod(rechterOptionCode, rOpt));  // begin: a posted decision and the safety net
    nieuweRegels();
    monitor.reset();
    EXPECT_TRUE(bron.levend.empty()) << "every registration is removed";
    nieuweVerzoeken();
    lus.verstrijk(5.0);
    bron.tapHandler(mod(rechterOptionCode, 0));
    bron.globaleHandler(mod(rechterOptionCode, 0));
    bron.tapUitHandler(ToetsBron::TapUit::timeOut);
    bron.wisselHandler();
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
        bool handlerLukt = true;
    };
    const Stap stappen[] = {
        // Registered without a handler, the combination would be taken from other apps and
        // still do nothing here.
        {"geen handler", d, false, false, {"wisselhandler"}, std::nullopt, false},
        {"eerste", d, false, true, {"wisselhandler", "registreer ⌃⌥D"}, d},
        {"vervangen, handler blijft", k, false, true, {"registreer ⌃⌥D weg", "registreer ⇧⌘K"}, k},
        {"ongeldig: oude weg, toch true", alleenShift, false, true, Regels{"registreer ⇧⌘K weg"},
         std::nullopt},
        {"opnieuw", d, false, true, {"registreer ⌃⌥D"}, d},
        {"afwezig: oude weg, true", std::nullopt, false, true, Regels{"registreer ⌃⌥D weg"},
         std::nullopt},
        {"bezet: false, niets bewaard", bezet, false, false, {"registreer ⌘F"}, std::nullopt},
        {"na weigering opnieuw", k, false, true, {"registreer ⇧⌘K"}, k},
        {"verwijderen", std::nullopt, true, true, {"registreer ⇧⌘K weg"}, std::nullopt},
        {"verwijderen zonder registratie", std::nullopt, true, true, {}, std::nullopt},
    };
    for (const Stap& s : stappen) {
        bron.handlerLukt = s.handlerLukt;
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

}  // namespace
}  // namespace tolmo
