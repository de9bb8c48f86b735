// The settings window and the tray menu built in this process over a real controller (every other
// port faked, the settings stores and the key vault real files), on a private X server.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QCheckBox>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QTest>
#include <fstream>
#include <nlohmann/json.hpp>

#include "Tolmo/MacRegelaar/Opstelling.h"
#include "Tolmo/MacVertaling/ServerAdres.h"
#include "Tolmo/linux/BestandsKluis.h"
#include "Tolmo/linux/XdgOpslag.h"
#include "Tolmo/linux/app/CombinatieKnop.h"
#include "Tolmo/linux/app/InstellingenVenster.h"
#include "Tolmo/linux/app/LogboekTab.h"
#include "Tolmo/linux/app/StijlenTab.h"
#include "Tolmo/linux/app/Systeemvak.h"
#include "Tolmo/linux/app/ToestemmingenTab.h"
#include "Tolmo/linux/app/WoordenlijstTab.h"
#include "nep/QtTest.h"
// Last: Xlib's macros.
#include "Tolmo/linux/X11Focus.h"
#include "Tolmo/linux/X11ToetsBron.h"
#include "Tolmo/linux/X11Verbinding.h"
#include "nep/PriveSleutelbos.h"

namespace tolmo {
namespace {

using nep::metTekst;
using nep::teksten;
using testing::HasSubstr;
using testing::Not;

// The key fields: OpenAI, Mistral, the server's access code.
QList<QLineEdit*> geheimeVelden(const QWidget& w) {
    auto velden = w.findChildren<QLineEdit*>();
    velden.removeIf([](QLineEdit* v) { return v->echoMode() != QLineEdit::Password; });
    return velden;
}

class InstellingenVensterTest : public ::testing::Test {
  protected:
    void SetUp() override {
        nep::qtApp();
        f_.transcript = "we gebruiken chat gpt op de iphone";
        f_.schoon = "We gebruiken ChatGPT op de iPhone.";
        CloudToestemming{CloudToestemming::huidigeVersie, 1}.bewaar(groep_);
        f_.andereGroep = &groep_;
        f_.andereStandaard = &standaard_;
        f_.altijdViaServer = false;
        f_.maak();
        venster_ = std::make_unique<InstellingenVenster>(InstellingenVenster::Onderdelen{
            *f_.regelaar, kluis_, standaard_, [this] { ++adresWijzigingen_; }, std::nullopt,
            [this] { return inloggen_; }, [this](bool aan) { inloggen_ = aan; }});
        venster_->show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(venster_.get()));
    }

    [[nodiscard]] nlohmann::json opgeslagen() const {
        return nlohmann::json::parse(std::ifstream(groep_.bestand()))["instellingen"];
    }

    test::Opstelling f_;
    nep::TijdelijkeMap map_;
    XdgOpslag groep_{map_.pad(), std::string(GedeeldeOpslag::groepSuite)};
    XdgOpslag standaard_{map_.pad(), "app.tolmo"};
    BestandsKluis kluis_{map_.pad(), [](const char*) { return std::optional<std::string>(); }};
    int adresWijzigingen_ = 0;
    bool inloggen_ = false;
    std::unique_ptr<InstellingenVenster> venster_;
};

TEST_F(InstellingenVensterTest, AChangeIsStoredAtOnceAndTheNextDictationUsesIt) {
    QWidget& w = *venster_;
    metTekst<QCheckBox>(w, "Opschonen met")->click();
    metTekst<QRadioButton>(w, "EU-modus")->click();
    EXPECT_EQ(opgeslagen()["opschonen"], false);
    EXPECT_EQ(opgeslagen()["motor"], "mistral");
    f_.dicteer();
    ASSERT_TRUE(f_.ketenInstellingen);
    EXPECT_FALSE(f_.ketenInstellingen->opschonen);
    EXPECT_EQ(f_.ketenInstellingen->motor, Motor::mistral);

    // The tray menu changes the same settings, and the window follows at once.
    Systeemvak vak({[&] {
                        return MenuStand::van(f_.regelaar->toestand(), std::nullopt,
                                              f_.regelaar->instellingen());
                    },
                    [](MenuStand::Actie) {}, [] {}, [] { return false; }, [](bool) {},
                    [&]() -> const TolmoInstellingen& { return f_.regelaar->instellingen(); },
                    [&](const auto& wijziging) { f_.regelaar->wijzigInstellingen(wijziging); },
                    [&] { return f_.regelaar->macInstellingen().wisselSneltoets; },
                    [] { return false; }, [](const QString&) {}});
    vak.ververs();
    QMenu& menu = vak.menu();
    QStringList items;
    QAction* server = nullptr;
    for (QAction* a : menu.actions()) {
        items << a->text();
        if (a->menu() != nullptr) {
            for (QAction* r : a->menu()->actions()) {
                items << r->text() + (r->isChecked() ? "*" : "");
                server = r->text() == "Tolmo-server" ? r : server;
            }
        }
    }
    EXPECT_TRUE(items.contains("Start dicteren (⌃⌥D)")) << items.join("|").toStdString();
    EXPECT_TRUE(items.contains("EU-modus*")) << items.join("|").toStdString();
    ASSERT_NE(server, nullptr);
    EXPECT_FALSE(server->isVisible()) << "no server address is known";
    metTekst<QAction>(menu, "Opschonen")->trigger();
    EXPECT_EQ(opgeslagen()["opschonen"], true);
    EXPECT_TRUE(metTekst<QCheckBox>(w, "Opschonen met")->isChecked());
}

TEST_F(InstellingenVensterTest, TheRecorderKeepsTheOldCombinationUnlessANewOneIsRegistered) {
    // Without moc, findChild cannot tell the recorder from other push buttons.
    CombinatieKnop* knop = nullptr;
    for (QPushButton* b : venster_->findChildren<QPushButton*>()) {
        knop = knop != nullptr ? knop : dynamic_cast<CombinatieKnop*>(b);
    }
    ASSERT_NE(knop, nullptr);
    const auto oud = f_.regelaar->macInstellingen().wisselSneltoets;
    struct Geval {
        Qt::Key toets;
        Qt::KeyboardModifiers mods;
        bool bezet;
        std::string melding;
        std::string daarna;
    };
    for (const Geval& g :
         {Geval{Qt::Key_K, Qt::ShiftModifier, false, "Gebruik ook Control, Option of Command.",
                "⌃⌥D"},
          Geval{Qt::Key_Escape, Qt::NoModifier, false, "", "⌃⌥D"},
          Geval{Qt::Key_J, Qt::ControlModifier | Qt::AltModifier, true,
                "Sneltoets ⌃⌥J is al in gebruik", "⌃⌥D"},
          Geval{Qt::Key_J, Qt::ControlModifier | Qt::AltModifier, false, "", "⌃⌥J"}}) {
        f_.toetsen.bezet.clear();
        if (g.bezet) {
            f_.toetsen.bezet.push_back(
                {38,
                 {Toetscombinatie::Modificaties::control | Toetscombinatie::Modificaties::option},
                 "J"});
        }
        knop->click();
        ASSERT_TRUE(knop->neemtOp());
        // Pressing the old combination while recording must not start a dictation.
        EXPECT_FALSE(f_.toetsen.geregistreerd);
        QTest::keyClick(knop, Qt::Key_Control, Qt::ControlModifier);
        ASSERT_TRUE(knop->neemtOp()) << "a modifier alone ends nothing";
        QTest::keyClick(knop, g.toets, g.mods);
        EXPECT_FALSE(knop->neemtOp());
        for (const char* melding :
             {"Gebruik ook Control, Option of Command.", "Sneltoets ⌃⌥J is al in gebruik"}) {
            EXPECT_EQ(
                teksten(*venster_).find("\n" + std::string(melding) + "\n") != std::string::npos,
                g.melding == melding)
                << melding;
        }
        EXPECT_EQ(f_.regelaar->macInstellingen().wisselSneltoets->weergave(), g.daarna);
        ASSERT_TRUE(f_.toetsen.geregistreerd);
        EXPECT_EQ(f_.toetsen.geregistreerd->weergave(), g.daarna);
        EXPECT_EQ(knop->text().toStdString(), g.daarna);
    }
    EXPECT_NE(oud, f_.regelaar->macInstellingen().wisselSneltoets);
}

TEST_F(InstellingenVensterTest, SecretsGoToTheVaultAndAreShownOnlyMasked) {
    venster_->toon("Herkenning");
    const auto velden = geheimeVelden(*venster_);
    ASSERT_EQ(velden.size(), 3);
    const std::string sleutel = "sk-proj-9f8e7d6c5b4a3210wxyz";
    velden[0]->setText("sk-proj oeps");
    QTest::keyClick(velden[0], Qt::Key_Return);
    EXPECT_FALSE(kluis_.zoek(Sleutelbeheer::Soort::openai));
    EXPECT_THAT(teksten(*venster_),
                HasSubstr("\nDeze sleutel bevat spaties. Er is niets bewaard.\n"));
    velden[0]->setText(QString::fromStdString(" " + sleutel + " "));
    QTest::keyClick(velden[0], Qt::Key_Return);
    ASSERT_TRUE(kluis_.zoek(Sleutelbeheer::Soort::openai));
    EXPECT_EQ(kluis_.zoek(Sleutelbeheer::Soort::openai)->waarde, sleutel);
    EXPECT_THAT(teksten(*venster_),
                HasSubstr("\n" + Sleutelbeheer::gemaskeerd(sleutel) + " (uit bestand)\n"));
    for (const QLineEdit* v : venster_->findChildren<QLineEdit*>()) {
        EXPECT_TRUE(v->text().isEmpty());
    }
    EXPECT_THAT(teksten(*venster_), Not(HasSubstr("9f8e7d6c5b4a3210")));

    // The relay server's address: refused when it is none, stored in the app's own store.
    QLineEdit* adres = nullptr;
    for (QLineEdit* v : venster_->findChildren<QLineEdit*>()) {
        adres = v->placeholderText().startsWith("https://") ? v : adres;
    }
    ASSERT_NE(adres, nullptr);
    adres->setText("server.example");
    QTest::keyClick(adres, Qt::Key_Return);
    EXPECT_FALSE(standaard_.lees(ServerAdres::instellingSleutel));
    EXPECT_EQ(adresWijzigingen_, 0);
    EXPECT_THAT(teksten(*venster_), HasSubstr("Dit is geen serveradres."));
    adres->setText(" https://tolmo.example.eu ");
    QTest::keyClick(adres, Qt::Key_Return);
    EXPECT_EQ(standaard_.lees(ServerAdres::instellingSleutel),
              OpslagWaarde(std::string("https://tolmo.example.eu")));
    EXPECT_EQ(adresWijzigingen_, 1);
}

// With a keyring running, a key typed into the window goes there: the command-line tool finds it,
// and no file holds it.
TEST_F(InstellingenVensterTest, AKeyFromTheWindowIsInTheKeyringForTheCommandLine) {
    if (!nep::PriveSleutelbos::geinstalleerd()) {
        GTEST_SKIP() << "gnome-keyring-daemon is niet geïnstalleerd (zie scripts/installeer.sh).";
    }
    nep::PriveSleutelbos bos;
    ASSERT_TRUE(bos.startSleutelbos()) << "gnome-keyring-daemon kwam niet op de bus";
    const auto kluis = bos.open();
    InstellingenVenster venster(
        {*f_.regelaar, *kluis, standaard_, [] {}, std::nullopt, [] { return false; }, [](bool) {}});
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
TEST_F(InstellingenVensterTest, EveryTabShowsItsTextsAndIsPhotographed) {
    X11Verbinding x;
    venster_->voegToe(
        std::make_unique<StijlenTab>(*f_.regelaar, linuxAppStijlen(), StijlenTab::VorigeApp{}),
        "Stijlen");
    venster_->voegToe(std::make_unique<WoordenlijstTab>(*f_.regelaar), "Woordenlijst");
    venster_->voegToe(std::make_unique<ToestemmingenTab>(*f_.regelaar, X11ToetsBron(x).teksten(),
                                                         [] { return true; }),
                      "Toestemmingen");
    venster_->voegToe(std::make_unique<LogboekTab>(*f_.regelaar), "Logboek");
    f_.regelaar->wijzigInstellingen([](TolmoInstellingen& t) {
        t.woorden = {"Tolmo", "PulseAudio", "XInput2"};
        t.vervangingen = {{"Tolmo", {"tolmo", "tol mo"}}, {"KLM", {"ka el em"}}};
    });
    f_.dicteer();
    const std::vector<std::pair<QString, std::string>> rijen{
        {"Algemeen",
         "Houd de toets vast terwijl je praat en laat los om te plakken. Een korte tik of een "
         "combinatie met een andere toets (zoals Fn+pijltje of Option+E) start niets."},
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
    EXPECT_EQ(venster_->windowTitle(), "Tolmo — Instellingen");
    QTabWidget& tabs = venster_->tabs();
    ASSERT_EQ(tabs.count(), 7);
    for (int i = 0; i < tabs.count(); ++i) {
        venster_->toon(tabs.tabText(i));
        QTest::qWait(50);
        for (const auto& [tab, tekst] : rijen) {
            if (tab == tabs.tabText(i)) {
                EXPECT_THAT(teksten(*tabs.widget(i)), HasSubstr("\n" + tekst + "\n"));
            }
        }
        const QString bestand = "tolmo-instellingen-" + tabs.tabText(i).toLower() + ".png";
        EXPECT_TRUE(venster_->grab().save(bestand)) << bestand.toStdString();
    }
}

}  // namespace
}  // namespace tolmo
