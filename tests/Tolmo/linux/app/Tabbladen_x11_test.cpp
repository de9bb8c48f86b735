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
#include <functional>
#include <memory>
#include <optional>
#include <string>
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

// A controller with the shell's Linux rows and a tab on it that hears every report, as the
// settings window passes them on.
template <typename Tab>
struct Opgezet {
    Opstelling o;
    std::unique_ptr<Tab> tab;

    explicit Opgezet(std::function<void(Opstelling&)> voor = {}) {
        nep::qtApp();
        if (voor) {
            voor(o);
        }
        o.maak();
    }
    template <typename... Args>
    Tab& bouw(Args&&... args) {
        tab = std::make_unique<Tab>(*o.regelaar, std::forward<Args>(args)...);
        o.regelaar->luister([this](DictaatRegelaar::Wijziging w) {
            if (tab) {
                tab->ververs(w);
            }
        });
        tab->resize(720, 560);
        tab->show();
        QApplication::processEvents();
        return *tab;
    }
    [[nodiscard]] TolmoInstellingen opgeslagen() {
        return GedeeldeOpslag(o.groep, o.standaard).laad();
    }
    [[nodiscard]] std::string melding() const {
        std::string alles;
        for (const QLabel* l : tab->template findChildren<QLabel*>()) {
            alles += l->text().toStdString() + "\n";
        }
        return alles;
    }
};

QPushButton* knop(QWidget& w, const QString& tekst) {
    for (QPushButton* k : w.findChildren<QPushButton*>()) {
        if (k->text() == tekst && k->isVisible()) {
            return k;
        }
    }
    ADD_FAILURE() << "geen knop " << tekst.toStdString();
    return nullptr;
}

// Also the widgets put away with deleteLater and the timers that were due.
void pomp() {
    QApplication::processEvents();
    QApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QApplication::processEvents();
}

QTableWidget& tabel(QWidget& w, int nummer = 0) {
    return *w.findChildren<QTableWidget*>().at(nummer);
}

TEST(Tabbladen, StijlenLandInDeInstellingenEnDeOpslag) {
    const AppStijl notities{"org.example.Notities", "Notities", Stijl::zakelijk};
    const auto zonder = [](const std::string& id) {
        return [id](TolmoInstellingen& t) {
            std::erase_if(t.stijlPerApp, [&id](const AppStijl& a) { return a.bundleId == id; });
        };
    };
    struct Geval {
        const char* naam;
        std::function<void(TolmoInstellingen&)> begin;
        std::optional<AppStijl> vorigeApp;
        std::function<void(StijlenTab&)> doe;
        std::function<void(TolmoInstellingen&)> verwacht;
        std::string melding;
    };
    const auto klik = [](const char* tekst) {
        return [tekst](StijlenTab& t) { QTest::mouseClick(knop(t, tekst), Qt::LeftButton); };
    };
    const auto kies = [](int rij, Qt::Key toets) {
        return [rij, toets](StijlenTab& t) {
            QWidget* box =
                rij < 0 ? t.findChildren<QComboBox*>().at(0) : tabel(t).cellWidget(rij, 2);
            QTest::keyClick(box, toets);
        };
    };
    std::vector<AppStijl> hersteld = standaardApps();
    hersteld.insert(hersteld.end(), linuxAppStijlen().begin(), linuxAppStijlen().end());
    hersteld.push_back(notities);
    const std::vector<Geval> gevallen{
        {"standaardstijl",
         {},
         {},
         kies(-1, Qt::Key_Down),
         [](TolmoInstellingen& t) { t.standaardStijl = Stijl::los; },
         ""},
        // WhatsApp is loose: one step up is neutral.
        {"stijl van een rij",
         {},
         {},
         kies(3, Qt::Key_Up),
         [](TolmoInstellingen& t) { t.stijlPerApp[3].stijl = Stijl::neutraal; },
         ""},
        {"eigen app erbij",
         {},
         AppStijl{"org.example.Notities", "Notities", Stijl::los},
         klik("Vorige app toevoegen"),
         [](TolmoInstellingen& t) {
             t.stijlPerApp.push_back({"org.example.Notities", "Notities", Stijl::neutraal});
         },
         "Notities staat nu in de lijst met stijl Neutraal."},
        // A terminal Tolmo knows keeps its literal style.
        {"bekende Linux-app erbij",
         {},
         AppStijl{"kitty", "kitty", Stijl::neutraal},
         klik("Vorige app toevoegen"),
         [](TolmoInstellingen& t) {
             t.stijlPerApp.push_back({"kitty", "kitty", Stijl::letterlijk});
         },
         "kitty staat nu in de lijst met stijl Letterlijk."},
        {"al in de lijst",
         {},
         AppStijl{"COM.APPLE.MAIL", "Mail", Stijl::neutraal},
         klik("Vorige app toevoegen"),
         {},
         "Mail staat al in de lijst."},
        {"geen vorige app",
         {},
         std::nullopt,
         klik("Vorige app toevoegen"),
         {},
         "Er was geen app actief voordat je de instellingen opende."},
        {"rij verwijderen",
         {},
         {},
         [&](StijlenTab& t) {
             tabel(t).selectRow(1);
             QTest::mouseClick(knop(t, "Verwijderen"), Qt::LeftButton);
         },
         zonder("com.microsoft.Outlook"),
         ""},
        // Removed and changed built-in rows come back as built; the user's own app stays, and
        // their row for Thunderbird in other capitals is the built-in row.
        {"herstellen",
         [&](TolmoInstellingen& t) {
             zonder("com.apple.mail")(t);
             t.stijlPerApp[3].stijl = Stijl::letterlijk;
             t.stijlPerApp.push_back(notities);
             t.stijlPerApp.push_back({"THUNDERBIRD", "Thunderbird", Stijl::los});
         },
         {},
         klik("Ingebouwde lijst herstellen"),
         [&](TolmoInstellingen& t) { t.stijlPerApp = hersteld; },
         "De ingebouwde lijst is hersteld."},
    };
    for (const Geval& g : gevallen) {
        SCOPED_TRACE(g.naam);
        Opgezet<StijlenTab> z;
        if (g.begin) {
            z.o.regelaar->wijzigInstellingen(g.begin);
        }
        TolmoInstellingen verwacht = z.o.regelaar->instellingen();
        auto& tab = z.bouw(linuxAppStijlen(), [&g] { return g.vorigeApp; });
        g.doe(tab);
        pomp();
        if (g.verwacht) {
            g.verwacht(verwacht);
        }
        EXPECT_EQ(z.o.regelaar->instellingen().standaardStijl, verwacht.standaardStijl);
        EXPECT_EQ(z.o.regelaar->instellingen().stijlPerApp, verwacht.stijlPerApp);
        EXPECT_EQ(z.opgeslagen().standaardStijl, verwacht.standaardStijl);
        EXPECT_EQ(z.opgeslagen().stijlPerApp, verwacht.stijlPerApp);
        // The table shows what is stored.
        ASSERT_EQ(tabel(tab).rowCount(), static_cast<int>(verwacht.stijlPerApp.size()));
        for (int rij = 0; rij < tabel(tab).rowCount(); ++rij) {
            const AppStijl& a = verwacht.stijlPerApp[static_cast<std::size_t>(rij)];
            EXPECT_EQ(tabel(tab).item(rij, 1)->text().toStdString(), a.bundleId);
            EXPECT_EQ(static_cast<QComboBox*>(tabel(tab).cellWidget(rij, 2))->currentText(),
                      StijlenTab::naam(a.stijl));
        }
        EXPECT_THAT(z.melding(), testing::HasSubstr(g.melding));
    }
}

TEST(Tabbladen, EenVoorstelToevoegenEnDeGrensVanDeLijst) {
    struct Geval {
        const char* naam;
        std::vector<std::string> woorden;
        std::string klik;
        std::vector<std::string> daarna;
        std::string melding;
    };
    std::vector<std::string> vol;
    for (int i = 0; i < 200; ++i) {
        vol.push_back("term" + std::to_string(i));
    }
    const std::vector<Geval> gevallen{
        {"nieuw", {"Tolmo"}, "iPhone", {"Tolmo", "iPhone"}, "iPhone staat nu in de woordenlijst."},
        {"al in de lijst", {"IPHONE"}, "iPhone", {"IPHONE"}, "Staat al in de woordenlijst."},
        {"vol", vol, "ChatGPT", vol, "De woordenlijst is vol (200 termen)."},
    };
    for (const Geval& g : gevallen) {
        SCOPED_TRACE(g.naam);
        Opgezet<WoordenlijstTab> z([](Opstelling& o) {
            o.transcript = "we gebruiken chat gpt op de iphone";
            o.schoon = "We gebruiken ChatGPT op de iPhone.";
        });
        auto& tab = z.bouw();
        z.o.dicteer();
        // After the dictation: a word already in the list would not have been proposed.
        z.o.regelaar->wijzigInstellingen([&g](TolmoInstellingen& t) { t.woorden = g.woorden; });
        pomp();
        ASSERT_FALSE(z.o.regelaar->woordVoorstellen().empty());
        QPushButton* toevoegen = nullptr;
        for (QPushButton* k : tab.findChildren<QPushButton*>(QString::fromStdString(g.klik))) {
            toevoegen = k->isVisible() ? k : toevoegen;
        }
        ASSERT_NE(toevoegen, nullptr);
        EXPECT_EQ(toevoegen->text(), "Toevoegen");
        QTest::mouseClick(toevoegen, Qt::LeftButton);
        pomp();
        EXPECT_EQ(z.o.regelaar->instellingen().woorden, g.daarna);
        EXPECT_EQ(z.opgeslagen().woorden, g.daarna);
        EXPECT_THAT(z.melding(), testing::HasSubstr(g.melding));
        // The clicked proposal is gone; the other stays.
        EXPECT_TRUE(
            tab.findChildren<QPushButton*>(QString::fromStdString(g.klik)).empty() ||
            !tab.findChildren<QPushButton*>(QString::fromStdString(g.klik))[0]->isVisible());
        EXPECT_EQ(z.o.regelaar->woordVoorstellen().size(), 1U);
    }
}

TEST(Tabbladen, EenVervangingBewerken) {
    using Tabel = std::map<std::string, std::vector<std::string>>;
    const Tabel begin{{"Tolmo", {"tolmo", "tol mo"}}, {"KLM", {"ka el em"}}};
    struct Geval {
        const char* naam;
        int kolom;  // of the "KLM" row
        const char* tekst;
        Tabel verwacht;
        std::string melding;
    };
    const std::vector<Geval> gevallen{
        {"uitspraken",
         1,
         " ka el em,kaelem , ka el em",
         {{"Tolmo", {"tolmo", "tol mo"}}, {"KLM", {"ka el em", "kaelem"}}},
         ""},
        {"schrijfwijze",
         0,
         "K.L.M.",
         {{"Tolmo", {"tolmo", "tol mo"}}, {"K.L.M.", {"ka el em"}}},
         ""},
        {"schrijfwijze bestaat al", 0, "Tolmo", begin, "Tolmo staat al in de vervangingen."},
        {"leeg", 0, "  ", begin, "Een vervanging heeft een schrijfwijze nodig."},
    };
    for (const Geval& g : gevallen) {
        SCOPED_TRACE(g.naam);
        Opgezet<WoordenlijstTab> z;
        z.o.regelaar->wijzigInstellingen(
            [&begin](TolmoInstellingen& t) { t.vervangingen = begin; });
        auto& tab = z.bouw();
        QTableWidget& t = tabel(tab);
        ASSERT_EQ(t.rowCount(), 2);
        ASSERT_EQ(t.item(0, 0)->text(), "KLM");
        t.item(0, g.kolom)->setText(g.tekst);
        pomp();
        EXPECT_EQ(z.o.regelaar->instellingen().vervangingen, g.verwacht);
        EXPECT_EQ(z.opgeslagen().vervangingen, g.verwacht);
        EXPECT_THAT(z.melding(), testing::HasSubstr(g.melding));
        ASSERT_EQ(t.rowCount(), static_cast<int>(g.verwacht.size()));
        int rij = 0;
        for (const auto& [schrijfwijze, uitspraken] : g.verwacht) {
            EXPECT_EQ(t.item(rij, 0)->text().toStdString(), schrijfwijze);
            EXPECT_EQ(WoordenlijstTab::varianten(t.item(rij, 1)->text()), uitspraken);
            ++rij;
        }
    }
}

TEST(Tabbladen, HetLogboekGroeitEnVolgtHetEinde) {
    Opgezet<LogboekTab> z;
    auto& tab = z.bouw();
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
    Opgezet<ToestemmingenTab> z([](Opstelling& o) {
        o.toestemmingen.invoer = false;
        o.toestemmingen.toegang = false;
        o.groep.verwijder(std::string(CloudToestemming::sleutel));
    });
    bool volgt = true;
    X11Verbinding x;
    auto& tab = z.bouw(X11ToetsBron(x).teksten(), [&volgt] { return volgt; });
    EXPECT_THAT(z.melding(), testing::HasSubstr("Nee: XInput2 ontbreekt op deze X-server"));
    EXPECT_THAT(z.melding(), testing::HasSubstr("niets (XInput2 ontbreekt op deze X-server)."));
    EXPECT_THAT(z.melding(), testing::HasSubstr("Nog niet gegeven."));
    EXPECT_THAT(z.melding(), testing::HasSubstr("Ja: er is een geluidsbron"));
    EXPECT_THAT(z.melding(), testing::HasSubstr("Nee: XTest ontbreekt"));
    // The poll sees the change; the tab shows it without being asked.
    z.o.toestemmingen.invoer = true;
    z.o.toestemmingen.toegang = true;
    z.o.toestemmingen.mic = false;
    volgt = false;
    z.o.lus.verstrijk(DictaatRegelaar::toestemmingInterval);
    QApplication::processEvents();
    EXPECT_THAT(z.melding(), testing::HasSubstr("Ja: XInput2 laat Tolmo"));
    EXPECT_THAT(z.melding(), testing::HasSubstr("XInput2 (ruwe toetsen)."));
    EXPECT_THAT(z.melding(), testing::HasSubstr("Nee: Tolmo vindt geen geluidsbron"));
    EXPECT_THAT(z.melding(), testing::HasSubstr("Nee: AT-SPI antwoordt niet"));
    EXPECT_THAT(z.melding(), testing::HasSubstr("Ja: XTest drukt"));
    // The consent question on the first dictation, answered yes.
    z.o.regelaar->start(DictaatRegelaar::Bron::menu);
    z.o.lus.draai();
    ASSERT_TRUE(z.o.vraag.openAntwoord);
    z.o.vraag.beantwoord(0);
    z.o.lus.draai();
    EXPECT_THAT(z.melding(), testing::HasSubstr("(versie 1)."));
    (void)tab;
}

// The texts the user reads, and a picture of every tab for a person to look at.
TEST(Tabbladen, TekstenEnSchermafdrukken) {
    Opgezet<StijlenTab> stijlen;
    Opgezet<WoordenlijstTab> woorden([](Opstelling& o) {
        o.transcript = "we gebruiken chat gpt op de iphone";
        o.schoon = "We gebruiken ChatGPT op de iPhone.";
    });
    Opgezet<ToestemmingenTab> toestemmingen;
    Opgezet<LogboekTab> logboek;
    stijlen.bouw(linuxAppStijlen(), [] { return std::optional<AppStijl>(); });
    woorden.o.regelaar->wijzigInstellingen([](TolmoInstellingen& t) {
        t.woorden = {"Tolmo", "PulseAudio", "XInput2"};
        t.vervangingen = {{"Tolmo", {"tolmo", "tol mo"}}, {"KLM", {"ka el em"}}};
    });
    woorden.bouw();
    woorden.o.dicteer();
    X11Verbinding x;
    toestemmingen.bouw(X11ToetsBron(x).teksten(), [] { return true; });
    logboek.bouw();
    struct Rij {
        QWidget* tab;
        const char* bestand;
        QString tekst;
    };
    const std::vector<Rij> rijen{
        {stijlen.tab.get(), "stijlen",
         "Zakelijk: volledige zinnen zoals in een e-mail. Los: zoals een chatbericht. "
         "Letterlijk: zo min mogelijk veranderen, code en termen blijven precies staan."},
        {stijlen.tab.get(), "stijlen", "Ingebouwde lijst herstellen"},
        {woorden.tab.get(), "woordenlijst", "Toevoegen"},
        {toestemmingen.tab.get(), "toestemmingen", "Houdtoets via:"},
        {logboek.tab.get(), "logboek", "Kopiëren"},
    };
    for (const Rij& r : rijen) {
        SCOPED_TRACE(r.tekst.toStdString());
        bool gezien = false;
        for (const QLabel* l : r.tab->findChildren<QLabel*>()) {
            gezien = gezien || (l->text() == r.tekst && l->isVisible());
        }
        for (const QPushButton* k : r.tab->findChildren<QPushButton*>()) {
            gezien = gezien || (k->text() == r.tekst && k->isVisible());
        }
        EXPECT_TRUE(gezien);
        QApplication::processEvents();
        EXPECT_TRUE(r.tab->grab().save(QString("tolmo-instellingen-") + r.bestand + ".png"));
    }
}

}  // namespace
}  // namespace tolmo
