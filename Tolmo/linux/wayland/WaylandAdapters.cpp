#include "Tolmo/linux/wayland/WaylandAdapters.h"

#include <sys/epoll.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <system_error>

namespace tolmo {

WaylandAdapters::WaylandAdapters(bool xwaylandIndicator,
                                 const std::optional<std::filesystem::path>& toetsenborden,
                                 std::optional<PortaalOpties> portalen)
    : xwaylandIndicator_(xwaylandIndicator) {
    if (toetsenborden) {
        try {
            evdev_ = std::make_unique<EvdevToetsBron>(*toetsenborden);
        } catch (const std::exception& e) {
            evdevFout_ = e.what();
        }
    }
    if (kde()) {
        const char* run = std::getenv("XDG_RUNTIME_DIR");
        auto kwin = std::make_unique<KWinFocus>(
            run != nullptr ? std::filesystem::path(run) : std::filesystem::temp_directory_path());
        if (kwin->beschikbaar()) {
            kwin_ = std::move(kwin);
        } else {
            kwinFout_ = kwin->fout();
        }
    }
    if (portalen && (gnome() || kde())) {
        portaal_ = std::make_unique<Portaal>("app.tolmo.Tolmo");
        if (!evdev_) {
            portaalToetsen_ = std::make_unique<PortaalSneltoetsen>(*portaal_, portalen->houdToets);
        }
        // GNOME lets no client at the clipboard but through the portal's session; KDE has data
        // control and lacks only the keystroke.
        metPortaalKlembord_ = klembord_.protocol().empty();
        portaalToetsenbord_ = std::make_unique<PortaalToetsenbord>(
            *portaal_, portalen->tokenBestand, metPortaalKlembord_);
        if (!portaalToetsenbord_->beschikbaar()) {
            toetsenbordFout_ = "het bureaublad heeft geen RemoteDesktop-portaal";
        }
    }
    samen_ = ::epoll_create1(EPOLL_CLOEXEC);
    if (samen_ < 0) {
        throw std::system_error(errno, std::generic_category(), "epoll");
    }
    for (const int fd : {verbinding_.descriptor(), evdev_ ? evdev_->descriptor() : -1,
                         kwin_ ? kwin_->descriptor() : -1}) {
        epoll_event e{};
        e.events = EPOLLIN;
        e.data.fd = fd;
        if (fd >= 0) {
            ::epoll_ctl(samen_, EPOLL_CTL_ADD, fd, &e);
        }
    }
}

WaylandAdapters::~WaylandAdapters() {
    ::close(samen_);
}

std::unique_ptr<WaylandIndicator> WaylandAdapters::maakIndicator(GolfAnimatie& golf) {
    auto indicator = std::make_unique<WaylandIndicator>(verbinding_, golf);
    laagIndicator_ = indicator->beschikbaar();
    return laagIndicator_ ? std::move(indicator) : nullptr;
}

void WaylandAdapters::startPortalen(const PortaalTriggers& voorstel, bool sessie,
                                    std::function<void(const std::string&)> log,
                                    std::function<void()> klaar) {
    auto open = std::make_shared<int>(0);
    const auto eenKlaar = [open, klaar] {
        if (--*open == 0 && klaar) {
            klaar();
        }
    };
    if (auto* p = portaalSneltoetsen()) {
        ++*open;
        const auto toetsen = [p] {
            std::string keys;
            for (const auto& [id, trigger] : p->triggers()) {
                keys += (keys.empty() ? "" : ", ") + id + " = " +
                        (trigger.empty() ? "nog geen toets" : trigger);
            }
            return keys;
        };
        p->bind(voorstel, [this, p, log, eenKlaar, toetsen](const std::string& fout) {
            sneltoetsFout_ = fout;
            if (fout.empty()) {
                log("Sneltoetsen van het bureaublad gebonden (" + toetsen() + ")");
                // From now on: the user changed them in the desktop's dialog or settings.
                p->zetOpGewijzigd([log, toetsen] {
                    log("Sneltoetsen van het bureaublad gewijzigd (" + toetsen() + ")");
                });
            } else {
                log("Sneltoetsen van het bureaublad niet gebonden: " + fout);
            }
            eenKlaar();
        });
    }
    if (sessie && portaalToetsenbord_ && portaalToetsenbord_->beschikbaar()) {
        ++*open;
        portaalToetsenbord_->zetOpGesloten([this, log] {
            // Back to what needs no session: the text stays on the clipboard for the user.
            keuze_.kies(klembord_);
            keuze_.zetPlakToets(nullptr);
            portaalKlembord_.reset();
            toetsenbordFout_ = "het bureaublad sloot de sessie";
            log("Het bureaublad sloot de RemoteDesktop-sessie: Tolmo plakt niet meer zelf");
        });
        portaalToetsenbord_->start([this, log, eenKlaar](const std::string& fout) {
            toetsenbordFout_ = fout;
            if (!fout.empty()) {
                log("Plakken via het RemoteDesktop-portaal niet mogelijk: " + fout);
            } else if (metPortaalKlembord_) {
                if (portaalToetsenbord_->klembordActief()) {
                    portaalKlembord_ = std::make_unique<PortaalKlembord>(*portaalToetsenbord_);
                    portaalKlembord_->zetIsTerminal([this] { return terminalVooraan(); });
                    keuze_.kies(*portaalKlembord_);
                    log("Klembord en plakken via de portalen (RemoteDesktop en Clipboard)");
                } else {
                    toetsenbordFout_ = "het bureaublad gaf het klembord niet vrij";
                    log("Het bureaublad gaf het klembord niet vrij in de RemoteDesktop-sessie");
                }
            } else {
                keuze_.zetPlakToets(
                    [this] { portaalToetsenbord_->stuurPlakToets(terminalVooraan()); });
                log("Plakken via het RemoteDesktop-portaal");
            }
            eenKlaar();
        });
    }
    if (*open == 0 && klaar) {
        klaar();
    }
}

bool WaylandAdapters::terminalVooraan() const {
    const auto doel = vensterFocus().huidig();
    return doel && doel->bundleId && WaylandKlembord::isTerminal(*doel->bundleId);
}

void WaylandAdapters::verwerk() {
    verbinding_.verwerk();
    focus_.verwerk();
    if (evdev_) {
        evdev_->verwerk();
    }
    if (kwin_) {
        kwin_->verwerk();
    }
}

std::vector<Vermogen> WaylandAdapters::vermogens() const {
    using S = Vermogen::Soort;
    std::vector<Vermogen> v;
    if (evdev_) {
        const std::size_t n = evdev_->apparaten().toetsenborden().size();
        const std::string mechanisme =
            n == 0 ? "" : "toetsenborden zelf gelezen (" + std::to_string(n) + ", evdev)";
        const std::string advies =
            n > 0 ? ""
            : evdev_->apparaten().toegangGeweigerd()
                ? "Tolmo mag je toetsenborden niet lezen. Voer sudo usermod -aG input $USER uit "
                  "en log daarna opnieuw in."
                : "Tolmo vindt geen toetsenbord. Een toetsenbord dat je aansluit, ziet Tolmo "
                  "meteen.";
        v.push_back({S::houdToets, mechanisme, advies});
        v.push_back({S::wisselSneltoets, mechanisme, advies});
    } else if (!evdevFout_.empty()) {
        const std::string advies = "De toetsenborden zijn niet te lezen: " + evdevFout_ + ".";
        v.push_back({S::houdToets, "", advies});
        v.push_back({S::wisselSneltoets, "", advies});
    } else if (portaalToetsen_ && portaalToetsen_->beschikbaar()) {
        // The desktop decides the keys; what it reports is what the user presses.
        const auto& t = portaalToetsen_->triggers();
        const auto toets = [&](const char* id) {
            const auto i = t.find(id);
            return "GlobalShortcuts-portaal (" +
                   (i == t.end() || i->second.empty() ? std::string("toets volgens het bureaublad")
                                                      : i->second) +
                   ")";
        };
        // Bound but silent: the keys are the desktop's, yet nothing reaches the app.
        const bool werkt = sneltoetsFout_.empty() && !portaalToetsen_->stil();
        const std::string advies =
            !sneltoetsFout_.empty() ? "De sneltoetsen zijn niet gebonden: " + sneltoetsFout_ + "."
            : portaalToetsen_->stil()
                ? "Je bureaublad bond de sneltoetsen, maar meldt ze niet aan Tolmo. Maak in de "
                  "instellingen van je bureaublad een eigen sneltoets die tolmo-bediening "
                  "--wissel uitvoert: die start en stopt het dicteren."
            : portaalToetsen_->zonderLoslaten()
                ? "Je bureaublad meldt niet wanneer je de sneltoets loslaat: druk één keer om te "
                  "beginnen en nog een keer om te stoppen. Het bureaublad kiest de toets; wijzig "
                  "hem in de instellingen van het bureaublad."
                : "Het bureaublad kiest de toets; wijzig hem in de instellingen van het "
                  "bureaublad. Een andere toets tijdens het vasthouden of Esc ziet Tolmo hier "
                  "niet: annuleer via het systeemvak.";
        v.push_back({S::houdToets, werkt ? toets(PortaalSneltoetsen::houdId) : "", advies});
        v.push_back({S::wisselSneltoets, werkt ? toets(PortaalSneltoetsen::wisselId) : "", advies});
    } else if (kde()) {
        v.push_back({S::houdToets, "",
                     "KDE voert een sneltoets niet uit bij loslaten, dus een houdtoets kan hier "
                     "niet. Gebruik de wisselsneltoets."});
        v.push_back({S::wisselSneltoets, "sneltoets van KDE (tolmo-bediening --wissel)",
                     "Maak in Systeeminstellingen > Sneltoetsen een eigen sneltoets die "
                     "tolmo-bediening --wissel uitvoert."});
    } else {
        v.push_back({S::houdToets, "sneltoets van de compositor (tolmo-bediening --start/--stop)",
                     "Zet de regels onder Sneltoetsen van je compositor (of van tolmo-app "
                     "--bindingen sway|hyprland) in de configuratie van je compositor."});
        v.push_back({S::wisselSneltoets, "sneltoets van de compositor (tolmo-bediening --wissel)",
                     "Zet de regels onder Sneltoetsen van je compositor (of van tolmo-app "
                     "--bindingen sway|hyprland) in de configuratie van je compositor."});
    }
    if (!klembord_.protocol().empty()) {
        v.push_back({S::klembord, std::string(klembord_.protocol()), ""});
    } else if (portaalKlembord_) {
        v.push_back({S::klembord, "Clipboard-portaal (in de RemoteDesktop-sessie)", ""});
    } else if (metPortaalKlembord_) {
        v.push_back(
            {S::klembord, "",
             "Het klembord gaat hier via het RemoteDesktop-portaal, dat niet open is" +
                 (toetsenbordFout_.empty() ? std::string(".") : ": " + toetsenbordFout_ + ".")});
    } else {
        v.push_back({S::klembord, "",
                     "Deze compositor biedt geen data-control-protocol: Tolmo kan het klembord "
                     "niet lezen of zetten."});
    }
    if (klembord_.kanPlakken() && focus_.beschikbaar()) {
        v.push_back({S::plakken, "zwp_virtual_keyboard_v1", ""});
    } else if (plakToetsMogelijk()) {
        v.push_back({S::plakken, "RemoteDesktop-portaal (toetsenbord)", ""});
    } else if (portaalToetsenbord_) {
        v.push_back(
            {S::plakken, "",
             "Tolmo plakt hier via het RemoteDesktop-portaal, dat niet open is" +
                 (toetsenbordFout_.empty() ? std::string(".") : ": " + toetsenbordFout_ + ".") +
                 " De tekst komt op het klembord en je plakt hem zelf met Ctrl+V."});
    } else if (kde() || !klembord_.kanPlakken()) {
        v.push_back({S::plakken, "",
                     "Deze compositor biedt geen virtueel toetsenbord en het bureaublad geen "
                     "RemoteDesktop-portaal. De tekst komt op het klembord en je plakt hem zelf "
                     "met Ctrl+V."});
    } else {
        v.push_back({S::plakken, "",
                     "Zonder lijst van vensters weet Tolmo niet waar de tekst heen gaat. De "
                     "tekst komt op het klembord en je plakt hem zelf."});
    }
    if (focus_.beschikbaar()) {
        v.push_back({S::focus, "zwlr_foreign_toplevel_manager_v1 (app-id en titel)", ""});
    } else if (kwin_) {
        v.push_back({S::focus, "KWin-script over de sessiebus (app-id en titel)", ""});
    } else if (gnome()) {
        v.push_back({S::focus, "AT-SPI (het veld met de focus en zijn app)",
                     "GNOME vertelt niet welk venster vooraan staat; Tolmo volgt het veld via "
                     "toegankelijkheid. Apps zonder toegankelijkheid krijgen de tekst op het "
                     "klembord."});
    } else if (kde()) {
        v.push_back({S::focus, "",
                     "KWin vertelt niet welke app vooraan staat (" + kwinFout_ +
                         "), dus kiest Tolmo geen stijl per app."});
    } else {
        v.push_back({S::focus, "",
                     "Deze compositor vertelt niet welke app vooraan staat, dus kiest Tolmo "
                     "geen stijl per app."});
    }
    if (laagIndicator_) {
        v.push_back(
            {S::indicator, "zwlr_layer_shell_v1 (bovenste laag, neemt nooit de focus)", ""});
    } else if (xwaylandIndicator_) {
        v.push_back({S::indicator, "X11-venster via XWayland dat de focus weigert", ""});
    } else if (balkNeemtFocus()) {
        v.push_back({S::indicator, "",
                     "GNOME geeft elk nieuw venster de focus en biedt geen laag erboven. Zonder "
                     "XWayland toont Tolmo daarom geen opnamebalk, zodat je tekst in je eigen "
                     "venster blijft."});
    } else {
        v.push_back({S::indicator, "Wayland-venster van Qt",
                     "Zonder XWayland kan de opnamebalk de focus nemen; het systeemvak toont "
                     "de stand ook."});
    }
    return v;
}

}  // namespace tolmo
