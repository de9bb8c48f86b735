// The settings window with every tab, built in this process as main.cpp builds them, over a
// real controller (every other port faked, the settings stores and the key vault real files),
// on a private X server; and what the tests of its tabs look for in it.
#pragma once

#include <QLineEdit>
#include <QTableWidget>
#include <fstream>
#include <functional>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <vector>

#include "Tolmo/MacRegelaar/Opstelling.h"
#include "Tolmo/linux/app/InstellingenVenster.h"
#include "Tolmo/linux/app/LogboekTab.h"
#include "Tolmo/linux/app/StijlenTab.h"
#include "Tolmo/linux/app/ToestemmingenTab.h"
#include "Tolmo/linux/app/WoordenlijstTab.h"
#include "Tolmo/linux/freedesktop/BestandsKluis.h"
#include "Tolmo/linux/freedesktop/XdgOpslag.h"
#include "nep/QtTest.h"
// Last: Xlib's macros; whoever includes this, includes it last.
#include "Tolmo/linux/LinuxAppStijlen.h"
#include "Tolmo/linux/x11/X11ToetsBron.h"
#include "Tolmo/linux/x11/X11Verbinding.h"

namespace tolmo {

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
inline QList<QLineEdit*> geheimeVelden(const QWidget& w) {
    auto velden = w.findChildren<QLineEdit*>();
    velden.removeIf([](QLineEdit* v) { return v->echoMode() != QLineEdit::Password; });
    return velden;
}

// Also the widgets put away with deleteLater and the timers that were due.
inline void pomp() {
    QApplication::processEvents();
    QApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QApplication::processEvents();
}

inline QTableWidget& tabel(QWidget& w) {
    return *w.findChildren<QTableWidget*>().at(0);
}

}  // namespace tolmo
