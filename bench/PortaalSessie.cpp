// What one Ctrl+V through the RemoteDesktop portal costs on GNOME Shell 48 (headless, from the
// Debian 13 root) with the app's own Portaal and PortaalToetsenbord: (a) a session opened from
// the stored token for the paste alone and closed after it, against (b) the keystroke on a
// session kept open. Each per-paste start must pass without a dialog, and the token it leaves
// must start the next one; the editor behind the shell counts how many pastes arrived.
// Usage: bench_PortaalSessie [rounds] (20), as root with TOLMO_DEBIAN13_ROOT.
#include <gio/gio.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "Tolmo/linux/portaal/PortaalToetsenbord.h"
#include "tests/nep/GnomeServer.h"

namespace {

using namespace tolmo;
using namespace std::chrono_literals;
using Klok = std::chrono::steady_clock;

double msSinds(Klok::time_point begin) {
    return std::chrono::duration<double, std::milli>(Klok::now() - begin).count();
}

// Runs GLib's default context, where the portal answers, until klaar holds or 10 s pass. A
// blocking iteration returns as soon as an answer is dispatched, so no polling interval adds to
// the figures; the timer only lets the deadline be seen.
template <typename F>
bool pomp(F klaar) {
    const auto einde = Klok::now() + 10s;
    const guint wekker = g_timeout_add(
        100, [](gpointer) -> gboolean { return G_SOURCE_CONTINUE; }, nullptr);
    while (!klaar() && Klok::now() < einde) {
        g_main_context_iteration(nullptr, TRUE);
    }
    g_source_remove(wekker);
    return klaar();
}

// start's outcome; shared, because an answer that comes after the deadline still writes it.
std::string start(PortaalToetsenbord& toetsenbord) {
    auto uitkomst = std::make_shared<std::optional<std::string>>();
    toetsenbord.start([uitkomst](const std::string& fout) { *uitkomst = fout; });
    if (!pomp([&] { return uitkomst->has_value(); })) {
        return "geen antwoord binnen 10 s (wacht het bureaublad op de gebruiker?)";
    }
    return **uitkomst;
}

std::string leesToken(const std::filesystem::path& pad) {
    std::string token;
    std::getline(std::ifstream(pad), token);
    return token;
}

void druk(const char* naam, std::vector<double> ms) {
    std::sort(ms.begin(), ms.end());
    const std::size_t n = ms.size();
    const double mediaan = n % 2 == 1 ? ms[n / 2] : (ms[n / 2 - 1] + ms[n / 2]) / 2;
    std::printf("%-34s mediaan %8.2f ms  min %8.2f  max %8.2f  (n=%zu)\n", naam, mediaan,
                ms.front(), ms.back(), n);
}

double mediaan(std::vector<double> ms) {
    std::sort(ms.begin(), ms.end());
    return ms[ms.size() / 2];
}

std::string belasting() {
    std::string regel;
    std::getline(std::ifstream("/proc/loadavg"), regel);
    return regel + " op " + std::to_string(std::thread::hardware_concurrency()) + " kernen";
}

}  // namespace

int main(int argc, char** argv) {
    const int rondes = argc > 1 ? std::max(1, std::atoi(argv[1])) : 20;
    const auto root = nep::debian13Root();
    if (!root) {
        std::fprintf(stderr, "%s\n", nep::geenDebian13);
        return 1;
    }
    std::printf("belasting voor: %s\n", belasting().c_str());
    nep::GnomeServer gnome(*root);
    const std::string appId = "app.tolmo.Tolmo";
    const std::string eerste = gnome.fout().empty() ? gnome.machtig(appId, {}) : "";
    if (eerste.empty() || !gnome.startTekstverwerker() ||
        gnome.evalueer("imports.gi.St.Clipboard.get_default().set_text("
                       "imports.gi.St.ClipboardType.CLIPBOARD, 'x'); true") != "true") {
        std::fprintf(stderr, "GNOME Shell staat niet klaar: %s\n", gnome.fout().c_str());
        return 1;
    }
    const auto tokenBestand = gnome.map() / "staat" / "remotedesktop-token";
    std::filesystem::create_directories(tokenBestand.parent_path());
    std::ofstream(tokenBestand) << eerste << "\n";

    Portaal portaal(appId);
    if (!portaal.verbonden()) {
        std::fprintf(stderr, "geen portaal: %s\n", portaal.fout().c_str());
        return 1;
    }
    // A dialog the shell shows holds a modal grab; a silent start leaves none.
    const auto stil = [&] { return gnome.evalueer("Main.modalCount") == "0"; };

    std::vector<double> perPlak, starts, plakken, sluiten;
    int stilGestart = 0, nieuweTokens = 0;
    for (int i = 0; i < rondes; ++i) {
        const std::string tokenVoor = leesToken(tokenBestand);
        const auto begin = Klok::now();
        auto toetsenbord = std::make_unique<PortaalToetsenbord>(portaal, tokenBestand, false);
        const std::string fout = start(*toetsenbord);
        const double gestart = msSinds(begin);
        if (!fout.empty()) {
            std::printf("ronde %d: de sessie start niet: %s (modaal: %s)\n", i + 1, fout.c_str(),
                        gnome.evalueer("Main.modalCount").c_str());
            return 1;
        }
        const auto plak = Klok::now();
        const bool gestuurd = toetsenbord->stuurPlakToets(false);
        const double geplakt = msSinds(plak);
        const auto sluit = Klok::now();
        toetsenbord.reset();
        g_dbus_connection_flush_sync(portaal.bus(), nullptr, nullptr);
        sluiten.push_back(msSinds(sluit));
        perPlak.push_back(msSinds(begin));
        starts.push_back(gestart);
        plakken.push_back(geplakt);
        if (!gestuurd) {
            std::printf("ronde %d: de toetsen gingen niet weg\n", i + 1);
        }
        stilGestart += stil() ? 1 : 0;
        nieuweTokens += leesToken(tokenBestand) != tokenVoor ? 1 : 0;
        // Lets the shell end the session before the next one, as a user's next paste would.
        std::this_thread::sleep_for(300ms);
    }
    const std::string naPerPlak = gnome.bewaardeTekst();
    const auto aangekomenPerPlak = std::count(naPerPlak.begin(), naPerPlak.end(), 'x');

    PortaalToetsenbord open(portaal, tokenBestand, false);
    if (const auto fout = start(open); !fout.empty()) {
        std::printf("de blijvende sessie start niet: %s\n", fout.c_str());
        return 1;
    }
    // The shell drops the keys of a session's first moments (see below); this session is
    // measured as the app uses it, long after its start.
    std::this_thread::sleep_for(1s);
    std::vector<double> blijvend;
    for (int i = 0; i < rondes; ++i) {
        const auto begin = Klok::now();
        open.stuurPlakToets(false);
        blijvend.push_back(msSinds(begin));
        std::this_thread::sleep_for(100ms);
    }
    const std::string naBlijvend = gnome.bewaardeTekst();
    const auto aangekomenBlijvend =
        std::count(naBlijvend.begin(), naBlijvend.end(), 'x') - aangekomenPerPlak;

    std::printf("\n");
    druk("(a) per plak: start+toets+sluit", perPlak);
    druk("    waarvan start", starts);
    druk("    waarvan toetsen", plakken);
    druk("    waarvan sluiten (verstuurd)", sluiten);
    druk("(b) blijvende sessie: toetsen", blijvend);
    std::printf("verhouding mediaan (a)/(b): %.0f\n", mediaan(perPlak) / mediaan(blijvend));
    std::printf(
        "stil gestart (geen modale dialoog): %d/%d; alle %d starts met het bewaarde "
        "token geslaagd, token vervangen: %d keer\n",
        stilGestart, rondes, rondes, nieuweTokens);
    std::printf("aangekomen in de tekstverwerker: per plak %ld/%d, blijvend %ld/%d\n",
                static_cast<long>(aangekomenPerPlak), rondes, static_cast<long>(aangekomenBlijvend),
                rondes);
    std::printf("belasting na: %s\n", belasting().c_str());
    return 0;
}
