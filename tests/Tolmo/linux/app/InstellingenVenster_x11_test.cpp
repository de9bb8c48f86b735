// The settings window with every tab and the tray menu, built in this process as main.cpp builds
// them, over a real controller (every other port faked, the settings stores and the key vault
// real files), on a private X server: what the user does in a tab must land in the controller's
// settings and in the stored document, and what the controller reports must show in the tab.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QCheckBox>
#include <QClipboard>
#include <QComboBox>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QScrollBar>
#include <QTableWidget>
#include <QTest>
#include <QWheelEvent>
#include <fstream>
#include <functional>
#include <map>
#include <nlohmann/json.hpp>

#include "Tolmo/MacRegelaar/Opstelling.h"
#include "Tolmo/MacVertaling/ServerAdres.h"
#include "Tolmo/linux/app/CombinatieKnop.h"
#include "Tolmo/linux/app/InstellingenVenster.h"
#include "Tolmo/linux/app/LogboekTab.h"
#include "Tolmo/linux/app/StijlenTab.h"
#include "Tolmo/linux/app/Systeemvak.h"
#include "Tolmo/linux/app/ToestemmingenTab.h"
#include "Tolmo/linux/app/WoordenlijstTab.h"
#include "Tolmo/linux/freedesktop/BestandsKluis.h"
#include "Tolmo/linux/freedesktop/XdgOpslag.h"
#include "nep/QtTest.h"
// Last: Xlib's macros.
#include "Tolmo/linux/LinuxAppStijlen.h"
#include "Tolmo/linux/x11/X11Focus.h"
#include "Tolmo/linux/x11/X11ToetsBron.h"
#include "Tolmo/linux/x11/X11Verbinding.h"
#include "nep/PriveSleutelbos.h"

namespace tolmo {
namespace {

using nep::metTekst;
using nep::teksten;
using testing::HasSubstr;
using testing::Not;

// The controller and the window with every tab; `voor` changes the set-up before the
// controller starts.
struct Opgezet {
    explicit Opgezet(const std::function<void(Opgezet&)>& voor = {}) {
        f.transcript = "we gebruiken chat gpt op de iphone";
        f.schoon = "We gebruiken ChatGPT op de iPhone.";
        CloudToestemming{CloudToestemming::huidigeVersie, 1}.bewaar(groep);
        f.andereGroep = &groep;
        f.andereStandaard = &standaard;
        f.altijdViaServer = false;
        if (voor) {
            voor(*this);
        }
        f.maak();
        venster = std::make_unique<InstellingenVenster>(InstellingenVenster::Onderdelen{
            *f.regelaar, kluis, standaard, [this] { ++adresWijzigingen; }, std::nullopt,
            [this] { return inloggen; }, [this](bool aan) { inloggen = aan; }});
        venster->voegToe(std::make_unique<StijlenTab>(*f.regelaar, linuxAppStijlen(),
                                                      [this] { return vorigeApp; }),
                         "Stijlen");
        venster->voegToe(std::make_unique<WoordenlijstTab>(*f.regelaar), "Woordenlijst");
        venster->voegToe(std::make_unique<ToestemmingenTab>(
                             *f.regelaar, X11ToetsBron(x).teksten(), [this] { return vermogens; },
                             [this] { return volgt; }, bindingen, std::nullopt, bureaublad),
                         "Toestemmingen");
        venster->voegToe(std::make_unique<LogboekTab>(*f.regelaar), "Logboek");
        venster->show();
        EXPECT_TRUE(QTest::qWaitForWindowExposed(venster.get()));
    }
    // Shows the tab, as a click on it does.
    template <typename Tab>
    Tab& tab(const QString& naam) {
        venster->toon(naam);
        return dynamic_cast<Tab&>(*venster->tabs().currentWidget());
    }
    [[nodiscard]] nlohmann::json opgeslagenJson() const {
        return nlohmann::json::parse(std::ifstream(groep.bestand()))["instellingen"];
    }
    [[nodiscard]] TolmoInstellingen opgeslagen() { return GedeeldeOpslag(groep, standaard).laad(); }

    QApplication& qt = nep::qtApp();  // first: the X server too
    nep::TijdelijkeMap map;
    XdgOpslag groep{map.pad(), std::string(GedeeldeOpslag::groepSuite)};
    XdgOpslag standaard{map.pad(), "app.tolmo"};
    BestandsKluis kluis{map.pad(), [](const char*) { return std::optional<std::string>(); }};
    X11Verbinding x;
    int adresWijzigingen = 0;
    bool inloggen = false;
    std::optional<AppStijl> vorigeApp;
    bool volgt = true;
    std::optional<InstellingenKeuzes::BindingenKeuze> bindingen;
    std::optional<ToestemmingenTab::BureaubladToetsen> bureaublad;
    // What the session's adapter set reports: one row without a mechanism, one with both.
    std::vector<Vermogen> vermogens{
        {Vermogen::Soort::houdToets, "", "De wisselsneltoets werkt wel."},
        {Vermogen::Soort::plakken, "XTest via XWayland", "Alleen X11-vensters."}};
    test::Opstelling f;
    std::unique_ptr<InstellingenVenster> venster;
};

// The key fields: OpenAI, Mistral, the server's access code.
QList<QLineEdit*> geheimeVelden(const QWidget& w) {
    auto velden = w.findChildren<QLineEdit*>();
    velden.removeIf([](QLineEdit* v) { return v->echoMode() != QLineEdit::Password; });
    return velden;
}

// Also the widgets put away with deleteLater and the timers that were due.
void pomp() {
    QApplication::processEvents();
    QApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QApplication::processEvents();
}

QTableWidget& tabel(QWidget& w) {
    return *w.findChildren<QTableWidget*>().at(0);
}

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

using Wijziging = std::function<void(TolmoInstellingen&)>;

TEST(Tabbladen, StijlenLandInDeInstellingenEnDeOpslag) {
    const AppStijl notities{"org.example.Notities", "Notities", Stijl::neutraal};
    const auto zonder = [](const std::string& id) -> Wijziging {
        return [id](TolmoInstellingen& t) {
            std::erase_if(t.stijlPerApp, [&id](const AppStijl& a) { return a.bundleId == id; });
        };
    };
    const auto plus = [](AppStijl a) -> Wijziging {
        return [a](TolmoInstellingen& t) { t.stijlPerApp.push_back(a); };
    };
    const auto klik = [](const char* tekst) {
        return [tekst](StijlenTab& t) {
            QTest::mouseClick(metTekst<QPushButton>(t, tekst), Qt::LeftButton);
        };
    };
    // A key on the default style's box (row -1) or on a row's box.
    const auto toets = [](int rij, Qt::Key k) {
        return [rij, k](StijlenTab& t) {
            QTest::keyClick(
                rij < 0 ? t.findChildren<QComboBox*>().at(0) : tabel(t).cellWidget(rij, 2), k);
        };
    };
    // The wheel over a row's box while scrolling the table.
    const auto wiel = [](StijlenTab& t) {
        QWidget* box = tabel(t).cellWidget(3, 2);
        QWheelEvent e({5, 5}, box->mapToGlobal(QPointF(5, 5)), {}, {0, -120}, Qt::NoButton,
                      Qt::NoModifier, Qt::NoScrollPhase, false);
        QApplication::sendEvent(box, &e);
    };
    const auto verwijder = [](StijlenTab& t) {
        tabel(t).selectRow(1);
        QTest::mouseClick(metTekst<QPushButton>(t, "Verwijderen"), Qt::LeftButton);
    };
    // Removed and changed built-in rows, an app of the user's own, and their own row for
    // Thunderbird in other capitals, which is the built-in app.
    const Wijziging rommel = [&](TolmoInstellingen& t) {
        zonder("com.apple.mail")(t);
        t.stijlPerApp[3].stijl = Stijl::letterlijk;
        t.stijlPerApp.push_back(notities);
        t.stijlPerApp.push_back({"THUNDERBIRD", "Thunderbird", Stijl::los});
    };
    std::vector<AppStijl> hersteld = standaardApps();
    hersteld.insert(hersteld.end(), linuxAppStijlen().begin(), linuxAppStijlen().end());
    hersteld.push_back(notities);
    const Wijziging losStandaard = [](TolmoInstellingen& t) { t.standaardStijl = Stijl::los; };
    const Wijziging whatsAppNeutraal = [](TolmoInstellingen& t) {
        t.stijlPerApp[3].stijl = Stijl::neutraal;
    };
    const Wijziging ingebouwd = [&](TolmoInstellingen& t) { t.stijlPerApp = hersteld; };
    const auto vorige = klik("Vorige app toevoegen");
    const Wijziging niets;
    struct Geval {
        const char* naam;
        std::function<void(StijlenTab&)> doe;
        Wijziging verwacht;
        std::string melding = "";
        std::optional<AppStijl> vorigeApp = std::nullopt;
        Wijziging begin = nullptr;
    };
    const std::vector<Geval> gevallen{
        {"standaardstijl", toets(-1, Qt::Key_Down), losStandaard},
        // WhatsApp is loose: one step up is neutral.
        {"stijl van een rij", toets(3, Qt::Key_Up), whatsAppNeutraal},
        {"wiel over een rij", wiel, niets},
        {"eigen app erbij", vorige, plus(notities),
         "Notities staat nu in de lijst met stijl Neutraal.",
         AppStijl{notities.bundleId, "Notities", Stijl::los}},
        // A terminal Tolmo knows keeps its literal style.
        {"bekende Linux-app erbij", vorige, plus({"kitty", "kitty", Stijl::letterlijk}),
         "kitty staat nu in de lijst met stijl Letterlijk.", AppStijl{"kitty", "kitty"}},
        {"al in de lijst", vorige, niets, "Mail staat al in de lijst.",
         AppStijl{"COM.APPLE.MAIL", "Mail"}},
        {"geen vorige app", vorige, niets,
         "Er was geen app actief voordat je de instellingen opende."},
        {"rij verwijderen", verwijder, zonder("com.microsoft.Outlook")},
        {"herstellen", klik("Ingebouwde lijst herstellen"), ingebouwd,
         "De ingebouwde lijst is hersteld.", std::nullopt, rommel},
    };
    for (const Geval& g : gevallen) {
        SCOPED_TRACE(g.naam);
        Opgezet z;
        if (g.begin) {
            z.f.regelaar->wijzigInstellingen(g.begin);
        }
        TolmoInstellingen verwacht = z.f.regelaar->instellingen();
        z.vorigeApp = g.vorigeApp;
        auto& tab = z.tab<StijlenTab>("Stijlen");
        g.doe(tab);
        pomp();
        if (g.verwacht) {
            g.verwacht(verwacht);
        }
        for (const TolmoInstellingen& nu : {z.f.regelaar->instellingen(), z.opgeslagen()}) {
            EXPECT_EQ(nu.standaardStijl, verwacht.standaardStijl);
            EXPECT_EQ(nu.stijlPerApp, verwacht.stijlPerApp);
        }
        // The table shows what is stored.
        ASSERT_EQ(tabel(tab).rowCount(), static_cast<int>(verwacht.stijlPerApp.size()));
        for (int rij = 0; rij < tabel(tab).rowCount(); ++rij) {
            const AppStijl& a = verwacht.stijlPerApp[static_cast<std::size_t>(rij)];
            EXPECT_EQ(tabel(tab).item(rij, 1)->text().toStdString(), a.bundleId);
            EXPECT_EQ(static_cast<QComboBox*>(tabel(tab).cellWidget(rij, 2))->currentText(),
                      StijlenTab::naam(a.stijl));
        }
        EXPECT_THAT(teksten(tab), HasSubstr(g.melding));
    }
}

// The dictation proposes "ChatGPT" and "iPhone"; the user clicks one.
TEST(Tabbladen, EenVoorstelToevoegenEnDeGrensVanDeLijst) {
    std::vector<std::string> vol;
    for (int i = 0; i < 200; ++i) {
        vol.push_back("term" + std::to_string(i));
    }
    struct Geval {
        const char* naam;
        std::vector<std::string> woorden;
        const char* klik;
        std::vector<std::string> daarna;
        std::string melding;
    };
    const std::vector<Geval> gevallen{
        {"nieuw", {"Tolmo"}, "iPhone", {"Tolmo", "iPhone"}, "iPhone staat nu in de woordenlijst."},
        {"al in de lijst", {"IPHONE"}, "iPhone", {"IPHONE"}, "Staat al in de woordenlijst."},
        {"vol", vol, "ChatGPT", vol, "De woordenlijst is vol (200 termen)."},
    };
    for (const Geval& g : gevallen) {
        SCOPED_TRACE(g.naam);
        Opgezet z;
        auto& tab = z.tab<WoordenlijstTab>("Woordenlijst");
        z.f.dicteer();
        // After the dictation: a word already in the list would not have been proposed.
        z.f.regelaar->wijzigInstellingen([&g](TolmoInstellingen& t) { t.woorden = g.woorden; });
        pomp();
        const auto zichtbaar = [&tab](const char* woord) -> QPushButton* {
            for (QPushButton* k : tab.findChildren<QPushButton*>(woord)) {
                if (k->isVisible() && k->text() == "Toevoegen") {
                    return k;
                }
            }
            return nullptr;
        };
        ASSERT_NE(zichtbaar(g.klik), nullptr);
        QTest::mouseClick(zichtbaar(g.klik), Qt::LeftButton);
        pomp();
        EXPECT_EQ(z.f.regelaar->instellingen().woorden, g.daarna);
        EXPECT_EQ(z.opgeslagen().woorden, g.daarna);
        EXPECT_THAT(teksten(tab), HasSubstr(g.melding));
        // The clicked proposal is gone, whatever its fate; the other stays.
        EXPECT_EQ(zichtbaar(g.klik), nullptr);
        EXPECT_NE(zichtbaar(g.klik == std::string("iPhone") ? "ChatGPT" : "iPhone"), nullptr);
    }
}

TEST(Tabbladen, EenVervangingBewerken) {
    using Tabel = std::map<std::string, std::vector<std::string>>;
    const Tabel begin{{"Tolmo", {"tolmo", "tol mo"}}, {"KLM", {"ka el em"}}};
    const Tabel meer{{"Tolmo", {"tolmo", "tol mo"}}, {"KLM", {"ka el em", "kaelem"}}};
    const Tabel hernoemd{{"Tolmo", {"tolmo", "tol mo"}}, {"K.L.M.", {"ka el em"}}};
    struct Geval {
        const char* naam;
        int kolom;  // of the "KLM" row, the first
        const char* tekst;
        Tabel verwacht;
        std::string melding;
    };
    const std::vector<Geval> gevallen{
        {"uitspraken", 1, " ka el em,kaelem , ka el em", meer, ""},
        {"schrijfwijze", 0, "K.L.M.", hernoemd, ""},
        {"schrijfwijze bestaat al", 0, "Tolmo", begin, "Tolmo staat al in de vervangingen."},
        {"leeg", 0, "  ", begin, "Een vervanging heeft een schrijfwijze nodig."},
    };
    for (const Geval& g : gevallen) {
        SCOPED_TRACE(g.naam);
        Opgezet z;
        z.f.regelaar->wijzigInstellingen([&](TolmoInstellingen& t) { t.vervangingen = begin; });
        auto& tab = z.tab<WoordenlijstTab>("Woordenlijst");
        QTableWidget& t = tabel(tab);
        ASSERT_EQ(t.item(0, 0)->text(), "KLM");
        t.item(0, g.kolom)->setText(g.tekst);
        pomp();
        EXPECT_EQ(z.f.regelaar->instellingen().vervangingen, g.verwacht);
        EXPECT_EQ(z.opgeslagen().vervangingen, g.verwacht);
        EXPECT_THAT(teksten(tab), HasSubstr(g.melding));
        Tabel getoond;
        for (int rij = 0; rij < t.rowCount(); ++rij) {
            getoond[t.item(rij, 0)->text().toStdString()] =
                WoordenlijstTab::varianten(t.item(rij, 1)->text());
        }
        EXPECT_EQ(getoond, g.verwacht);
    }
}

TEST(Tabbladen, HetLogboekGroeitEnVolgtHetEinde) {
    Opgezet z;
    auto& tab = z.tab<LogboekTab>("Logboek");
    const auto tekst = [&tab] { return tab.weergave().toPlainText().toStdString(); };
    EXPECT_THAT(tekst(), HasSubstr("Mac-app gestart (1.4.2)"));
    for (int i = 0; i < 60; ++i) {
        z.f.regelaar->zetKlembordHerstellen(i % 2 == 0);
    }
    QApplication::processEvents();
    QScrollBar* balk = tab.weergave().verticalScrollBar();
    ASSERT_GT(balk->maximum(), 0);
    EXPECT_EQ(balk->value(), balk->maximum());
    // Scrolled up, the view stays where the user reads.
    balk->setValue(3);
    z.f.regelaar->voegWoordToe("Tolmo");
    QApplication::processEvents();
    EXPECT_THAT(tekst(), HasSubstr("Term toegevoegd aan de woordenlijst (1 termen)"));
    EXPECT_EQ(balk->value(), 3);
    QTest::mouseClick(metTekst<QPushButton>(tab, "Kopiëren"), Qt::LeftButton);
    EXPECT_EQ(QApplication::clipboard()->text().toStdString(), tekst());
}

TEST(Tabbladen, ToestemmingenVolgenDeStand) {
    Opgezet z([](Opgezet& voor) {
        voor.f.toestemmingen.invoer = false;
        voor.f.toestemmingen.toegang = false;
        voor.groep.verwijder(std::string(CloudToestemming::sleutel));
    });
    auto& tab = z.tab<ToestemmingenTab>("Toestemmingen");
    for (const char* t :
         {"Ja: er is een geluidsbron", "Houdtoets:\nNee: De wisselsneltoets werkt wel.",
          "Plakken:\nJa: XTest via XWayland. Alleen X11-vensters.", "Ja: via AT-SPI",
          "niets (XInput2 ontbreekt op deze X-server).", "Nog niet gegeven."}) {
        EXPECT_THAT(teksten(tab), HasSubstr(t));
    }
    // The poll sees the change; the tab shows it without being asked.
    z.f.toestemmingen = {};
    z.f.toestemmingen.mic = false;
    z.volgt = false;
    z.vermogens[0].mechanisme = "XInput2";
    z.f.lus.verstrijk(DictaatRegelaar::toestemmingInterval);
    // The consent question on the first dictation, answered yes.
    z.f.regelaar->start(DictaatRegelaar::Bron::menu);
    z.f.lus.draai();
    z.f.vraag.beantwoord(0);
    z.f.lus.draai();
    for (const char* t :
         {"Nee: Tolmo vindt geen geluidsbron", "Houdtoets:\nJa: XInput2. De wisselsneltoets",
          "Nee: AT-SPI antwoordt niet", "XInput2 (ruwe toetsen).", "(versie 1)."}) {
        EXPECT_THAT(teksten(tab), HasSubstr(t));
    }
}

// The desktop's own shortcuts: its dialog only where it has one, and trying the key reports
// what came of it and lets the user try again.
TEST(Tabbladen, ToestemmingenProberenDeToetsVanHetBureaublad) {
    bool kan = false;
    int geopend = 0;
    std::function<void(bool)> antwoord;
    Opgezet z([&](Opgezet& voor) {
        voor.bureaublad = ToestemmingenTab::BureaubladToetsen{
            [&] { return kan; }, [&] { ++geopend; },
            [&](std::function<void(bool)> klaar) { antwoord = std::move(klaar); }};
    });
    auto& tab = z.tab<ToestemmingenTab>("Toestemmingen");
    auto* wijzig = metTekst<QPushButton>(tab, "Wijzigen…");
    auto* probeer = metTekst<QPushButton>(tab, "Toets proberen");
    EXPECT_FALSE(wijzig->isVisible());
    EXPECT_THAT(teksten(tab), HasSubstr("in de instellingen van je bureaublad"));
    kan = true;
    z.f.regelaar->logExtern("bureaublad meldt zijn dialoog");
    ASSERT_TRUE(wijzig->isVisible());
    QTest::mouseClick(wijzig, Qt::LeftButton);
    EXPECT_EQ(geopend, 1);

    for (const bool gehoord : {false, true}) {
        QTest::mouseClick(probeer, Qt::LeftButton);
        ASSERT_TRUE(antwoord);
        EXPECT_FALSE(probeer->isEnabled());
        EXPECT_THAT(teksten(tab), HasSubstr("Druk nu binnen 10 seconden"));
        std::exchange(antwoord, nullptr)(gehoord);
        EXPECT_TRUE(probeer->isEnabled());
        EXPECT_THAT(teksten(tab), HasSubstr(gehoord ? "geeft je sneltoets door"
                                                    : "hoorde binnen 10 seconden geen"));
    }
    EXPECT_TRUE(z.venster->grab().save("tolmo-instellingen-bureaubladtoetsen.png"));
}

// On a compositor that only binds keys itself, the tab shows its lines for the chosen keys, for
// the compositor the user picks, and copies them.
TEST(Tabbladen, ToestemmingenTonenDeRegelsVoorDeCompositor) {
    Opgezet z([](Opgezet& voor) {
        voor.bindingen = InstellingenKeuzes::BindingenKeuze{Compositor::hyprland, true};
    });
    auto& tab = z.tab<ToestemmingenTab>("Toestemmingen");
    auto* regels = tab.findChild<QPlainTextEdit*>();
    ASSERT_NE(regels, nullptr);
    const auto tekst = [&] { return regels->toPlainText().toStdString(); };
    EXPECT_THAT(tekst(), HasSubstr("bind = , Alt_R, exec, tolmo-bediening --start"));
    tab.findChild<QComboBox*>()->setCurrentIndex(0);
    EXPECT_THAT(tekst(), HasSubstr("bindsym --release Alt_R exec tolmo-bediening --stop"));
    z.f.regelaar->zetHoudToets(HoudToets::rechterControl);
    QApplication::processEvents();
    EXPECT_THAT(tekst(), HasSubstr("bindsym --release Control_R exec tolmo-bediening --stop"));
    QTest::mouseClick(metTekst<QPushButton>(tab, "Kopiëren"), Qt::LeftButton);
    EXPECT_EQ(QApplication::clipboard()->text().toStdString(), tekst());
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
