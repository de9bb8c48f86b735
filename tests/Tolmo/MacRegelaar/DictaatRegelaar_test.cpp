#include "Tolmo/MacRegelaar/DictaatRegelaar.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Opstelling.h"

namespace tolmo::test {
namespace {

using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsEmpty;
using ::testing::MatchesRegex;

using Meldingen = std::vector<Melding>;

const std::string gestart = "Dictaat gestart (menu, stijl zakelijk, ruisonderdrukking actief)";
const std::string opname = "Opname 1,3 s, 2 kB";

Melding fout(const std::string& tekst) {
    return {tekst, true, std::nullopt};
}

// The timings line; the transcription's own time is real time, so any value goes there.
::testing::Matcher<const std::string&> tijden(const std::string& rest) {
    return MatchesRegex("Tijden: opname 1,3 s, upload\\+transcriptie [0-9]+,[0-9][0-9] s, " + rest);
}

// The whole road from the press to the paste, for each way the paste can end.
TEST(DictaatRegelaar, PastesTheResultOrLeavesItOnTheClipboard) {
    struct Geval {
        const char* naam;
        bool toegankelijkheid;
        bool herstel;
        std::optional<Doel> doelBijStart;
        std::optional<Doel> doelBijResultaat;
        std::string plakRegel;
        Meldingen meldingen;
        // The clipboard after the paste and its restore.
        std::string klembordDaarna;
        int plakToetsen;
        // The chord of the app in front, where the platform knows one per app.
        std::optional<std::string> appToets = std::nullopt;
    };
    const auto mail = nep::nepDoel(42, "com.apple.mail", 7);
    const std::string naarKlembord = ": tekst op het klembord gezet";
    const std::string zin = "We gebruiken ChatGPT op de iPhone.";
    const Meldingen gewisseld{
        {"Je wisselde van app of veld tijdens het verwerken. Plak met ⌘V waar je wilt.", false,
         "Tekst staat op je klembord"}};
    const Meldingen geen;
    const Geval gevallen[] = {
        {"geplakt, klembord blijft", true, false, mail, mail,
         "Cmd+V verstuurd, tekst blijft op het klembord", geen, zin, 1},
        {"geplakt, klembord terug", true, true, mail, mail,
         "Cmd+V verstuurd, vorig klembord wordt teruggezet", geen, "van de gebruiker", 1},
        {"geen toegankelijkheid", false, true, mail, mail, "Geen Toegankelijkheid" + naarKlembord,
         Meldingen{{"Plak met ⌘V. Sta Toegankelijkheid toe, dan plakt Tolmo zelf.", false,
                    "Tekst staat op het klembord"}},
         zin, 0},
        // Which target counts as another is the core's decision (PlakDoel's own test); here
        // each reason's line.
        {"andere app", true, true, mail, nep::nepDoel(43, "com.apple.Notes", 7),
         "Niet geplakt (andere app dan bij de start)" + naarKlembord, gewisseld, zin, 0},
        {"zelfde app, ander veld", true, true, mail, nep::nepDoel(42, "com.apple.mail", 8),
         "Niet geplakt (ander veld dan bij de start)" + naarKlembord, gewisseld, zin, 0},
        {"geen app meer voorin", true, true, mail, std::nullopt,
         "Niet geplakt (doel onbekend dan bij de start)" + naarKlembord, gewisseld, zin, 0},
        // Log and messages name the chord that was sent, or that works in the app in front.
        {"terminal", true, true, mail, mail,
         "Ctrl+Shift+V verstuurd, vorig klembord wordt teruggezet", geen, "van de gebruiker", 1,
         "Ctrl+Shift+V"},
        {"naar xterm gewisseld", true, true, mail, nep::nepDoel(43, "xterm", 7),
         "Niet geplakt (andere app dan bij de start)" + naarKlembord,
         Meldingen{{"Je wisselde van app of veld tijdens het verwerken. Plak met Shift+Insert "
                    "waar je wilt.",
                    false, "Tekst staat op je klembord"}},
         zin, 0, "Shift+Insert"},
    };
    for (const Geval& g : gevallen) {
        SCOPED_TRACE(g.naam);
        Opstelling o;
        o.transcript = "we gebruiken chat gpt op de iphone";
        o.schoon = zin;
        o.toestemmingen.toegang = g.toegankelijkheid;
        o.standaard.zet("mac.klembordHerstellen", g.herstel);
        o.klembord.kopieer("van de gebruiker");
        o.klembord.appToets = g.appToets;
        o.focus.doel = g.doelBijStart;
        o.maak();
        o.neemOp(2.0, 2047);  // one byte short of 2 kB
        o.regelaar->stop();
        o.focus.doel = g.doelBijResultaat;
        o.lus.verstrijk(1.25);
        o.verwerk();
        EXPECT_THAT(o.nieuweRegels(),
                    ElementsAre(gestart, "Opname 1,3 s, 1 kB",
                                tijden("opschonen overgeslagen \\(kort dictaat\\), totaal 3,25 s"),
                                "Resultaat klaar: 34 tekens ruw, 34 tekens klaar", g.plakRegel,
                                "2 voorstel(len) voor de woordenlijst"));
        o.lus.verstrijk(1.0);
        EXPECT_EQ(o.meldingen.getoond, g.meldingen);
        EXPECT_EQ(o.klembord.geplakt, Regels(g.plakToetsen, zin));
        EXPECT_EQ(o.klembord.tekst(), g.klembordDaarna);
        EXPECT_THAT(o.regelaar->woordVoorstellen(), ElementsAre("ChatGPT", "iPhone"));
        EXPECT_EQ(o.regelaar->laatsteDictaat()->tekst, zin);
    }
}

// The target passed the check when the second result came, then changed while that paste
// waited for the first one's restore: it is checked again right before pasting.
TEST(DictaatRegelaar, TheTargetIsCheckedAgainWhenAWaitingPasteIsDue) {
    Opstelling o;
    o.klembord.kopieer("van de gebruiker");
    o.maak();
    o.transcript = "eerste dictaat";
    o.dicteer();
    o.transcript = "tweede dictaat";
    o.regelaar->start(Bron::menu);
    o.spreek(5);
    o.lus.verstrijk(0.3);
    o.regelaar->stop();
    o.verwerk();
    EXPECT_EQ(o.klembord.geplakt.size(), 1U) << "the second paste waits";
    o.lus.verstrijk(0.1);
    o.focus.doel = nep::nepDoel(42, "com.apple.mail", 9);
    o.lus.verstrijk(2.0);

    EXPECT_EQ(o.klembord.geplakt, Regels{"eerste dictaat"});
    EXPECT_EQ(o.klembord.tekst(), "tweede dictaat");
    EXPECT_EQ(o.nieuweRegels().back(),
              "Niet geplakt (doel veranderd vlak voor plakken): tekst op het klembord gezet");
    EXPECT_THAT(o.meldingen.getoond, ElementsAre(Melding{"Tekst staat op je klembord. Plak met ⌘V.",
                                                         false, std::nullopt}));
}

// A password field never gets the text: not when it had focus at the start, nor when it has it
// now. The text waits on the clipboard, marked for clipboard managers and kept nowhere else,
// until the user's own clipboard comes back.
TEST(DictaatRegelaar, APasswordFieldIsNeverPastedInto) {
    const auto wachtwoord = nep::nepDoel(42, "com.apple.mail", 7, InvoerSoort::gewoon, true);
    for (const bool bijStart : {true, false}) {
        Opstelling o;  // restoring the clipboard is on by default
        o.klembord.kopieer("van de gebruiker");
        o.focus.doel = bijStart ? wachtwoord : *o.focus.doel;
        o.tijdensTranscriptie = [&] { o.focus.doel = wachtwoord; };
        o.maak();
        o.dicteer();
        o.lus.verstrijk(3.0);
        EXPECT_TRUE(o.klembord.geplakt.empty()) << bijStart;
        EXPECT_EQ(o.klembord.tekst(), "dit is een korte test");
        EXPECT_EQ(o.klembord.items.at(0).back().first, "org.nspasteboard.TransientType");
        const auto regels = o.nieuweRegels();
        for (const auto& regel : regels) {
            EXPECT_EQ(regel.find("korte test"), std::string::npos) << regel;
        }
        EXPECT_EQ(regels.back(), "Wachtwoordveld: niet geplakt, tekst op het klembord gezet");
        EXPECT_THAT(o.meldingen.getoond,
                    ElementsAre(Melding{"Wachtwoordveld: de tekst staat op het klembord en is niet "
                                        "geplakt. Plak zelf met ⌘V als je dat wilt.",
                                        false, std::nullopt}));
        EXPECT_EQ(o.regelaar->laatsteDictaat().has_value(), !bijStart);
        o.lus.verstrijk(Plakker::geheimBewaartijd);
        EXPECT_EQ(o.klembord.tekst(), "van de gebruiker");
    }
}

// The app's own row wins over the kind of field; without one the field decides.
TEST(DictaatRegelaar, TheFieldKindChoosesTheStyle) {
    struct Geval {
        const char* app;
        InvoerSoort soort;
        bool geheim;
        Stijl verwacht;
    };
    const Geval gevallen[] = {
        {"com.apple.mail", InvoerSoort::zoeken, false, Stijl::zakelijk},
        {"com.apple.mail", InvoerSoort::gewoon, true, Stijl::letterlijk},
        {"org.mozilla.firefox", InvoerSoort::adres, false, Stijl::letterlijk},
    };
    for (const Geval& g : gevallen) {
        Opstelling o;
        o.focus.doel = nep::nepDoel(42, g.app, 7, g.soort, g.geheim);
        o.maak();
        o.regelaar->start(Bron::menu);
        EXPECT_EQ(o.regelaar->dictaatStijl(), g.verwacht)
            << g.app << " " << invoerSoortWaarden.naam(g.soort);
    }
}

// Every way the microphone can change under a running recording, early and late. A recording
// that goes on is stopped later; whatever was recorded by then is sent and pasted.
TEST(DictaatRegelaar, AudioConfigurationChanges) {
    struct Geval {
        const char* naam;
        double naStart;
        std::function<void(Opstelling&)> wijzig;
        // The state right after the change, and every line from then until after the stop.
        Toestand toestand;
        Regels regels;
        std::vector<Melding> meldingen;
        int plakToetsen;
    };
    const auto zelfde = [](Opstelling&) {};
    const auto bluetooth = [](Opstelling& o) { o.engine.speelAf({{mono16, mono16}}); };
    const auto weg = [](Opstelling& o) { o.engine.speelAf({{geenFormaat, geenFormaat}}); };
    const auto startFaalt = [](Opstelling& o) { o.engine.startFaalt = true; };
    const std::string loopt = "Audio-instellingen veranderd, opname loopt door";
    const auto opnemenMislukt = Meldingen{fout("Opnemen lukte niet. Probeer het opnieuw.")};
    const Meldingen geen;
    using T = Toestand;
    const Geval gevallen[] = {
        {"zelfde formaat", 5.0, zelfde, T::neemtOp, Regels{loopt, "Opname 2,6 s, 2 kB"}, geen, 1},
        // A buffer in a format the converter cannot take ends what the file receives, but the
        // recording is still in progress for the restart; stop reports the broken file.
        {"opname al afgebroken", 5.0,
         [](Opstelling& o) {
             o.omzetters.weigert = true;
             const nep::NepBuffer b(mono16, 512, 0.1);
             o.engine.lever(b.blok());
         },
         T::neemtOp,
         Regels{loopt,
                "Schrijven audio mislukt, dictaat gaat niet door: Audio omzetten naar 16 "
                "kHz mislukt."},
         opnemenMislukt, 0},
        // The duration adds up across the two formats: 1.28 s at 48 kHz, then 3.84 s at 16 kHz.
        {"ander formaat", 5.0, bluetooth, T::neemtOp,
         Regels{"Audio-instellingen veranderd, andere microfoonformaat: opname loopt door in "
                "hetzelfde bestand",
                "Opname 5,1 s, 2 kB"},
         geen, 1},
        {"ander formaat vlak na de start", 0.2, bluetooth, T::neemtOp,
         Regels{"Microfoon schakelde vlak na de start om (bijvoorbeeld Bluetooth), opnieuw gestart "
                "met het nieuwe formaat",
                "Opname 5,1 s, 2 kB"},
         geen, 1},
        {"herstart mislukt", 5.0, startFaalt, T::verwerken,
         Regels{"Microfoon opnieuw starten mislukt, dictaat afgerond met de audio tot nu toe: "
                "engine start mislukt",
                opname},
         geen, 1},
        {"herstart mislukt vlak na de start", 0.99, startFaalt, T::klaar,
         Regels{"Microfoon opnieuw starten vlak na de start mislukt, niets verstuurd: engine "
                "start mislukt"},
         opnemenMislukt, 0},
        {"microfoon weg", 1.0, weg, T::verwerken,
         Regels{"Audio-instellingen veranderd, microfoon niet meer bruikbaar: dictaat afgerond met "
                "de audio tot nu toe",
                opname},
         geen, 1},
        {"microfoon weg vlak na de start", 0.2, weg, T::klaar,
         Regels{"Opname onderbroken: de microfoon was vlak na de start niet bruikbaar, niets "
                "verstuurd"},
         Meldingen{fout("Opname starten mislukt. Is er een microfoon?")}, 0},
    };
    for (const Geval& g : gevallen) {
        SCOPED_TRACE(g.naam);
        Opstelling o;
        o.maak();
        o.neemOp(g.naStart);
        g.wijzig(o);
        o.engine.meldWijziging();
        EXPECT_THAT(o.nieuweRegels(), ElementsAre(gestart))
            << "nothing happens on the audio thread";
        o.lus.draai();
        EXPECT_EQ(o.regelaar->toestand(), g.toestand);
        EXPECT_EQ(o.engine.draait, g.toestand == Toestand::neemtOp);
        EXPECT_EQ(o.indicator.zichtbaar, g.toestand != Toestand::klaar);
        o.spreek();
        o.regelaar->stop();
        EXPECT_THAT(o.nieuweRegels(), ElementsAreArray(g.regels));
        if (!o.werker.wachtend.empty()) {
            o.verwerk();
        }
        EXPECT_EQ(o.meldingen.getoond, g.meldingen);
        EXPECT_EQ(o.klembord.geplakt, Regels(g.plakToetsen, o.transcript));
        EXPECT_EQ(o.regelaar->toestand(), Toestand::klaar);
        EXPECT_FALSE(o.indicator.zichtbaar);
        EXPECT_EQ(o.opnamesOpSchijf(), 0);
        EXPECT_FALSE(o.engine.draait);
    }
}

// What the hold key may end: its own dictation, when let go after a hold (a short tap, another
// key while it is down, Esc or choosing another hold key cancel it instead), and never one
// started from the menu or the toggle combination (the control command starts as the latter).
TEST(DictaatRegelaar, HoldKeyAndCancellation) {
    const ToetsBron::Gebeurtenis e{ToetsBron::Soort::toetsOmlaag, 14, ToetsVlaggen{}};
    const auto gestartVia = [](Bron b) {
        const char* bron = b == Bron::houdtoets ? "houdtoets"
                           : b == Bron::menu    ? "menu"
                                                : "wisselsneltoets";
        return "Dictaat gestart (" + std::string(bron) +
               ", stijl zakelijk, ruisonderdrukking actief)";
    };
    // The monitor's own lines come through the same log.
    const std::string eerste =
        "Eerste modificatietoets ontvangen via CGEventTap (Invoermonitoring)";
    const std::string in = "Houdtoets ingedrukt";
    const std::string uit = "Houdtoets losgelaten";
    const std::string tik = "Opname geannuleerd (korte tik of toetscombinatie)";
    const auto laatLos = [](Opstelling& o) { o.toetsen.toets(optionLos); };
    const auto combinatie = [&](Opstelling& o) { o.toetsen.toets(e); };
    const auto esc = [](Opstelling& o) { o.regelaar->annuleer(); };
    // Letting go of the old key afterwards starts or stops nothing.
    const auto andereHoudtoets = [](Opstelling& o) {
        o.regelaar->zetHoudToets(HoudToets::rechterCommand);
        o.lus.draai();
        o.toetsen.toets(optionLos);
    };
    const auto tienMinuten = [](Opstelling& o) {
        EXPECT_EQ(o.regelaar->toestand(), Toestand::neemtOp);
        o.lus.verstrijk(0.1);
    };
    struct Geval {
        const char* naam;
        Bron bron;
        double duur;
        std::function<void(Opstelling&)> einde;
        // The lines after the start and the press.
        Regels staart;
        Toestand toestand;
    };
    using T = Toestand;
    const auto houd = Bron::houdtoets;
    const auto menu = Bron::menu;
    const auto wissel = Bron::wisselsneltoets;
    const double tien = DictaatRegelaar::maximumOpnameDuur - 0.1;
    const Geval gevallen[] = {
        {"vastgehouden", houd, 1.0, laatLos, Regels{uit, opname}, T::verwerken},
        {"korte tik", houd, 0.2, laatLos, Regels{uit, tik}, T::klaar},
        {"toetscombinatie", houd, 1.0, combinatie, Regels{tik}, T::klaar},
        {"Esc", houd, 1.0, esc, Regels{"Opname geannuleerd"}, T::klaar},
        {"andere houdtoets", houd, 1.0, andereHoudtoets, Regels{"Opname geannuleerd"}, T::klaar},
        {"tien minuten", houd, tien, tienMinuten, Regels{"Opname gestopt na 10 minuten", opname},
         T::verwerken},
        {"menu, vastgehouden", menu, 1.0, laatLos, Regels{uit}, T::neemtOp},
        {"menu, korte tik", menu, 0.1, laatLos, Regels{uit}, T::neemtOp},
        {"wisselsneltoets, vastgehouden", wissel, 1.0, laatLos, Regels{uit}, T::neemtOp},
        {"wisselsneltoets, korte tik", wissel, 0.1, laatLos, Regels{uit}, T::neemtOp},
    };
    for (const Geval& g : gevallen) {
        SCOPED_TRACE(g.naam);
        Opstelling o;
        o.maak();
        if (g.bron == menu) {
            o.regelaar->start(menu);
        } else if (g.bron == wissel) {
            o.toetsen.drukWissel();
        }
        o.toetsen.toets(optionOmlaag);
        o.lus.draai();
        ASSERT_EQ(o.regelaar->toestand(), Toestand::neemtOp);
        const std::string begin = gestartVia(g.bron);
        Regels regels = g.bron == houd ? Regels{eerste, in, begin} : Regels{begin, eerste, in};
        regels.insert(regels.end(), g.staart.begin(), g.staart.end());
        o.spreek();
        o.vulBestand(2048);
        o.lus.verstrijk(g.duur);
        g.einde(o);
        o.lus.draai();
        EXPECT_THAT(o.nieuweRegels(), ElementsAreArray(regels));
        EXPECT_EQ(o.regelaar->toestand(), g.toestand);
        EXPECT_EQ(o.werker.gestart, g.toestand == Toestand::verwerken ? 1 : 0);
        if (g.toestand == Toestand::klaar) {
            EXPECT_FALSE(o.indicator.zichtbaar);
            EXPECT_EQ(o.opnamesOpSchijf(), 0);
            o.lus.verstrijk(DictaatRegelaar::maximumOpnameDuur);
            EXPECT_THAT(o.nieuweRegels(), IsEmpty()) << "no timer of the dictation is left";
        } else {
            if (g.toestand == Toestand::neemtOp) {
                // The toggle combination ends whatever dictation runs.
                o.toetsen.drukWissel();
                EXPECT_THAT(o.nieuweRegels(), ElementsAre(opname));
            }
            o.verwerk();
            EXPECT_EQ(o.klembord.geplakt, Regels{o.transcript});
            EXPECT_EQ(o.opnamesOpSchijf(), 0);
        }
        EXPECT_TRUE(o.meldingen.getoond.empty());
    }
}

TEST(DictaatRegelaar, ConsentIsAskedOnceAndThePressThatAskedRecordsNothing) {
    struct Geval {
        const char* naam;
        int knop;
        Regels regels;
        Melding melding;
        bool opgeslagen;
    };
    const Geval gevallen[] = {
        {"akkoord", 0, Regels{"Toestemming gegeven voor de spraakdienst (versie 1)"},
         Melding{"Toestemming gegeven. Druk opnieuw om te dicteren.", false, std::nullopt}, true},
        {"niet nu", 1, Regels{"Toestemming voor de spraakdienst: niet nu"},
         fout("Zonder toestemming kan Tolmo niet dicteren."), false},
        {"venster gesloten", -1, Regels{"Toestemming voor de spraakdienst: niet nu"},
         fout("Zonder toestemming kan Tolmo niet dicteren."), false},
    };
    for (const Geval& g : gevallen) {
        SCOPED_TRACE(g.naam);
        Opstelling o(false);
        if (g.opgeslagen) {
            // Consent to an older text counts as none.
            CloudToestemming{CloudToestemming::huidigeVersie - 1, 1}.bewaar(o.groep);
        }
        o.maak();
        o.regelaar->start(Bron::menu);
        o.regelaar->start(Bron::menu);  // a second press while the question is open
        ASSERT_EQ(o.vraag.vragen.size(), 1U);
        EXPECT_EQ(o.vraag.vragen[0].titel, "Voordat je dicteert");
        EXPECT_THAT(o.vraag.vragen[0].tekst,
                    ::testing::EndsWith("\n\nZonder toestemming kan Tolmo niet dicteren."));
        EXPECT_THAT(o.vraag.vragen[0].knoppen, ElementsAre("Akkoord", "Niet nu"));
        o.vraag.beantwoord(g.knop);

        EXPECT_THAT(o.nieuweRegels(), ElementsAreArray(g.regels));
        EXPECT_THAT(o.meldingen.getoond, ElementsAre(g.melding));
        EXPECT_EQ(o.regelaar->toestand(), Toestand::klaar);
        EXPECT_TRUE(o.engine.log.empty()) << "nothing was recorded";
        EXPECT_EQ(o.groep.waarden.contains("toestemming.cloud"), g.opgeslagen);

        // The next press records only with consent, and asks again without.
        o.regelaar->start(Bron::menu);
        EXPECT_EQ(o.regelaar->toestand(), g.opgeslagen ? Toestand::neemtOp : Toestand::klaar);
        EXPECT_EQ(o.vraag.vragen.size(), g.opgeslagen ? 1U : 2U);
    }
}

TEST(DictaatRegelaar, StartFailures) {
    struct Geval {
        const char* naam;
        std::function<void(Opstelling&)> breek;
        std::string regel;
        Melding melding;
    };
    const Geval gevallen[] = {
        // Without the microphone the engine is not even touched.
        {"microfoon uit", [](Opstelling& o) { o.toestemmingen.mic = false; },
         "Geen toestemming voor de microfoon, dictaat niet gestart",
         fout("Microfoon staat uit. Zie Instellingen > Toestemmingen.")},
        {"engine start niet", [](Opstelling& o) { o.engine.startFaalt = true; },
         "Opname starten mislukt: engine start mislukt",
         fout("Opnemen lukte niet. Probeer het opnieuw.")},
        {"geen invoer",
         [](Opstelling& o) {
             o.engine.script = {{geenFormaat, geenFormaat}};
         },
         "Opname starten mislukt: Geen microfoon-invoer gevonden.",
         fout("Opname starten mislukt. Is er een microfoon?")},
        {"omzetten kan niet", [](Opstelling& o) { o.omzetters.weigert = true; },
         "Opname starten mislukt: Audio omzetten naar 16 kHz mislukt.",
         fout("Opnemen lukte niet. Probeer het opnieuw.")},
        {"bestand maken mislukt", [](Opstelling& o) { o.schrijvers.openFaalt = true; },
         "Audiobestand maken mislukt, dictaat niet gestart: de schijf is alleen-lezen "
         "(Read-only file system)",
         fout("Opnemen lukte niet. Probeer het opnieuw.")},
    };
    for (const Geval& g : gevallen) {
        SCOPED_TRACE(g.naam);
        Opstelling o;
        o.maak();
        g.breek(o);
        o.regelaar->start(Bron::menu);
        EXPECT_THAT(o.nieuweRegels(), ElementsAre(g.regel));
        EXPECT_THAT(o.meldingen.getoond, ElementsAre(g.melding));
        EXPECT_EQ(o.regelaar->toestand(), Toestand::klaar);
        EXPECT_EQ(o.indicator.keerGetoond, 0);
        EXPECT_FALSE(o.engine.draait);
        EXPECT_EQ(o.engine.log.empty(), !o.toestemmingen.mic);
        EXPECT_EQ(o.opnamesOpSchijf(), 0);
        EXPECT_EQ(o.lus.actieveTimers(), 2) << "permission poll and message, no maximum timer";
        // The message goes away by itself.
        o.lus.verstrijk(DictaatRegelaar::meldingDuur);
        EXPECT_FALSE(o.meldingen.zichtbaar);
        EXPECT_FALSE(o.regelaar->melding());
    }
}

// Errors show their message and the time since the start; a cancelled chain shows nothing. Where
// in the chain a cancellation is seen is the chain's own table (TolmoKeten).
TEST(DictaatRegelaar, ChainErrorsAndCancellation) {
    const auto timeout = HerkenningsFout::timeout(Motor::tolmo);
    const auto geenCode = HerkenningsFout::van(HerkenningsFout::Soort::geenToegangscode);
    struct Geval {
        const char* naam;
        std::optional<HerkenningsFout> motorFout, bouwFout;
        bool esc;           // between stop and the chain's task
        std::string regel;  // the last line
        std::string fout;   // the message shown; empty: none
    };
    const Geval gevallen[] = {
        {"engine faalt",
         timeout,
         {},
         false,
         "Fout: " + timeout.melding() + " (na 3,50 s)",
         timeout.melding()},
        {"keten niet te bouwen",
         {},
         geenCode,
         false,
         "Fout: " + geenCode.melding() + " (na 2,00 s)",
         geenCode.melding()},
        {"Esc tijdens het verwerken", {}, {}, true, "Verwerking geannuleerd", ""},
    };
    for (const Geval& g : gevallen) {
        SCOPED_TRACE(g.naam);
        Opstelling o;
        o.maak();
        o.motorFout = g.motorFout;
        o.bouwFout = g.bouwFout;
        o.neemOp(2.0);
        o.regelaar->stop();
        if (g.esc) {
            o.regelaar->annuleer();
        }
        o.lus.verstrijk(1.5);
        // A cancelled chain's task is left to run once the next dictation waits for its own.
        if (!g.esc && !o.werker.wachtend.empty()) {
            o.verwerk();
        }
        o.lus.verstrijk(1.0);
        EXPECT_THAT(o.nieuweRegels(), ElementsAre(gestart, opname, g.regel));
        EXPECT_EQ(o.meldingen.getoond, g.fout.empty() ? Meldingen{} : Meldingen{fout(g.fout)});
        EXPECT_TRUE(o.klembord.geplakt.empty());
        EXPECT_EQ(o.klembord.teller, 0) << "the clipboard is untouched";
        EXPECT_EQ(o.regelaar->toestand(), Toestand::klaar);
        EXPECT_FALSE(o.indicator.zichtbaar);

        // And the next dictation runs as usual.
        o.motorFout.reset();
        o.bouwFout.reset();
        o.transcript = "weer gewoon";
        o.dicteer();
        if (g.esc) {
            o.verwerk();
        }
        EXPECT_EQ(o.klembord.geplakt, std::vector<std::string>{"weer gewoon"});
        EXPECT_EQ(o.opnamesOpSchijf(), 0);
    }
}

TEST(DictaatRegelaar, ACleanupProblemIsLoggedAndTheRawTextPasted) {
    Opstelling o;
    o.transcript = "een lang dictaat van meer dan acht woorden zonder opschoning";
    o.opschoonScript->strak.push_back(HerkenningsFout::timeout(Motor::tolmo));
    o.maak();
    o.dicteer();
    EXPECT_THAT(
        o.nieuweRegels(),
        ElementsAre(gestart, opname,
                    "Opschonen overgeslagen: " + HerkenningsFout::timeout(Motor::tolmo).melding(),
                    tijden("opschonen [0-9]+,[0-9][0-9] s, totaal 2,00 s"),
                    "Resultaat klaar: 60 tekens ruw, 60 tekens klaar",
                    "Cmd+V verstuurd, vorig klembord wordt teruggezet"));
    EXPECT_EQ(o.klembord.geplakt, Regels{o.transcript});
}

}  // namespace
}  // namespace tolmo::test
