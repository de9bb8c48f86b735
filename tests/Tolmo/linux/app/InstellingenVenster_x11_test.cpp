// The settings window and the tray menu, built in this process as main.cpp builds them, over a
// real controller (every other port faked, the settings stores and the key vault real files),
// on a private X server: what the user does in it must land in the controller's settings and in
// the stored document, and what the controller reports must show in it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QCheckBox>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QTest>
#include <string>

#include "Tolmo/MacVertaling/ServerAdres.h"
#include "Tolmo/linux/app/CombinatieKnop.h"
#include "Tolmo/linux/app/Systeemvak.h"
// Last: Xlib's macros.
#include "Tolmo/linux/app/InstellingenOpzet.h"
#include "nep/PriveSleutelbos.h"

namespace tolmo {
namespace {

using nep::metTekst;
using nep::teksten;
using testing::HasSubstr;
using testing::Not;

TEST(InstellingenVenster, AChangeIsStoredAtOnceAndTheNextDictationUsesIt) {
    Opgezet z;
    QWidget& w = *z.venster;
    metTekst<QCheckBox>(w, "Opschonen met")->click();
    metTekst<QRadioButton>(w, "EU-modus")->click();
    EXPECT_EQ(z.opgeslagenJson()["opschonen"], false);
    EXPECT_EQ(z.opgeslagenJson()["motor"], "mistral");
    z.f.dicteer();
    ASSERT_TRUE(z.f.ketenInstellingen);
    EXPECT_FALSE(z.f.ketenInstellingen->opschonen);
    EXPECT_EQ(z.f.ketenInstellingen->motor, Motor::mistral);

    // The tray menu changes the same settings, and the window follows at once.
    Systeemvak vak({[&] {
                        return MenuStand::van(z.f.regelaar->toestand(), std::nullopt,
                                              z.f.regelaar->instellingen());
                    },
                    [](MenuStand::Actie) {}, [] {}, [] { return false; }, [](bool) {},
                    [&]() -> const TolmoInstellingen& { return z.f.regelaar->instellingen(); },
                    [&](const auto& wijziging) { z.f.regelaar->wijzigInstellingen(wijziging); },
                    [&] { return z.f.regelaar->macInstellingen().wisselSneltoets; },
                    [] { return false; }, [](const QString&) {}});
    vak.ververs();
    QMenu& menu = vak.menu();
    // Checked items are marked with *; the server route stays hidden without a server address.
    const auto naam = [](QAction* a) {
        return a->isVisible() ? a->text() + (a->isChecked() ? "*" : "") : "(verborgen)";
    };
    QStringList items;
    for (QAction* a : menu.actions()) {
        items << naam(a);
        for (QAction* r : a->menu() != nullptr ? a->menu()->actions() : QList<QAction*>{}) {
            items << naam(r);
        }
    }
    EXPECT_EQ(items.join("|").toStdString(),
              "Klaar om te dicteren|Start dicteren (Ctrl+Alt+D)||Route: Mistral (eigen "
              "sleutel)|Wereldwijd|EU-modus*|Testmodus|(verborgen)|Opschonen||Instellingen…|"
              "Logboek|Starten bij inloggen|Afsluiten");
    metTekst<QAction>(menu, "Opschonen")->trigger();
    EXPECT_EQ(z.opgeslagenJson()["opschonen"], true);
    EXPECT_TRUE(metTekst<QCheckBox>(w, "Opschonen met")->isChecked());
}

TEST(InstellingenVenster, TheRecorderKeepsTheOldCombinationUnlessANewOneIsRegistered) {
    Opgezet z;
    // Without moc, findChild cannot tell the recorder from other push buttons.
    CombinatieKnop* knop = nullptr;
    for (QPushButton* b : z.venster->findChildren<QPushButton*>()) {
        knop = knop != nullptr ? knop : dynamic_cast<CombinatieKnop*>(b);
    }
    ASSERT_NE(knop, nullptr);
    const auto oud = z.f.regelaar->macInstellingen().wisselSneltoets;
    struct Geval {
        Qt::Key toets;
        Qt::KeyboardModifiers mods;
        bool bezet;
        std::string melding;
        std::string daarna;
    };
    for (const Geval& g :
         {Geval{Qt::Key_K, Qt::ShiftModifier, false, "Gebruik ook Ctrl, Alt of Super.", "⌃⌥D"},
          Geval{Qt::Key_Escape, Qt::NoModifier, false, "", "⌃⌥D"},
          Geval{Qt::Key_J, Qt::ControlModifier | Qt::AltModifier, true,
                "Sneltoets Ctrl+Alt+J is al in gebruik", "⌃⌥D"},
          Geval{Qt::Key_J, Qt::ControlModifier | Qt::AltModifier, false, "", "⌃⌥J"}}) {
        z.f.toetsen.bezet.clear();
        if (g.bezet) {
            z.f.toetsen.bezet.push_back(
                {38,
                 {Toetscombinatie::Modificaties::control | Toetscombinatie::Modificaties::option},
                 "J"});
        }
        knop->click();
        ASSERT_TRUE(knop->neemtOp());
        // Pressing the old combination while recording must not start a dictation.
        EXPECT_FALSE(z.f.toetsen.geregistreerd);
        QTest::keyClick(knop, Qt::Key_Control, Qt::ControlModifier);
        ASSERT_TRUE(knop->neemtOp()) << "a modifier alone ends nothing";
        QTest::keyClick(knop, g.toets, g.mods);
        EXPECT_FALSE(knop->neemtOp());
        for (const char* melding :
             {"Gebruik ook Ctrl, Alt of Super.", "Sneltoets Ctrl+Alt+J is al in gebruik"}) {
            EXPECT_EQ(
                teksten(*z.venster).find("\n" + std::string(melding) + "\n") != std::string::npos,
                g.melding == melding)
                << melding;
        }
        EXPECT_EQ(z.f.regelaar->macInstellingen().wisselSneltoets->weergave(), g.daarna);
        ASSERT_TRUE(z.f.toetsen.geregistreerd);
        EXPECT_EQ(z.f.toetsen.geregistreerd->weergave(), g.daarna);
        // The button names keys as the keyboard does.
        EXPECT_EQ(knop->text().toStdString(), g.daarna == "⌃⌥D" ? "Ctrl+Alt+D" : "Ctrl+Alt+J");
    }
    EXPECT_NE(oud, z.f.regelaar->macInstellingen().wisselSneltoets);
}

TEST(InstellingenVenster, SecretsGoToTheVaultAndAreShownOnlyMasked) {
    Opgezet z;
    z.venster->toon("Herkenning");
    const auto velden = geheimeVelden(*z.venster);
    ASSERT_EQ(velden.size(), 3);
    const std::string sleutel = "sk-proj-9f8e7d6c5b4a3210wxyz";
    velden[0]->setText("sk-proj oeps");
    QTest::keyClick(velden[0], Qt::Key_Return);
    EXPECT_FALSE(z.kluis.zoek(Sleutelbeheer::Soort::openai));
    EXPECT_THAT(teksten(*z.venster),
                HasSubstr("\nDeze sleutel bevat spaties. Er is niets bewaard.\n"));
    velden[0]->setText(QString::fromStdString(" " + sleutel + " "));
    QTest::keyClick(velden[0], Qt::Key_Return);
    ASSERT_TRUE(z.kluis.zoek(Sleutelbeheer::Soort::openai));
    EXPECT_EQ(z.kluis.zoek(Sleutelbeheer::Soort::openai)->waarde, sleutel);
    EXPECT_THAT(teksten(*z.venster),
                HasSubstr("\n" + Sleutelbeheer::gemaskeerd(sleutel) + " (uit bestand)\n"));
    for (const QLineEdit* v : z.venster->findChildren<QLineEdit*>()) {
        EXPECT_TRUE(v->text().isEmpty());
    }
    EXPECT_THAT(teksten(*z.venster), Not(HasSubstr("9f8e7d6c5b4a3210")));

    // The relay server's address: refused when it is none, stored in the app's own store.
    QLineEdit* adres = nullptr;
    for (QLineEdit* v : z.venster->findChildren<QLineEdit*>()) {
        adres = v->placeholderText().startsWith("https://") ? v : adres;
    }
    ASSERT_NE(adres, nullptr);
    adres->setText("server.example");
    QTest::keyClick(adres, Qt::Key_Return);
    EXPECT_FALSE(z.standaard.lees(ServerAdres::instellingSleutel));
    EXPECT_EQ(z.adresWijzigingen, 0);
    EXPECT_THAT(teksten(*z.venster), HasSubstr("Dit is geen serveradres."));
    adres->setText(" https://tolmo.example.eu ");
    QTest::keyClick(adres, Qt::Key_Return);
    EXPECT_EQ(z.standaard.lees(ServerAdres::instellingSleutel),
              OpslagWaarde(std::string("https://tolmo.example.eu")));
    EXPECT_EQ(z.adresWijzigingen, 1);
}

// With a keyring running, a key typed into the window goes there: the command-line tool finds it,
// and no file holds it.
TEST(InstellingenVenster, AKeyFromTheWindowIsInTheKeyringForTheCommandLine) {
    if (!nep::PriveSleutelbos::geinstalleerd()) {
        GTEST_SKIP() << "gnome-keyring-daemon is niet geïnstalleerd (zie scripts/installeer.sh).";
    }
    Opgezet z;
    nep::PriveSleutelbos bos;
    ASSERT_TRUE(bos.startSleutelbos()) << "gnome-keyring-daemon kwam niet op de bus";
    const auto kluis = bos.open();
    InstellingenVenster venster({*z.f.regelaar, *kluis, z.standaard, [] {}, std::nullopt,
                                 [] { return false; }, [](bool) {}});
    venster.toon("Herkenning");
    const std::string sleutel = "sk-venster-in-bos-5678wxyz";
    geheimeVelden(venster).at(0)->setText(QString::fromStdString(sleutel));
    QTest::keyClick(geheimeVelden(venster).at(0), Qt::Key_Return);
    EXPECT_THAT(teksten(venster), HasSubstr("\nsk-…wxyz (uit sleutelbos)\n"));
    const auto r = bos.tolmo({"sleutel"});
    EXPECT_EQ(r.uit,
              "openai: sk-…wxyz (sleutelbos)\nmistral: niet ingesteld\nserver: niet ingesteld\n")
        << r.fout;
    EXPECT_TRUE(bos.bestandenMet(sleutel).empty()) << bos.bestandenMet(sleutel).front();
}

// Every tab, the ones the app adds included, with texts the user reads, and a picture of each
// for a person to look at.
TEST(InstellingenVenster, EveryTabShowsItsTextsAndIsPhotographed) {
    Opgezet z;
    z.f.regelaar->wijzigInstellingen([](TolmoInstellingen& t) {
        t.woorden = {"Tolmo", "PulseAudio", "XInput2"};
        t.vervangingen = {{"Tolmo", {"tolmo", "tol mo"}}, {"KLM", {"ka el em"}}};
    });
    z.f.dicteer();
    const std::vector<std::pair<QString, std::string>> rijen{
        {"Algemeen",
         "Houd de toets vast terwijl je praat en laat los om te plakken. Een korte tik of een "
         "combinatie met een andere toets (zoals Alt+E) start niets."},
        // Keys as a PC keyboard names them.
        {"Algemeen", "Rechter Alt (Alt Gr)"},
        {"Algemeen", "Klik en druk de nieuwe combinatie, met Ctrl, Alt of Super erin."},
        {"Algemeen", "Klembord na plakken herstellen"},
        {"Algemeen", "Zet je vorige klembord terug na het plakken."},
        {"Algemeen", "Starten bij inloggen"},
        {"Algemeen", "Ruisonderdrukking"},
        {"Herkenning", "Gebaseerd op onze eerste tests; we meten dit verder."},
        {"Herkenning", "EU-modus — Via Mistral (EU), met je eigen sleutel"},
        {"Herkenning",
         "Kwaliteit: ●●●●○ Goed   Snelheid: ●●●●○ Snel   Privacy: ●●●●○ Verwerkt in de EU en EFTA"},
        {"Herkenning", "Tolmo-server"},
        {"Opschonen",
         "Aan: een klein taalmodel zet leestekens en hoofdletters goed, haalt eh en ehm weg en "
         "verbetert namen uit de woordenlijst. Uit: je krijgt precies wat de spraakherkenning "
         "hoorde."},
        {"Opschonen",
         "Licht: leestekens, hoofdletters, eh en ehm; je zinnen blijven zoals je ze zei. Strak "
         "(standaard): haalt ook valse starts, afgebroken halve zinnen en opvulwoorden als zeg "
         "maar, gewoon en eigenlijk weg. Zo wordt \"Dat moet wel... Ik wil eigenlijk gewoon niet "
         "dat ze een key invullen\": \"Ik wil niet dat ze een key invullen.\" Er wordt niets "
         "samengevat of toegevoegd. Stijl Letterlijk blijft altijd minimaal."},
        {"Opschonen",
         "Aan: zeg \"nieuwe regel\", \"nieuwe alinea\", \"komma\", \"punt\" of \"schrap dat\". "
         "Zeg ze los, met een korte pauze ervoor of erna; \"de nieuwe regel geldt\" blijft gewoon "
         "tekst. Hoe de rest van de tekst eruitziet, hangt af van de stijl van de app waarin je "
         "dicteert (zie Stijlen)."},
        {"Stijlen",
         "Zakelijk: volledige zinnen zoals in een e-mail. Los: zoals een chatbericht. "
         "Letterlijk: zo min mogelijk veranderen, code en termen blijven precies staan."},
        {"Stijlen", "Ingebouwde lijst herstellen"},
        {"Woordenlijst", "Toevoegen"},
        {"Toestemmingen", "Houdtoets via:"},
        {"Logboek", "Kopiëren"},
    };
    EXPECT_EQ(z.venster->windowTitle(), "Tolmo — Instellingen");
    QTabWidget& tabs = z.venster->tabs();
    ASSERT_EQ(tabs.count(), 7);
    for (int i = 0; i < tabs.count(); ++i) {
        z.venster->toon(tabs.tabText(i));
        QTest::qWait(50);
        for (const auto& [tab, tekst] : rijen) {
            if (tab == tabs.tabText(i)) {
                EXPECT_THAT(teksten(*tabs.widget(i)), HasSubstr("\n" + tekst + "\n"));
            }
        }
        const QString bestand = "tolmo-instellingen-" + tabs.tabText(i).toLower() + ".png";
        EXPECT_TRUE(z.venster->grab().save(bestand)) << bestand.toStdString();
    }
}

}  // namespace
}  // namespace tolmo
