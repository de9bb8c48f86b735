// Each tab of the settings window on its own (styles, word list, log, permissions), over the
// same real controller and private X server: what the user does in a tab must land in the
// controller's settings and in the stored document, and what the controller reports must show.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QClipboard>
#include <QComboBox>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QScrollBar>
#include <QTableWidget>
#include <QTest>
#include <QWheelEvent>
#include <map>
#include <string>
#include <utility>

// Last: Xlib's macros.
#include "Tolmo/linux/app/InstellingenOpzet.h"

namespace tolmo {
namespace {

using nep::metTekst;
using nep::teksten;
using testing::HasSubstr;

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

}  // namespace
}  // namespace tolmo
