// tolmo-app: the Linux desktop shell. It chooses the adapter set of the session (X11 or
// Wayland), composes it with the PulseAudio,
// freedesktop and Qt adapters, hands them to the dictation controller and draws what the
// controller reports.
#include <signal.h>
#include <sys/socket.h>
#include <unistd.h>

#include <QAbstractEventDispatcher>
#include <QActionGroup>
#include <QApplication>
#include <QDir>
#include <QIcon>
#include <QLockFile>
#include <QSocketNotifier>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <iostream>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>
#include <variant>

// Before the X11 headers, whose macros (None, Bool) break Qt's.
#include "Tolmo/linux/app/LogboekTab.h"
#include "Tolmo/linux/app/StijlenTab.h"
#include "Tolmo/linux/app/ToestemmingenTab.h"
#include "Tolmo/linux/app/WoordenlijstTab.h"

#include "Tolmo/GolfView/GolfAnimatie.h"
#include "Tolmo/MacRegelaar/DictaatRegelaar.h"
#include "Tolmo/MacVertaling/MenuStand.h"
#include "Tolmo/MacVertaling/ServerAdres.h"
#include "Tolmo/Poorten/DraadWerker.h"
#include "Tolmo/linux/InstellingenKeuzes.h"
#include "Tolmo/linux/LinuxAppStijlen.h"
#include "Tolmo/linux/LinuxToestemmingen.h"
#include "Tolmo/linux/SessieKeuze.h"
#include "Tolmo/linux/app/BureaubladPortalen.h"
#include "Tolmo/linux/app/InstellingenVenster.h"
#include "Tolmo/linux/app/LogboekTab.h"
#include "Tolmo/linux/app/OpnameVenster.h"
#include "Tolmo/linux/app/QtHoofdLus.h"
#include "Tolmo/linux/app/QtToestemmingsVraag.h"
#include "Tolmo/linux/app/StijlenTab.h"
#include "Tolmo/linux/app/Systeemvak.h"
#include "Tolmo/linux/app/ToestemmingenTab.h"
#include "Tolmo/linux/app/WoordenlijstTab.h"
#include "Tolmo/linux/freedesktop/AtSpiFocus.h"
#include "Tolmo/linux/freedesktop/Autostart.h"
#include "Tolmo/linux/freedesktop/Bediening.h"
#include "Tolmo/linux/freedesktop/BestandsKluis.h"
#include "Tolmo/linux/freedesktop/LogBestand.h"
#include "Tolmo/linux/freedesktop/Sleutelopslag.h"
#include "Tolmo/linux/freedesktop/XdgOpslag.h"
#include "Tolmo/linux/pulse/BestandSchrijvers.h"
#include "Tolmo/linux/pulse/PulseAudioEngine.h"
#include "Tolmo/linux/pulse/SoxrOmzetter.h"
#include "Tolmo/linux/wayland/WaylandAdapters.h"
#include "Tolmo/linux/wayland/WaylandBindingen.h"
#include "Tolmo/linux/x11/X11Adapters.h"
#include "TolmoKern/Instellingen/GedeeldeOpslag.h"
#include "TolmoKern/Keten/TolmoKeten.h"
#include "TolmoKern/Transcriptie/CurlTransport.h"
#include "TolmoKern/Transcriptie/StroomUpload.h"

namespace tolmo {
namespace {

std::filesystem::path opnameMap() {
    const char* cache = std::getenv("XDG_CACHE_HOME");
    const std::filesystem::path basis =
        cache != nullptr && *cache == '/'
            ? std::filesystem::path(cache)
            : std::filesystem::path(QDir::homePath().toStdString()) / ".cache";
    auto map = basis / "tolmo" / "opnames";
    std::filesystem::create_directories(map);
    return map;
}

std::optional<std::string> leesOmgeving(std::string_view k) {
    const char* w = std::getenv(std::string(k).c_str());
    return w != nullptr ? std::optional<std::string>(w) : std::nullopt;
}

void meld(const std::string& regel) {
    std::cerr << "Tolmo: " << regel << std::endl;
}

// Whether the user lets the app read the keyboards themselves on Wayland; off unless chosen in
// the settings window.
constexpr const char* toetsenbordenSleutel = "linux.toetsenbordenLezen";
bool leestToetsenborden() {
    const auto w = XdgOpslag(XdgOpslag::configMap(), "app.tolmo", meld).lees(toetsenbordenSleutel);
    const bool* aan = w ? std::get_if<bool>(&*w) : nullptr;
    return aan != nullptr && *aan;
}

// The user's own paste chords per app ("linux.plakToetsen" in app.tolmo.json), read at launch.
std::vector<X11PlakToetsen::Regel> eigenPlakRegels() {
    const XdgOpslag opslag{XdgOpslag::configMap(), "app.tolmo", meld};
    const auto waarde = opslag.lees("linux.plakToetsen");
    const auto* tekst = waarde ? std::get_if<std::string>(&*waarde) : nullptr;
    std::vector<std::string> fouten;
    auto regels = X11PlakToetsen::leesRegels(tekst != nullptr ? *tekst : "", &fouten);
    for (const auto& f : fouten) {
        meld("plaktoets niet begrepen en overgeslagen: " + f);
    }
    return regels;
}

// Every adapter of the Linux shell, composed once; the controller gets them as its ports.
struct Samenstelling {
    explicit Samenstelling(std::unique_ptr<SessieAdapters> s) : sessie(std::move(s)) {}

    // The display system's adapters; everything else is the same in every session.
    std::unique_ptr<SessieAdapters> sessie;
    QtHoofdLus lus;
    PulseAudioEngine engine{"Tolmo"};
    LinuxToestemmingen toestemmingen{engine, *sessie};
    SoxrOmzetter::Maker omzetters;
    BestandSchrijvers schrijvers;
    AtSpiFocus focus{sessie->vensterFocus()};
    QtToestemmingsVraag vraag;
    XdgOpslag groep{XdgOpslag::configMap(), std::string(GedeeldeOpslag::groepSuite), meld};
    XdgOpslag standaard{XdgOpslag::configMap(), "app.tolmo", meld};
    LogBestand logOpslag{LogBestand::standaardPad(), Logboek::maximum};
    DraadWerker werker;
    // The user's keyring when one runs, else the file only they can read.
    std::unique_ptr<Sleutelbeheer> kluis =
        openSleutelbeheer(XdgOpslag::configMap(), BestandsKluis::echteOmgeving);
    GolfAnimatie golf{GolfAnimatie::Thema::donkerThema()};
    OpnameVenster indicator{golf};
    // On a compositor with a layer shell, the indicator drawn there instead, which can never take
    // the focus; null elsewhere.
    std::unique_ptr<WaylandIndicator> laag;
    // Where any window of ours would take the focus (GNOME without XWayland): none.
    struct GeenIndicator final : OpnameIndicator {
        void toon() override {}
        void verberg() override {}
    } geenIndicator;
    std::unique_ptr<Systeemvak> vak;
    QSocketNotifier sessieGebeurtenissen{sessie->descriptor(), QSocketNotifier::Read};
    // Last, so it goes first: it holds every port above.
    std::unique_ptr<DictaatRegelaar> regelaar;
    // Holds the controller, so it goes before it.
    std::unique_ptr<InstellingenVenster> venster;
    // GNOME and KDE: the desktop's portals; null elsewhere. Holds the controller and the tray.
    std::unique_ptr<BureaubladPortalen> portalen;
    // The app in front when the window was last asked for: the one "Vorige app toevoegen" adds.
    std::optional<AppStijl> vorigeApp;
    // A developer's address in the environment at launch wins over the stored one.
    std::optional<std::string> adresUitOmgeving = [] {
        const char* a = std::getenv(ServerAdres::omgevingsvariabele);
        return a != nullptr && *a != '\0' ? std::optional<std::string>(a) : std::nullopt;
    }();

    // The chain finds the relay server through the environment, so the chosen address is put
    // there: at launch and each time the user changes it.
    void zetServerAdresInOmgeving() {
        std::optional<std::string> ingevoerd;
        if (const auto w = standaard.lees(ServerAdres::instellingSleutel)) {
            if (const auto* tekst = std::get_if<std::string>(&*w)) {
                ingevoerd = *tekst;
            }
        }
        if (const auto adres = ServerAdres::kies(adresUitOmgeving, ingevoerd, std::nullopt)) {
            ::setenv(ServerAdres::omgevingsvariabele, adres->c_str(), 1);
        } else {
            ::unsetenv(ServerAdres::omgevingsvariabele);
        }
    }

    static bool startBijInloggen() { return Autostart::aan(Autostart::pad()); }
    static void zetStartBijInloggen(bool aan) {
        if (aan) {
            // The path this binary runs from: the installed one when started from the menu.
            Autostart::zetAan(Autostart::pad(), QApplication::applicationFilePath().toStdString());
        } else {
            Autostart::zetUit(Autostart::pad());
        }
    }

    // The tray menu and a second launch leave the user's app in front until the window shows, so
    // that app is read first; the window itself (our own process) is not one to add.
    void toonVenster(const QString& tab = {}) {
        if (const auto doel = focus.huidig();
            doel && doel->bundleId && doel->procesId != static_cast<std::int32_t>(::getpid())) {
            vorigeApp = AppStijl{*doel->bundleId, "", Stijl::neutraal};
        }
        venster->toon(tab);
    }

    // The Qt window works out light or dark (from the palette when automatic); the layer
    // indicator follows it.
    void zetWeergave() {
        indicator.zetWeergave(regelaar->instellingen().weergave);
        if (laag) {
            laag->zetLicht(indicator.licht());
        }
    }

    // sessieRegel: which adapter set serves this session and why, for the log.
    void bouw(const std::string& sessieRegel) {
        // A display library may read events into its queue while it answers a request, so the
        // queue is also emptied each time the loop is about to sleep, not only when the socket
        // is readable.
        QObject::connect(&sessieGebeurtenissen, &QSocketNotifier::activated, &indicator,
                         [this] { sessie->verwerk(); });
        QObject::connect(QAbstractEventDispatcher::instance(),
                         &QAbstractEventDispatcher::aboutToBlock, &indicator,
                         [this] { sessie->verwerk(); });
        vak = std::make_unique<Systeemvak>(Systeemvak::Handelingen{
            [this] {
                return MenuStand::van(regelaar->toestand(), regelaar->melding(),
                                      regelaar->instellingen());
            },
            [this](MenuStand::Actie actie) {
                if (actie == MenuStand::Actie::annuleer) {
                    regelaar->annuleer();
                } else {
                    regelaar->wissel(DictaatRegelaar::Bron::menu);
                }
            },
            [] { QApplication::quit(); }, startBijInloggen, zetStartBijInloggen,
            [this]() -> const TolmoInstellingen& { return regelaar->instellingen(); },
            [this](const std::function<void(TolmoInstellingen&)>& w) {
                regelaar->wijzigInstellingen(w);
            },
            [this] { return regelaar->macInstellingen().wisselSneltoets; },
            [] { return std::getenv(ServerAdres::omgevingsvariabele) != nullptr; },
            [this](const QString& tab) { toonVenster(tab); }});
        zetServerAdresInOmgeving();
        DictaatRegelaar::Opties opties;
        opties.versie = TOLMO_VERSIE;
        opties.opnameMap = opnameMap();
        // The controller takes one format for every dictation. Every route but the test engine
        // sends the recording over the network, where m4a is an eighth of WAV's bytes; the test
        // engine reads only the measurement, so m4a does it no harm.
        opties.formaat = AudioFormaat::m4a;
        opties.logBron = "linux";
        opties.appNaam = "Linux-app";
        opties.startRegels.push_back(sessieRegel);
        for (const Vermogen& v : sessie->vermogens()) {
            opties.startRegels.push_back(std::string(label(v.soort)) + ": " +
                                         (v.mechanisme.empty() ? "niets" : v.mechanisme));
        }
        // On Linux the user picks the route (their own key, the EU route, the test engine, or
        // the relay server); nothing is forced through the relay.
        opties.altijdViaServer = false;
        opties.plakToets = {"Ctrl+V", "Ctrl+V"};
        opties.platformApps = linuxAppStijlen();
        // The route is the user's, so the consent names each one it may take.
        opties.toestemming = CloudToestemming::eigenRoute;
        auto* wayland = dynamic_cast<WaylandAdapters*>(sessie.get());
        if (wayland != nullptr) {
            laag = wayland->maakIndicator(golf);
        }
        OpnameIndicator& getoond = laag ? static_cast<OpnameIndicator&>(*laag)
                                   : wayland != nullptr && wayland->balkNeemtFocus()
                                       ? static_cast<OpnameIndicator&>(geenIndicator)
                                       : indicator;
        // Through the relay the recording goes while the user speaks; a chain that cannot be
        // built now (no access code) says so at the release, as without an upload.
        opties.upload = [this](const TolmoInstellingen& i, const std::filesystem::path& bestand,
                               AudioFormaat formaat) -> std::unique_ptr<LopendeUpload> {
            // Other routes need no keyring lookup at every recording start.
            if (i.motor != Motor::tolmo || formaat != AudioFormaat::m4a) {
                return nullptr;
            }
            try {
                return StroomUpload::begin(TolmoKeten::bouw(i, *kluis, nullptr).transcriptie,
                                           bestand, formaat, i.woorden);
            } catch (const std::exception&) {
                return nullptr;
            }
        };
        DictaatRegelaar::Poorten poorten{lus,
                                         toestemmingen,
                                         sessie->toetsen(),
                                         engine,
                                         omzetters,
                                         schrijvers,
                                         sessie->klembord(),
                                         focus,
                                         vraag,
                                         getoond,
                                         *vak,
                                         logOpslag,
                                         werker,
                                         groep,
                                         standaard,
                                         *kluis};
        poorten.esc = sessie->esc();
        regelaar = std::make_unique<DictaatRegelaar>(poorten, std::move(opties));
        if (wayland != nullptr) {
            portalen = std::make_unique<BureaubladPortalen>(*wayland, *regelaar, vraag, *vak,
                                                            [this](const std::string& regel) {
                                                                meld(regel);
                                                                regelaar->logExtern(regel);
                                                            });
        }
        golf.zetNiveauBron(GolfAnimatie::uitKanaal(regelaar->niveau()));
        // X11 masks an Alt hold key so that its release opens no menu; the set follows the
        // setting.
        sessie->zetHoudToets(regelaar->macInstellingen().houdToets);
        zetWeergave();
        regelaar->luister([this](DictaatRegelaar::Wijziging w) {
            if (w == DictaatRegelaar::Wijziging::macInstellingen) {
                sessie->zetHoudToets(regelaar->macInstellingen().houdToets);
            }
            if (w == DictaatRegelaar::Wijziging::instellingen) {
                zetWeergave();
            }
            if (w == DictaatRegelaar::Wijziging::toestand) {
                if (portalen && regelaar->toestand() == DictaatRegelaar::Toestand::klaar) {
                    portalen->dictaatKlaar();
                }
                golf.zetStand(MenuStand::golfStand(regelaar->toestand()));
                meld(std::string("toestand ") +
                     (regelaar->toestand() == DictaatRegelaar::Toestand::klaar     ? "klaar"
                      : regelaar->toestand() == DictaatRegelaar::Toestand::neemtOp ? "neemt op"
                                                                                   : "verwerkt"));
            }
            vak->ververs();
        });
        regelaar->opstarten();
        venster = std::make_unique<InstellingenVenster>(InstellingenVenster::Onderdelen{
            *regelaar, *kluis, standaard, [this] { zetServerAdresInOmgeving(); }, adresUitOmgeving,
            startBijInloggen, zetStartBijInloggen});
        venster->voegToe(std::make_unique<StijlenTab>(*regelaar, linuxAppStijlen(),
                                                      [this] { return vorigeApp; }),
                         QStringLiteral("Stijlen"));
        venster->voegToe(std::make_unique<WoordenlijstTab>(*regelaar),
                         QStringLiteral("Woordenlijst"));
        venster->voegToe(
            std::make_unique<ToestemmingenTab>(
                *regelaar, sessie->toetsen().teksten(), [this] { return sessie->vermogens(); },
                [this] { return focus.volgt(); },
                InstellingenKeuzes::bindingen(wayland != nullptr && wayland->compositorBindt(),
                                              leesOmgeving),
                wayland == nullptr
                    ? std::nullopt
                    : std::optional<ToestemmingenTab::ToetsenbordKeuze>({
                          leestToetsenborden(),
                          [this](bool aan) { standaard.zet(toetsenbordenSleutel, aan); },
                      }),
                portalen ? portalen->instellingen() : std::nullopt),
            QStringLiteral("Toestemmingen"));
        venster->voegToe(std::make_unique<LogboekTab>(*regelaar), QStringLiteral("Logboek"));
        vak->ververs();
        vak->meldZonderSysteemvak();
    }

    // A command from `tolmo-app --start` and the like, or from a second launch. The controller
    // knows a hold key, the toggle combination and the menu; a shortcut bound outside the app
    // is closest to the toggle combination, so it starts as one (and is logged as one).
    void voerUit(Opdracht opdracht) {
        switch (opdracht) {
            case Opdracht::start:
                regelaar->start(DictaatRegelaar::Bron::wisselsneltoets);
                break;
            case Opdracht::stop:
                regelaar->stop();
                break;
            case Opdracht::wissel:
                regelaar->wissel(DictaatRegelaar::Bron::wisselsneltoets);
                break;
            case Opdracht::annuleer:
                regelaar->annuleer();
                break;
            case Opdracht::toon:
                // Launched again from the menu: the user is looking for the app's window.
                toonVenster();
                vak->toonStand();
                break;
        }
    }
};

// SIGTERM and SIGINT end the app through its event loop, so quitting still cancels a
// recording and puts a waiting clipboard back.
int signaalPijp[2] = {-1, -1};

void opSignaal(int /*signaal*/) {
    const char byte = 1;
    [[maybe_unused]] const auto n = ::write(signaalPijp[1], &byte, 1);
}

}  // namespace
}  // namespace tolmo

int main(int argc, char** argv) {
    using namespace tolmo;
    // `--bindingen sway|hyprland`: the compositor lines for the keys the user chose, read from
    // the stored settings; no display and no running instance needed.
    if (argc >= 2 && std::string_view(argv[1]) == "--bindingen") {
        const auto c = argc == 3 ? compositorUit(argv[2]) : std::nullopt;
        if (!c) {
            std::cerr << "tolmo-app: --bindingen verwacht sway of hyprland\n";
            return 2;
        }
        XdgOpslag groep{XdgOpslag::configMap(), std::string(GedeeldeOpslag::groepSuite), meld};
        XdgOpslag standaard{XdgOpslag::configMap(), "app.tolmo", meld};
        std::cout << bindingen(*c, GedeeldeOpslag(groep, standaard).laadMac());
        return 0;
    }
    const Aanroep aanroep = leesAanroep(std::vector<std::string>(argv + 1, argv + argc));
    switch (aanroep.soort) {
        case Aanroep::Soort::hulp:
            std::cout << gebruik;
            return 0;
        case Aanroep::Soort::fout:
            std::cerr << "tolmo-app: " << aanroep.fout << "\n" << gebruik;
            return 2;
        case Aanroep::Soort::opdracht:
            // No display needed: a compositor's binding may run it from anywhere in the session.
            return stuurVanafOpdrachtregel(aanroep.opdracht, "tolmo-app");
        case Aanroep::Soort::app:
            break;
    }
    const auto keuze = kiesSessie(aanroep.sessie, leesOmgeving);
    if (!keuze) {
        std::cerr << "tolmo-app: " << geenSessieMelding << "\n";
        return 1;
    }
    const bool wayland = keuze->systeem == Weergavesysteem::wayland;
    // Qt's windows stay X11 windows through XWayland where there is one: there the indicator is
    // a window that never takes the focus, which a Wayland toplevel cannot promise.
    const bool xwayland = wayland && std::getenv("DISPLAY") != nullptr;
    std::string sessieRegel =
        "Sessie " + std::string(naam(keuze->systeem)) + " (" + keuze->reden + "); adapters: ";
    qputenv("QT_QPA_PLATFORM", !wayland || xwayland ? "xcb" : "wayland");
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("tolmo-app"));
    QApplication::setApplicationVersion(QStringLiteral(TOLMO_VERSIE));
    // The tray icon holds the app; closing the consent box or the indicator does not end it.
    QApplication::setQuitOnLastWindowClosed(false);

    QApplication::setDesktopFileName(QStringLiteral("app.tolmo.Tolmo"));
    QApplication::setWindowIcon(QIcon::fromTheme(QStringLiteral("tolmo-app")));

    // The lock decides which instance owns the control socket next to it.
    std::filesystem::path map;
    try {
        map = bedieningsMap();
    } catch (const std::exception& e) {
        std::cerr << "tolmo-app: " << e.what() << "\n";
        return 1;
    }
    QLockFile slot(QString::fromStdString((map / "tolmo-app.lock").string()));
    if (!slot.tryLock(0)) {
        // Launched again from the menu: the running one shows itself, and this is no error.
        if (stuur(map / "tolmo-app.sock", Opdracht::toon).uitslag ==
            Bezorging::Uitslag::afgeleverd) {
            std::cerr << "tolmo-app: Tolmo draait al; de instellingen staan open.\n";
            return 0;
        }
        std::cerr << "tolmo-app: Tolmo draait al in deze sessie.\n";
        return 1;
    }
    std::unique_ptr<BedieningsServer> bediening;
    try {
        bediening = std::make_unique<BedieningsServer>(map / "tolmo-app.sock");
    } catch (const std::exception& e) {
        std::cerr << "tolmo-app: bediening niet beschikbaar: " << e.what() << "\n";
        return 1;
    }

    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, signaalPijp) != 0) {
        return 1;
    }
    struct sigaction actie {};
    actie.sa_handler = opSignaal;
    sigemptyset(&actie.sa_mask);
    actie.sa_flags = SA_RESTART;
    sigaction(SIGTERM, &actie, nullptr);
    sigaction(SIGINT, &actie, nullptr);
    QSocketNotifier signalen(signaalPijp[0], QSocketNotifier::Read);
    QObject::connect(&signalen, &QSocketNotifier::activated, &app, [] { QApplication::quit(); });

    std::unique_ptr<Samenstelling> s;
    try {
        std::unique_ptr<SessieAdapters> adapters;
        if (wayland) {
            // GNOME and KDE: the desktop's portals, which need the hold key the user chose
            // (read from the controller once it runs) and a place for the session's token.
            WaylandAdapters::PortaalOpties portalen{
                LogBestand::standaardPad().parent_path() / "remotedesktop-token", [&s] {
                    return s && s->regelaar ? s->regelaar->macInstellingen().houdToets
                                            : MacInstellingen{}.houdToets;
                }};
            auto w = std::make_unique<WaylandAdapters>(
                xwayland,
                leestToetsenborden() ? std::optional<std::filesystem::path>("/dev/input")
                                     : std::nullopt,
                portalen);
            if (w->klembordBeschikbaar() || !xwayland) {
                adapters = std::move(w);
                sessieRegel += "Wayland (eigen verbinding)";
            } else {
                // A compositor without data control (GNOME) gives a Wayland client neither the
                // clipboard nor the keys; through XWayland at least the X11 windows work.
                adapters = std::make_unique<X11Adapters>(true, eigenPlakRegels());
                sessieRegel += "X11 via XWayland (de compositor biedt geen data-control)";
            }
        } else {
            // Chosen with --sessie x11 inside a Wayland session: the X server is XWayland.
            const bool viaXWayland = std::getenv("WAYLAND_DISPLAY") != nullptr;
            adapters = std::make_unique<X11Adapters>(viaXWayland, eigenPlakRegels());
            sessieRegel += viaXWayland ? "X11 via XWayland (alleen X11-vensters)" : "X11";
        }
        s = std::make_unique<Samenstelling>(std::move(adapters));
        s->bouw(sessieRegel);
        if (s->portalen) {
            s->portalen->start();
        }
        // libcurl's and OpenSSL's one-time set-up, paid now instead of between the release of
        // the first hold key and its request.
        CurlTransport::gedeeld();
    } catch (const std::exception& e) {
        std::cerr << "tolmo-app: " << e.what() << "\n";
        return 1;
    }
    // Commands wait in the socket's queue until the loop runs, so none arrives half built.
    QSocketNotifier opdrachten(bediening->descriptor(), QSocketNotifier::Read);
    QObject::connect(&opdrachten, &QSocketNotifier::activated, &app, [&s, &bediening] {
        for (const Opdracht o : bediening->verwerk()) {
            s->voerUit(o);
        }
    });
    QObject::connect(&app, &QApplication::aboutToQuit, &app, [&s] {
        // Cancels a running dictation, releases the keys and puts a waiting clipboard back,
        // which a clipboard manager then keeps once we are gone.
        s->regelaar->afsluiten();
        s->sessie->geefKlembordAf(std::chrono::seconds(2));
    });
    std::cerr << "Tolmo: klaar" << std::endl;
    const int code = QApplication::exec();
    s->venster.reset();
    s->regelaar.reset();
    s.reset();
    return code;
}
