#import <AppKit/AppKit.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <string>
#include <variant>

#include "Tolmo/GolfView/GolfAnimatie.h"
#include "Tolmo/GolfView/GolfShader.h"
#include "Tolmo/MacRegelaar/DictaatRegelaar.h"
#include "Tolmo/MacVertaling/EersteStart.h"
#include "Tolmo/MacVertaling/MenuStand.h"
#include "Tolmo/MacVertaling/ServerAdres.h"
#include "Tolmo/Poorten/DraadWerker.h"
#include "Tolmo/Poorten/SleutelWaardeLogOpslag.h"
#include "Tolmo/mac/AVAudioEngineAdapter.h"
#include "Tolmo/mac/AVAudioSchrijver.h"
#include "Tolmo/mac/AVOmzetter.h"
#include "Tolmo/mac/GebruikersStandaarden.h"
#include "Tolmo/mac/MacFocus.h"
#include "Tolmo/mac/MacHoofdLus.h"
#include "Tolmo/mac/MacToestemmingen.h"
#include "Tolmo/mac/MacToestemmingsVraag.h"
#include "Tolmo/mac/QuartzToetsBron.h"
#include "Tolmo/mac/Sleutelhanger.h"
#include "Tolmo/mac/Systeemklembord.h"
#include "Tolmo/mac/app/InstellingenVenster.h"
#include "Tolmo/mac/app/MenuBalk.h"
#include "Tolmo/mac/app/OpnamePaneel.h"

namespace tolmo {
namespace {

// Every adapter of the Mac shell, composed once; the controller gets them as its ports.
struct Samenstelling {
    MacHoofdLus lus;
    MacToestemmingen toestemmingen;
    QuartzToetsBron toetsen;
    AVAudioEngineAdapter engine;
    AVOmzetter::Maker omzetters;
    AVAudioSchrijver::Maker schrijvers;
    Systeemklembord klembord;
    MacFocus focus;
    MacToestemmingsVraag vraag;
    GebruikersStandaarden groep{std::string(GebruikersStandaarden::groep)};
    GebruikersStandaarden standaard;
    SleutelWaardeLogOpslag logOpslag{groep, Logboek::maximum};
    DraadWerker werker;
    Sleutelhanger kluis;
    std::unique_ptr<MenuBalk> menu;
    GolfAnimatie golf{NSApp.effectiveAppearance.name == NSAppearanceNameDarkAqua
                          ? GolfAnimatie::Thema::donkerThema()
                          : GolfAnimatie::Thema::lichtThema()};
    OpnamePaneel indicator{std::make_unique<GolfView>(
        std::string(GolfShader::bron()), [this](float breedte, float hoogte, double nu) {
            const U u = golf.beeld(breedte, hoogte, nu);
            GolfView::Uniformen bytes;
            std::memcpy(bytes.data(), &u, sizeof u);
            return bytes;
        })};
    std::unique_ptr<InstellingenVenster> venster;
    // Last, so it goes first: it holds every port above.
    std::unique_ptr<DictaatRegelaar> regelaar;

    static std::string versie() {
        NSString* v =
            [NSBundle.mainBundle objectForInfoDictionaryKey:@"CFBundleShortVersionString"];
        return v != nil ? std::string(v.UTF8String) : std::string("ontwikkeling");
    }

    // The chain finds the relay through the environment; an app opened from the Finder has
    // none, so the address the user or the build chose is put there.
    void zetServerAdresInOmgeving() {
        const char* omgeving = std::getenv(ServerAdres::omgevingsvariabele);
        std::optional<std::string> ingevoerd;
        if (auto w = standaard.lees(ServerAdres::instellingSleutel)) {
            if (const auto* tekst = std::get_if<std::string>(&*w)) {
                ingevoerd = *tekst;
            }
        }
        NSString* bundel = [NSBundle.mainBundle
            objectForInfoDictionaryKey:[NSString stringWithUTF8String:ServerAdres::bundelSleutel]];
        const auto adres = ServerAdres::kies(
            omgeving != nullptr ? std::optional<std::string>(omgeving) : std::nullopt, ingevoerd,
            bundel != nil ? std::optional<std::string>(bundel.UTF8String) : std::nullopt);
        if (adres) {
            setenv(ServerAdres::omgevingsvariabele, adres->c_str(), 1);
        }
    }

    std::optional<std::string> zetServerAdres(const std::string& invoer) {
        const auto adres = ServerAdres::geldig(invoer);
        if (!adres) {
            return std::string("Dit is geen serveradres. Het begint met https:// en een naam.");
        }
        standaard.zet(ServerAdres::instellingSleutel, *adres);
        setenv(ServerAdres::omgevingsvariabele, adres->c_str(), 1);
        return std::nullopt;
    }

    std::optional<std::string> zetToegangscode(const std::string& code) {
        try {
            kluis.zet("server", code);
            return std::nullopt;
        } catch (const std::runtime_error& e) {
            return std::string(e.what());
        }
    }

    MenuStand stand() const {
        return MenuStand::van(regelaar->toestand(), regelaar->melding(), regelaar->instellingen(),
                              regelaar->toestemmingen());
    }

    void bouw() {
        menu = std::make_unique<MenuBalk>(MenuBalk::Handelingen{
            [this] { return stand(); },
            [this](MenuStand::Actie a) {
                if (a == MenuStand::Actie::annuleer) {
                    regelaar->annuleer();
                } else {
                    regelaar->wissel(DictaatRegelaar::Bron::menu);
                }
            },
            {},
            [this] { venster->toon(InstellingenVenster::Tab::algemeen); },
            [this] { venster->toon(InstellingenVenster::Tab::logboek); },
            [] { [NSApp terminate:nil]; },
            [this] { venster->toon(InstellingenVenster::Tab::toestemmingen); }});
        indicator.opVeranderd = [this] { menu->ververs(); };
        zetServerAdresInOmgeving();
        DictaatRegelaar::Opties opties;
        opties.versie = versie();
        opties.formaat = AudioFormaat::m4a;
        regelaar = std::make_unique<DictaatRegelaar>(
            DictaatRegelaar::Poorten{lus, toestemmingen, toetsen, engine, omzetters, schrijvers,
                                     klembord, focus, vraag, indicator, *menu, logOpslag, werker,
                                     groep, standaard, kluis},
            std::move(opties));
        golf.zetNiveauBron(GolfAnimatie::uitKanaal(regelaar->niveau()));
        golf.zetBewegingBeperkt(NSWorkspace.sharedWorkspace.accessibilityDisplayShouldReduceMotion);
        regelaar->luister([this](DictaatRegelaar::Wijziging w) {
            if (w == DictaatRegelaar::Wijziging::toestand) {
                golf.zetStand(MenuStand::golfStand(regelaar->toestand()));
                // Keys read now, off the main thread, are ready when the recording stops.
                if (regelaar->toestand() == DictaatRegelaar::Toestand::neemtOp) {
                    kluis.ververs();
                }
            }
            if (w == DictaatRegelaar::Wijziging::logRegel) {
                // Also on standard error, for a run from a terminal and the CI's launch test.
                const auto regels = regelaar->logboek().teksten();
                if (!regels.empty()) {
                    std::fprintf(stderr, "tolmo: %s\n", regels.back().c_str());
                }
            }
            menu->ververs();
        });
        venster = std::make_unique<InstellingenVenster>(InstellingenVenster::Handelingen{
            [this] { return regelaar->klembordHerstellen(); },
            [this](bool aan) { regelaar->zetKlembordHerstellen(aan); },
            [this] { return regelaar->toonBalk(); },
            [this](bool aan) { regelaar->zetToonBalk(aan); },
            [this] { return regelaar->toestemmingen(); },
            [this] {
                return std::string(
                    SneltoetsMonitor::tekst(regelaar->houdtoetsMechanisme(), ToetsBron::Teksten{}));
            },
            [this] { return regelaar->logboek().teksten(); },
            [] {
                const char* adres = std::getenv(ServerAdres::omgevingsvariabele);
                return std::string(adres != nullptr ? adres : "");
            },
            [this](const std::string& invoer) { return zetServerAdres(invoer); },
            [this](const std::string& code) { return zetToegangscode(code); }});
        regelaar->opstarten();
        menu->ververs();
        vraagBijEersteStart();
    }

    // The system asks for a permission only when the app requests it; the first launch says
    // why first, then requests what is missing. Later launches only bring up the microphone's
    // question while it is undecided.
    void vraagBijEersteStart() {
        const auto gevraagd = standaard.lees(EersteStart::gevraagdSleutel);
        const bool alGevraagd =
            gevraagd && std::holds_alternative<bool>(*gevraagd) && std::get<bool>(*gevraagd);
        const auto v = EersteStart::vraag(regelaar->toestemmingen(), alGevraagd);
        if (!v) {
            MacToestemmingen::vraagMicrofoon();
            return;
        }
        standaard.zet(EersteStart::gevraagdSleutel, true);
        const auto ontbreekt = v->ontbreekt;
        vraag.vraag(v->titel, v->tekst, v->knoppen, [ontbreekt](int antwoord) {
            if (antwoord != 0) {
                return;
            }
            if (ontbreekt.microfoon) {
                MacToestemmingen::vraagMicrofoon();
            }
            if (ontbreekt.invoermonitoring) {
                MacToestemmingen::vraagInvoermonitoring();
            }
            if (ontbreekt.toegankelijkheid) {
                MacToestemmingen::vraagToegankelijkheid();
            }
        });
    }
};

}  // namespace
}  // namespace tolmo

@interface TolmoAppDelegate : NSObject <NSApplicationDelegate>
@end

@implementation TolmoAppDelegate {
    std::unique_ptr<tolmo::Samenstelling> _app;
}

- (void)applicationDidFinishLaunching:(NSNotification*)notification {
    _app = std::make_unique<tolmo::Samenstelling>();
    _app->bouw();
}

- (void)applicationWillTerminate:(NSNotification*)notification {
    // Cancels a running dictation, releases the keys and puts a waiting clipboard back.
    _app->regelaar->afsluiten();
    _app->regelaar.reset();
    _app.reset();
}
@end
