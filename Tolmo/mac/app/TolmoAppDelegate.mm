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
#include "Tolmo/mac/app/EersteStartVraag.h"
#include "Tolmo/mac/app/InstellingenVenster.h"
#include "Tolmo/mac/app/MenuBalk.h"
#include "Tolmo/mac/app/OpnamePaneel.h"
#include "Tolmo/mac/app/ServerOmgeving.h"

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
        ServerOmgeving::zetInOmgeving(standaard);
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
            [this](const std::string& invoer) { return ServerOmgeving::zet(standaard, invoer); },
            [this](const std::string& code) { return zetToegangscode(code); }});
        regelaar->opstarten();
        menu->ververs();
        EersteStartVraag::stel(standaard, vraag, regelaar->toestemmingen());
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
