#include "Tolmo/linux/app/BureaubladPortalen.h"

#include <utility>

#include "Tolmo/MacRegelaar/DictaatRegelaar.h"
#include "Tolmo/Poorten/ToestemmingsVraag.h"
#include "Tolmo/linux/app/Systeemvak.h"
#include "Tolmo/linux/portaal/PortaalSneltoetsen.h"
#include "Tolmo/linux/wayland/WaylandAdapters.h"
#include "Tolmo/linux/wayland/WaylandBindingen.h"

namespace tolmo {

BureaubladPortalen::BureaubladPortalen(WaylandAdapters& adapters, DictaatRegelaar& regelaar,
                                       ToestemmingsVraag& vraag, Systeemvak& vak,
                                       std::function<void(const std::string&)> log)
    : adapters_(adapters), regelaar_(regelaar), vraag_(vraag), vak_(vak), log_(std::move(log)) {}

void BureaubladPortalen::start() {
    if (!adapters_.gebruiktPortalen()) {
        return;
    }
    const bool eersteStart = !adapters_.heeftPortaalToken();
    const auto start = [this, eersteStart](bool metSessie) {
        adapters_.startPortalen(portaalTriggers(regelaar_.macInstellingen()), metSessie, log_,
                                [this, eersteStart] {
                                    vak_.ververs();
                                    if (eersteStart) {
                                        probeerBijEersteStart();
                                    }
                                });
    };
    if (!eersteStart) {
        start(true);
        return;
    }
    // GNOME's dialog starts with the keyboard switched off and sharing greyed out; without being
    // told, a user cancels it. Its labels as GNOME shows them in Dutch.
    const std::string gnome =
        adapters_.gnome() ? " Zet in dat venster \"Interactie vanop afstand toestaan\" aan, laat "
                            "\"Deze selectie onthouden\" aangevinkt en kies \"Delen\". Zolang "
                            "Tolmo draait, staat rechtsboven het pictogram van bureaublad op "
                            "afstand."
                          : "";
    vraag_.vraag("Tolmo wil kunnen plakken",
                 "Je bureaublad laat een app alleen toetsen sturen en het klembord gebruiken met "
                 "jouw toestemming. Zo vraagt het bureaublad of Tolmo je toetsenbord mag "
                 "gebruiken (\"extern bureaublad\"). Tolmo stuurt daarmee alleen Ctrl+V, nadat je "
                 "gedicteerd hebt, en zet je klembord daarna terug. Je geeft dit één keer; daarna "
                 "vraagt het bureaublad het niet opnieuw." +
                     gnome +
                     "\n\nWeiger je, dan komt je tekst op het klembord en plak je hem zelf.",
                 {"Doorgaan", "Niet nu"}, [start](int knop) { start(knop == 0); });
}

std::optional<ToestemmingenTab::BureaubladToetsen> BureaubladPortalen::instellingen() {
    auto* p = adapters_.portaalSneltoetsen();
    if (p == nullptr) {
        return std::nullopt;
    }
    return ToestemmingenTab::BureaubladToetsen{
        [p] { return p->kanInstellingenOpenen(); }, [p] { p->openInstellingen(); },
        [this](std::function<void(bool)> klaar) {
            probeer(std::chrono::seconds(10), "binnen 10 s", std::move(klaar));
        }};
}

void BureaubladPortalen::dictaatKlaar() {
    if (auto* p = adapters_.portaalSneltoetsen()) {
        p->laatLos();
    }
}

void BureaubladPortalen::probeer(std::chrono::milliseconds duur, const std::string& binnen,
                                 std::function<void(bool)> klaar) {
    const unsigned int nummer = ++proeven_;
    adapters_.portaalSneltoetsen()->controleer(
        duur, [this, nummer, binnen, klaar = std::move(klaar)](bool gehoord) {
            if (nummer != proeven_) {
                return;
            }
            log_(gehoord ? "Sneltoets geprobeerd: het bureaublad meldde hem"
                         : "Sneltoets geprobeerd: het bureaublad meldde " + binnen + " niets");
            klaar(gehoord);
        });
}

// Once the first start's dialogs are answered, the user is asked to press the key once: a press
// that does not arrive is then known, and the way around it said, before the first real
// dictation goes nowhere.
void BureaubladPortalen::probeerBijEersteStart() {
    auto* p = adapters_.portaalSneltoetsen();
    if (p == nullptr || !adapters_.sneltoetsenGebonden()) {
        return;
    }
    const auto t = p->triggers().find(PortaalSneltoetsen::houdId);
    const std::string toets =
        t == p->triggers().end() || t->second.empty() ? "je sneltoets" : t->second;
    vak_.toon({"Druk één keer op " + toets +
                   ": zo ziet Tolmo of je bureaublad de sneltoets doorgeeft. Deze keer dicteer je "
                   "nog niet.",
               false, std::string("Probeer je sneltoets")});
    probeer(std::chrono::minutes(1), "binnen een minuut", [this, p, toets](bool gehoord) {
        const std::string gebruik =
            p->zonderLoslaten()
                ? "Je bureaublad meldt niet wanneer je hem loslaat: druk één keer op " + toets +
                      " om te beginnen en nog een keer om te stoppen."
                : "Houd " + toets + " vast terwijl je spreekt en laat los als je klaar bent.";
        vak_.toon(gehoord ? Melding{"Je sneltoets werkt. " + gebruik, false,
                                    std::string("Sneltoets werkt")}
                          : Melding{"Tolmo kreeg binnen een minuut geen sneltoets van je "
                                    "bureaublad. Gebeurde er niets toen je " +
                                        toets +
                                        " indrukte? Maak dan in de instellingen van je bureaublad "
                                        "een eigen sneltoets die tolmo-bediening --wissel "
                                        "uitvoert: die start en stopt het dicteren.",
                                    true, std::string("Sneltoets niet ontvangen")});
        vak_.ververs();
    });
}

}  // namespace tolmo
