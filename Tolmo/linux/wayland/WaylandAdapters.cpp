#include "Tolmo/linux/wayland/WaylandAdapters.h"

#include <sys/epoll.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <system_error>

namespace tolmo {

WaylandAdapters::WaylandAdapters(bool xwaylandIndicator,
                                 const std::optional<std::filesystem::path>& toetsenborden)
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

void WaylandAdapters::verwerk() {
    verbinding_.verwerk();
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
    } else {
        v.push_back({S::klembord, "",
                     "Deze compositor biedt geen data-control-protocol: Tolmo kan het klembord "
                     "niet lezen of zetten."});
    }
    if (plakToetsMogelijk()) {
        v.push_back({S::plakken, "zwp_virtual_keyboard_v1", ""});
    } else if (kde() || !klembord_.kanPlakken()) {
        v.push_back({S::plakken, "",
                     "Deze compositor biedt geen virtueel toetsenbord. De tekst komt op het "
                     "klembord en je plakt hem zelf met Ctrl+V; plakken via het "
                     "RemoteDesktop-portaal komt in een volgende versie."});
    } else {
        v.push_back({S::plakken, "",
                     "Zonder lijst van vensters weet Tolmo niet waar de tekst heen gaat. De "
                     "tekst komt op het klembord en je plakt hem zelf."});
    }
    if (focus_.beschikbaar()) {
        v.push_back({S::focus, "zwlr_foreign_toplevel_manager_v1 (app-id en titel)", ""});
    } else if (kwin_) {
        v.push_back({S::focus, "KWin-script over de sessiebus (app-id en titel)", ""});
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
    } else {
        v.push_back({S::indicator, "Wayland-venster van Qt",
                     "Zonder XWayland kan de opnamebalk de focus nemen; het systeemvak toont "
                     "de stand ook."});
    }
    return v;
}

}  // namespace tolmo
