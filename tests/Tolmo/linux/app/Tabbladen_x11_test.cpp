// The settings tabs over a real controller with fake ports, on a private X server: what the user
// does in a tab must land in the controller's settings and in the stored document, and what the
// controller reports must show in the tab.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QApplication>
#include <QClipboard>
#include <QComboBox>
#include <QLabel>
#include <QPushButton>
#include <QScrollBar>
#include <QTableWidget>
#include <QTest>
#include <QWheelEvent>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <tuple>
#include <vector>

#include "Tolmo/MacRegelaar/Opstelling.h"
#include "Tolmo/linux/app/LogboekTab.h"
#include "Tolmo/linux/app/StijlenTab.h"
#include "Tolmo/linux/app/ToestemmingenTab.h"
#include "Tolmo/linux/app/WoordenlijstTab.h"
#include "TolmoKern/Instellingen/GedeeldeOpslag.h"
#include "nep/QtTest.h"
// Last: Xlib's macros.
#include "Tolmo/linux/X11Focus.h"
#include "Tolmo/linux/X11ToetsBron.h"
#include "Tolmo/linux/X11Verbinding.h"

namespace tolmo {
namespace {

using test::Opstelling;

// A controller with fake ports and tabs on it that hear every report, as the settings window
// passes them on.
struct Opgezet {
    // Before the controller, so they go after it: no report reaches a tab that is gone.
    std::vector<std::unique_ptr<InstellingenTab>> tabs;
    Opstelling o;

    explicit Opgezet(const std::function<void(Opstelling&)>& voor = {}) {
        nep::qtApp();
        o.transcript = "we gebruiken chat gpt op de iphone";
        o.schoon = "We gebruiken ChatGPT op de iPhone.";
        if (voor) {
            voor(o);
        }
        o.maak();
        o.regelaar->luister([this](DictaatRegelaar::Wijziging w) {
            for (auto& tab : tabs) {
                tab->ververs(w);
            }
        });
    }
    template <typename Tab, typename... Args>
    Tab& bouw(Args&&... args) {
        auto tab = std::make_unique<Tab>(*o.regelaar, std::forward<Args>(args)...);
        Tab& t = *tab;
        tabs.push_back(std::move(tab));
        t.resize(720, 560);
        t.show();
        QApplication::processEvents();
        return t;
    }
    [[nodiscard]] TolmoInstellingen opgeslagen() {
        return GedeeldeOpslag(o.groep, o.standaard).laad();
    }
};

using nep::teksten;

QPushButton* knop(QWidget& w, const QString& tekst) {
    return nep::metTekst<QPushButton>(w, tekst);
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
        return [tekst](StijlenTab& t) { QTest::mouseClick(knop(t, tekst), Qt::LeftButton); };
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
        QTest::mouseClick(knop(t, "Verwijderen"), Qt::LeftButton);
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
            z.o.regelaar->wijzigInstellingen(g.begin);
        }
        TolmoInstellingen verwacht = z.o.regelaar->instellingen();
        auto& tab = z.bouw<StijlenTab>(linuxAppStijlen(), [&g] { return g.vorigeApp; });
        g.doe(tab);
        pomp();
        if (g.verwacht) {
            g.verwacht(verwacht);
        }
        for (const TolmoInstellingen& nu : {z.o.regelaar->instellingen(), z.opgeslagen()}) {
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
        EXPECT_THAT(teksten(tab), testing::HasSubstr(g.melding));
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
        auto& tab = z.bouw<WoordenlijstTab>();
        z.o.dicteer();
        // After the dictation: a word already in the list would not have been proposed.
        z.o.regelaar->wijzigInstellingen([&g](TolmoInstellingen& t) { t.woorden = g.woorden; });
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
        EXPECT_EQ(z.o.regelaar->instellingen().woorden, g.daarna);
        EXPECT_EQ(z.opgeslagen().woorden, g.daarna);
        EXPECT_THAT(teksten(tab), testing::HasSubstr(g.melding));
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
        z.o.regelaar->wijzigInstellingen([&](TolmoInstellingen& t) { t.vervangingen = begin; });
        auto& tab = z.bouw<WoordenlijstTab>();
        QTableWidget& t = tabel(tab);
        ASSERT_EQ(t.item(0, 0)->text(), "KLM");
        t.item(0, g.kolom)->setText(g.tekst);
        pomp();
        EXPECT_EQ(z.o.regelaar->instellingen().vervangingen, g.verwacht);
        EXPECT_EQ(z.opgeslagen().vervangingen, g.verwacht);
        EXPECT_THAT(teksten(tab), testing::HasSubstr(g.melding));
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
    auto& tab = z.bouw<LogboekTab>();
    const auto tekst = [&tab] { return tab.weergave().toPlainText().toStdString(); };
    EXPECT_THAT(tekst(), testing::HasSubstr("Mac-app gestart (1.4.2)"));
    for (int i = 0; i < 60; ++i) {
        z.o.regelaar->zetKlembordHerstellen(i % 2 == 0);
    }
    QApplication::processEvents();
    QScrollBar* balk = tab.weergave().verticalScrollBar();
    ASSERT_GT(balk->maximum(), 0);
    EXPECT_EQ(balk->value(), balk->maximum());
    // Scrolled up, the view stays where the user reads.
    balk->setValue(3);
    z.o.regelaar->voegWoordToe("Tolmo");
    QApplication::processEvents();
    EXPECT_THAT(tekst(), testing::HasSubstr("Term toegevoegd aan de woordenlijst (1 termen)"));
    EXPECT_EQ(balk->value(), 3);
    QTest::mouseClick(knop(tab, "Kopiëren"), Qt::LeftButton);
    EXPECT_EQ(QApplication::clipboard()->text().toStdString(), tekst());
}

TEST(Tabbladen, ToestemmingenVolgenDeStand) {
    Opgezet z([](Opstelling& o) {
        o.toestemmingen.invoer = false;
        o.toestemmingen.toegang = false;
        o.groep.verwijder(std::string(CloudToestemming::sleutel));
    });
    bool volgt = true;
    X11Verbinding x;
    auto& tab = z.bouw<ToestemmingenTab>(X11ToetsBron(x).teksten(), [&volgt] { return volgt; });
    for (const char* t : {"Ja: er is een geluidsbron", "Nee: XInput2 ontbreekt op deze X-server",
                          "Nee: XTest ontbreekt", "Ja: via AT-SPI",
                          "niets (XInput2 ontbreekt op deze X-server).", "Nog niet gegeven."}) {
        EXPECT_THAT(teksten(tab), testing::HasSubstr(t));
    }
    // The poll sees the change; the tab shows it without being asked.
    z.o.toestemmingen = {};
    z.o.toestemmingen.mic = false;
    volgt = false;
    z.o.lus.verstrijk(DictaatRegelaar::toestemmingInterval);
    // The consent question on the first dictation, answered yes.
    z.o.regelaar->start(DictaatRegelaar::Bron::menu);
    z.o.lus.draai();
    z.o.vraag.beantwoord(0);
    z.o.lus.draai();
    for (const char* t :
         {"Nee: Tolmo vindt geen geluidsbron", "Ja: XInput2 laat Tolmo", "Ja: XTest drukt",
          "Nee: AT-SPI antwoordt niet", "XInput2 (ruwe toetsen).", "(versie 1)."}) {
        EXPECT_THAT(teksten(tab), testing::HasSubstr(t));
    }
}

}  // namespace
}  // namespace tolmo
