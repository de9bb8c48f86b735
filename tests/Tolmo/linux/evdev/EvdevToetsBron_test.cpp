// The keyboard reader on named pipes in a temporary directory standing in for /dev/input: each
// pipe carries the kernel's input_event records as an event device would.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <linux/input.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "Tolmo/linux/evdev/EvdevToetsBron.h"
#include "nep/TijdelijkeOpname.h"

namespace tolmo {
namespace {

namespace fs = std::filesystem;
using G = ToetsBron::Gebeurtenis;
using S = ToetsBron::Soort;
using V = ToetsVlaggen;

// A device node: a pipe whose writing end the test holds (read-write, so opening never waits).
struct Apparaat {
    explicit Apparaat(const fs::path& p) {
        ::mkfifo(p.c_str(), 0600);
        fd = ::open(p.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC);
    }
    ~Apparaat() { ::close(fd); }
    Apparaat(const Apparaat&) = delete;
    Apparaat& operator=(const Apparaat&) = delete;

    // One key event and its report, written in two pieces that split a record, as a pipe may.
    void toets(std::uint16_t code, std::int32_t waarde) const {
        const std::vector<input_event> e{{{}, EV_KEY, code, waarde}, {{}, EV_SYN, SYN_REPORT, 0}};
        const auto* b = reinterpret_cast<const char*>(e.data());
        const std::size_t n = e.size() * sizeof(input_event);
        EXPECT_EQ(::write(fd, b, 10), 10);
        EXPECT_EQ(::write(fd, b + 10, n - 10), static_cast<ssize_t>(n - 10));
    }
    void ruw(const input_event& e) const {
        EXPECT_EQ(::write(fd, &e, sizeof(e)), static_cast<ssize_t>(sizeof(e)));
    }
    int fd = -1;
};

// Anything named "muis" is no keyboard; the kernel's answer needs a real device.
bool geenMuis(int fd) {
    const fs::path link = "/proc/self/fd/" + std::to_string(fd);
    return fs::read_symlink(link).filename().string().find("muis") == std::string::npos;
}

TEST(EvdevToetsBron, FindsKeyboardsAlsoPluggedInLaterAndDropsOnesUnplugged) {
    nep::TijdelijkeMap map;
    Apparaat een(map.pad() / "event0");
    Apparaat muis(map.pad() / "event1-muis");
    Apparaat anders(map.pad() / "mouse0");
    std::vector<std::pair<std::uint16_t, std::int32_t>> gezien;
    EvdevApparaten apparaten(
        map.pad(), [&](std::uint16_t c, std::int32_t w) { gezien.emplace_back(c, w); }, geenMuis);
    EXPECT_EQ(apparaten.toetsenborden(), std::vector<fs::path>{map.pad() / "event0"});

    Apparaat twee(map.pad() / "event7");
    apparaten.verwerk();
    EXPECT_EQ(apparaten.toetsenborden().size(), 2U);
    een.toets(KEY_A, 1);
    twee.toets(KEY_B, 1);
    muis.toets(KEY_C, 1);
    // Events lost in an overflowing queue up to the next report are not trusted.
    een.ruw({{}, EV_SYN, SYN_DROPPED, 0});
    een.ruw({{}, EV_KEY, KEY_D, 0});
    een.ruw({{}, EV_SYN, SYN_REPORT, 0});
    een.toets(KEY_E, 0);
    apparaten.verwerk();
    // Two devices: their order in one round is epoll's.
    std::vector<std::pair<std::uint16_t, std::int32_t>> verwacht{
        {KEY_A, 1}, {KEY_B, 1}, {KEY_E, 0}};
    std::sort(gezien.begin(), gezien.end());
    std::sort(verwacht.begin(), verwacht.end());
    EXPECT_EQ(gezien, verwacht);

    fs::remove(map.pad() / "event0");
    apparaten.verwerk();
    EXPECT_EQ(apparaten.toetsenborden(), std::vector<fs::path>{map.pad() / "event7"});
    EXPECT_FALSE(apparaten.toegangGeweigerd());
    // A node the user may not read: not in the input group (root reads everything).
    if (::geteuid() != 0) {
        Apparaat dicht(map.pad() / "event9");
        ::chmod((map.pad() / "event9").c_str(), 0);
        apparaten.verwerk();
        EXPECT_TRUE(apparaten.toegangGeweigerd());
    }
}

// What the key source makes of the keys: the tap's events carry the Apple codes and the full
// flags word, as on X11; the toggle combination and Esc come from the same stream.
TEST(EvdevToetsBron, KeysBecomeTheTapsEventsTheToggleAndEsc) {
    nep::TijdelijkeMap map;
    Apparaat toetsenbord(map.pad() / "event0");
    EvdevToetsBron bron(map.pad(), [](int) { return true; });
    std::vector<G> tap;
    auto t = bron.maakTap([&](const G& g) { tap.push_back(g); }, {});
    t->zetAan();
    int wissels = 0;
    int escs = 0;
    auto handler = bron.installeerWisselHandler([&] { ++wissels; });
    Toetscombinatie ctrlAltD;
    ctrlAltD.toetscode = 2;  // D
    ctrlAltD.modificaties.ruw =
        Toetscombinatie::Modificaties::control | Toetscombinatie::Modificaties::option;
    auto wissel = bron.registreerWissel(ctrlAltD);

    const std::uint64_t rAlt = V::option | V::rechterOption;
    const std::uint64_t ctrlAlt = V::control | V::linkerControl | V::option | V::linkerOption;
    struct Stap {
        std::uint16_t code;
        std::int32_t waarde;
        std::vector<G> verwacht;
        int wissels;
        int escs;
    };
    for (const Stap& s : std::vector<Stap>{
             {KEY_RIGHTALT, 1, {{S::modificatie, 61, {rAlt}, false}}, 0, 0},
             // Held down, it repeats: nothing new.
             {KEY_RIGHTALT, 2, {}, 0, 0},
             {KEY_A, 1, {{S::toetsOmlaag, 0, {rAlt}, false}}, 0, 0},
             {KEY_A, 0, {}, 0, 0},
             {KEY_RIGHTALT, 0, {{S::modificatie, 61, {0}, false}}, 0, 0},
             {KEY_LEFTCTRL, 1, {{S::modificatie, 59, {V::control | V::linkerControl}}}, 0, 0},
             {KEY_LEFTALT, 1, {{S::modificatie, 58, {ctrlAlt}}}, 0, 0},
             {KEY_D, 1, {{S::toetsOmlaag, 2, {ctrlAlt}}}, 1, 0},
             {KEY_D, 0, {}, 1, 0},
             {KEY_LEFTALT, 0, {{S::modificatie, 58, {V::control | V::linkerControl}}}, 1, 0},
             // With Control alone, D is no combination.
             {KEY_D, 1, {{S::toetsOmlaag, 2, {V::control | V::linkerControl}}}, 1, 0},
             {KEY_LEFTCTRL, 0, {{S::modificatie, 59, {0}}}, 1, 0},
             // Esc before anyone waits for it is only a key.
             {KEY_ESC, 1, {{S::toetsOmlaag, 53, {0}}}, 1, 0},
         }) {
        tap.clear();
        toetsenbord.toets(s.code, s.waarde);
        bron.verwerk();
        EXPECT_EQ(tap, s.verwacht) << s.code << " " << s.waarde;
        EXPECT_EQ(wissels, s.wissels) << s.code << " " << s.waarde;
        EXPECT_EQ(escs, s.escs) << s.code << " " << s.waarde;
    }
    EXPECT_EQ(bron.sessieVlaggen(), V{});
    bron.wacht([&] { ++escs; });
    toetsenbord.toets(KEY_ESC, 1);
    bron.verwerk();
    EXPECT_EQ(escs, 1);
    bron.stopWachten();
    wissel.reset();
    toetsenbord.toets(KEY_ESC, 1);
    toetsenbord.toets(KEY_LEFTCTRL, 1);
    toetsenbord.toets(KEY_LEFTALT, 1);
    toetsenbord.toets(KEY_D, 1);
    bron.verwerk();
    EXPECT_EQ(escs, 1);
    EXPECT_EQ(wissels, 1) << "the combination was unregistered";
}

}  // namespace
}  // namespace tolmo
