// What one Ctrl+V through the RemoteDesktop portal costs on GNOME Shell 48 (headless, from the
// Debian 13 root) with the app's own Portaal and PortaalToetsenbord: (a) a session opened from
// the stored token for the paste alone and closed after it, as is and (a') with a throwaway key
// first, against (b) the chord on a session kept open. Every per-paste start must pass without a
// dialog on the token the one before left; a text editor counts the pastes that arrived, and the
// shell's panel tells how long its shared-screen icon stays after each close.
// Usage: bench_PortaalSessie [rounds (20)] [pause in ms after the throwaway key (0)], as root
// with TOLMO_DEBIAN13_ROOT.
#include <gio/gio.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "Tolmo/linux/portaal/PortaalToetsenbord.h"
#include "tests/nep/GnomeServer.h"

namespace {

using namespace tolmo;
using namespace std::chrono_literals;
using Klok = std::chrono::steady_clock;
constexpr int shiftL = 0xffe1;

double msSinds(Klok::time_point begin) {
    return std::chrono::duration<double, std::milli>(Klok::now() - begin).count();
}

// Starts the session and runs GLib's default context, where the portal answers, until start
// reports or 10 s pass. A blocking iteration returns as soon as an answer is dispatched, so no
// polling interval adds to the figures; the timer only lets the deadline be seen. The outcome is
// shared because an answer after the deadline still writes it.
std::string start(PortaalToetsenbord& toetsenbord) {
    auto uitkomst = std::make_shared<std::optional<std::string>>();
    toetsenbord.start([uitkomst](const std::string& fout) { *uitkomst = fout; });
    const auto einde = Klok::now() + 10s;
    const guint wekker = g_timeout_add(
        100, [](gpointer) -> gboolean { return G_SOURCE_CONTINUE; }, nullptr);
    while (!uitkomst->has_value() && Klok::now() < einde) {
        g_main_context_iteration(nullptr, TRUE);
    }
    g_source_remove(wekker);
    return uitkomst->value_or("geen antwoord binnen 10 s (wacht het bureaublad op de gebruiker?)");
}

// A press or release of keysym in the session, past PortaalToetsenbord, which sends only chords.
void stuurToets(Portaal& portaal, const std::string& sessie, int keysym, bool omlaag) {
    std::string fout;
    if (GVariant* r = portaal.roep(
            "RemoteDesktop", "NotifyKeyboardKeysym",
            g_variant_new("(oa{sv}iu)", sessie.c_str(), nullptr, keysym, omlaag ? 1U : 0U), fout)) {
        g_variant_unref(r);
    }
}

std::string leesToken(const std::filesystem::path& pad) {
    std::string token;
    std::getline(std::ifstream(pad), token);
    return token;
}

// Prints the median and the spread; answers the median.
double druk(const std::string& naam, std::vector<double> ms) {
    std::sort(ms.begin(), ms.end());
    const std::size_t n = ms.size();
    const double mediaan = n % 2 == 1 ? ms[n / 2] : (ms[n / 2 - 1] + ms[n / 2]) / 2;
    std::printf("%-36s mediaan %8.2f ms  min %8.2f  max %8.2f  (n=%zu)\n", naam.c_str(), mediaan,
                ms.front(), ms.back(), n);
    return mediaan;
}

std::string belasting() {
    std::string regel;
    std::getline(std::ifstream("/proc/loadavg"), regel);
    return regel + " op " + std::to_string(std::thread::hardware_concurrency()) + " kernen";
}

// One way of pasting measured over its rounds, and how many pastes reached the editor.
struct Meting {
    std::vector<double> geheel, start, toetsen, pictogram;
    long geplakt = 0;  // x's, the clipboard's text
    long losseV = 0;   // v's: the chord arrived without its Control
};

// Whether the shell's panel shows the icon of a shared screen, as it does while a remote session
// is open.
constexpr const char* pictogram =
    "(() => { let z = false; const zoek = a => { z ||= a instanceof imports.gi.St.Icon && "
    "a.is_mapped() && a.icon_name === 'screen-shared-symbolic'; a.get_children().forEach(zoek); "
    "}; zoek(Main.panel); return z; })()";

}  // namespace

int main(int argc, char** argv) {
    const int rondes = argc > 1 ? std::max(1, std::atoi(argv[1])) : 20;
    const auto wacht = std::chrono::milliseconds(argc > 2 ? std::atoi(argv[2]) : 0);
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
    // What the editor gained since the last count (geplakt -1 when it would not save). After a
    // remote-desktop session has closed, the shell may drop the Control of its own Ctrl+S and
    // type an "s": a Return first changes the text, so that a second Ctrl+S has something to
    // save whichever key was lost.
    long x0 = 0, v0 = 0;
    const auto telAangekomen = [&](Meting& m) {
        m.geplakt = -1;
        for (int poging = 0; poging < 3 && m.geplakt < 0; ++poging) {
            gnome.toetsen({{0xff0d, true}, {0xff0d, false}});
            if (const std::string tekst = gnome.bewaardeTekst(); !tekst.empty()) {
                m.geplakt = std::count(tekst.begin(), tekst.end(), 'x') - x0;
                m.losseV = std::count(tekst.begin(), tekst.end(), 'v') - v0;
                x0 += m.geplakt;
                v0 += m.losseV;
            }
        }
    };

    // Per paste: a session from the token, the chord, and the close, as the app would do it on
    // every paste. voorbereid: a Shift first, because the shell drops a new session's first key,
    // most often the chord's Control.
    int stil = 0, tokenBewaard = 0, tokenAnders = 0;
    const auto perPlak = [&](bool voorbereid) {
        Meting m;
        for (int i = 0; i < rondes; ++i) {
            const std::string tokenVoor = leesToken(tokenBestand);
            const auto tokenTijd = std::filesystem::last_write_time(tokenBestand);
            const auto begin = Klok::now();
            auto toetsenbord = std::make_unique<PortaalToetsenbord>(portaal, tokenBestand, false);
            if (const std::string fout = start(*toetsenbord); !fout.empty()) {
                std::printf("ronde %d: de sessie start niet: %s (modaal: %s)\n", i + 1,
                            fout.c_str(), gnome.evalueer("Main.modalCount").c_str());
                std::exit(1);
            }
            m.start.push_back(msSinds(begin));
            const auto toets = Klok::now();
            if (voorbereid) {
                stuurToets(portaal, toetsenbord->sessie(), shiftL, true);
                stuurToets(portaal, toetsenbord->sessie(), shiftL, false);
                std::this_thread::sleep_for(wacht);
            }
            if (!toetsenbord->stuurPlakToets(false)) {
                std::printf("ronde %d: de toetsen gingen niet weg\n", i + 1);
            }
            m.toetsen.push_back(msSinds(toets));
            const auto sluit = Klok::now();
            toetsenbord.reset();
            g_dbus_connection_flush_sync(portaal.bus(), nullptr, nullptr);
            m.geheel.push_back(msSinds(begin));
            // A dialog the shell showed would hold a modal grab.
            if (const auto modaal = gnome.evalueer("Main.modalCount"); modaal == "0") {
                ++stil;
            } else {
                std::printf("ronde %d: Main.modalCount is '%s'\n", i + 1, modaal.c_str());
            }
            tokenBewaard += std::filesystem::last_write_time(tokenBestand) != tokenTijd ? 1 : 0;
            tokenAnders += leesToken(tokenBestand) != tokenVoor ? 1 : 0;
            // The next paste comes once the shell has ended this session, as a user's would.
            if (!nep::wachtTot([&] { return gnome.evalueer(pictogram) == "false"; }, 10s)) {
                std::printf("ronde %d: het pictogram blijft\n", i + 1);
            }
            m.pictogram.push_back(msSinds(sluit));
        }
        telAangekomen(m);
        return m;
    };
    const Meting kaal = perPlak(false);
    const Meting voorbereid = perPlak(true);

    // Kept open: the chord alone, on a session started long before, as the app uses it.
    PortaalToetsenbord open(portaal, tokenBestand, false);
    if (const auto fout = start(open); !fout.empty()) {
        std::printf("de blijvende sessie start niet: %s\n", fout.c_str());
        return 1;
    }
    // Long after its start, as the app's session is when the user pastes.
    std::this_thread::sleep_for(1s);
    const bool zichtbaarOpen = gnome.evalueer(pictogram) == "true";
    Meting blijvend;
    for (int i = 0; i < rondes; ++i) {
        const auto begin = Klok::now();
        open.stuurPlakToets(false);
        blijvend.geheel.push_back(msSinds(begin));
        std::this_thread::sleep_for(100ms);
    }
    telAangekomen(blijvend);

    std::printf("\n");
    const double a = druk("(a) per plak: start+toetsen+sluiten", kaal.geheel);
    druk("    waarvan start", kaal.start);
    druk("    waarvan toetsen", kaal.toetsen);
    const double a2 = druk("(a') idem, Shift en " + std::to_string(wacht.count()) + " ms eerst",
                           voorbereid.geheel);
    druk("    waarvan start", voorbereid.start);
    const double b = druk("(b) blijvende sessie: toetsen", blijvend.geheel);
    std::printf("verhouding mediaan (a)/(b): %.1f, (a')/(b): %.1f\n", a / b, a2 / b);
    std::printf(
        "geplakt in de tekstverwerker (losse v's): (a) %ld/%d (%ld), (a') %ld/%d (%ld), "
        "(b) %ld/%d (%ld)\n",
        kaal.geplakt, rondes, kaal.losseV, voorbereid.geplakt, rondes, voorbereid.losseV,
        blijvend.geplakt, rondes, blijvend.losseV);
    std::printf(
        "starts per plak zonder modale dialoog: %d/%d, elk met het token van de vorige; "
        "token opnieuw bewaard: %d keer, anders dan het vorige: %d keer\n",
        stil, 2 * rondes, tokenBewaard, tokenAnders);
    std::printf("pictogram van een gedeeld scherm bij de blijvende sessie: %s\n",
                zichtbaarOpen ? "zichtbaar" : "niet zichtbaar");
    druk("pictogram weg na het sluiten (a)", kaal.pictogram);
    druk("pictogram weg na het sluiten (a')", voorbereid.pictogram);
    std::printf("belasting na: %s\n", belasting().c_str());
    return 0;
}
