// The X11 clipboard against a private X server, with another app on a second connection.
// gtest first: Xlib's macros (None, Bool) would break its templates.
#include <gtest/gtest.h>

#include "Tolmo/linux/x11/X11Klembord.h"

#include <X11/keysym.h>

#include <algorithm>
#include <cstring>
#include <future>
#include <iostream>
#include <map>
#include <random>
#include <thread>

#include "nep/LopendProces.h"
#include "nep/X11AndereApp.h"
#include "nep/XvfbServer.h"

namespace tolmo {
namespace {

using namespace std::chrono_literals;

TEST(X11Klembord, KnowsEachAppsPasteChordAndTheUsersOwnRows) {
    using A = X11PlakToetsen::Akkoord;
    using S = X11PlakToetsen::Selectie;
    std::vector<std::string> fouten;
    // The user's rows: one that adds a terminal, one that overrides a built-in row, and rows
    // that cannot be read.
    const X11PlakToetsen toetsen(X11PlakToetsen::leesRegels(
        " Ghostty = Ctrl+Shift+V ; urxvt=Ctrl+Shift+V clipboard;;st=Shift+Insert CLIPBOARD;"
        "kapot;x=Ctrl+Q;y=Ctrl+V ergens",
        &fouten));
    EXPECT_EQ(fouten, (std::vector<std::string>{"kapot", "x=Ctrl+Q", "y=Ctrl+V ergens"}));
    struct Geval {
        std::optional<WmKlasse> klasse;
        X11PlakToetsen::Profiel profiel;
    };
    const Geval gevallen[] = {
        {WmKlasse{"xterm", "XTerm"}, {A::shiftInsert, S::primair}},
        {WmKlasse{"gnome-terminal-server", "Gnome-terminal"}, {A::ctrlShiftV, S::klembord}},
        {WmKlasse{"org.wezfurlong.wezterm", "org.wezfurlong.wezterm"},
         {A::ctrlShiftV, S::klembord}},
        {WmKlasse{"urxvt", "URxvt"}, {A::ctrlShiftV, S::klembord}},
        {WmKlasse{"ghostty", "com.mitchellh.ghostty"}, {A::ctrlShiftV, S::klembord}},
        {WmKlasse{"st-256color", "st"}, {A::shiftInsert, S::klembord}},
        {WmKlasse{"gedit", "Gedit"}, {A::ctrlV, S::klembord}},
        {WmKlasse{"Navigator", "firefox"}, {A::ctrlV, S::klembord}},
        // A name that merely contains a terminal's is not one.
        {WmKlasse{"xtermijn", "Xtermijn"}, {A::ctrlV, S::klembord}},
        {WmKlasse{"", ""}, {A::ctrlV, S::klembord}},
        {std::nullopt, {A::ctrlV, S::klembord}},
    };
    for (std::size_t i = 0; i < std::size(gevallen); ++i) {
        EXPECT_EQ(toetsen.voor(gevallen[i].klasse), gevallen[i].profiel) << "geval " << i;
    }
}

TEST(X11Klembord, CountsOnlyThePastingAppsReadOfTheText) {
    using L = X11Klembord::Lezing;
    struct Geval {
        L lezing;
        bool plak;
    };
    const Geval gevallen[] = {
        {{"UTF8_STRING", true, 1000, 1000}, true},
        {{"text/plain;charset=utf-8", true, 1000, 1250}, true},
        {{"STRING", true, 0xfffffff0, 5}, true},  // the server clock wrapped
        // A clipboard manager converting with the owner change's time or CurrentTime.
        {{"UTF8_STRING", true, 1000, 995}, false},
        {{"UTF8_STRING", true, 1000, CurrentTime}, false},
        // A toolkit that pastes with CurrentTime, known by its process.
        {{"UTF8_STRING", true, 1000, CurrentTime, true}, true},
        {{"TARGETS", true, 1000, CurrentTime, true}, false},
        {{"UTF8_STRING", true, std::nullopt, CurrentTime, true}, false},
        {{"TARGETS", true, 1000, 1250}, false},
        {{"SAVE_TARGETS", true, 1000, 1250}, false},
        {{"image/png", true, 1000, 1250}, false},
        // No paste keystroke yet, or what we offer is not a dictation.
        {{"UTF8_STRING", true, std::nullopt, 1250}, false},
        {{"UTF8_STRING", false, 1000, 1250}, false},
    };
    for (std::size_t i = 0; i < std::size(gevallen); ++i) {
        EXPECT_EQ(X11Klembord::isPlakLezing(gevallen[i].lezing), gevallen[i].plak) << "geval " << i;
    }
}

TEST(X11Klembord, TakesAnotherAppsClipboardAndGivesItBack) {
    const nep::XvfbServer server;
    ASSERT_FALSE(server.naam().empty());
    X11Verbinding onze;
    X11Klembord klembord(onze);
    nep::X11AndereApp app(&onze);
    EXPECT_TRUE(klembord.maakMomentopname().empty());

    // Large enough that both sides send it in INCR parts.
    std::string png(300 * 1024, '\0');
    std::mt19937 toeval(7);
    for (char& c : png) {
        c = static_cast<char>(toeval());
    }
    const std::string tekst = "Kopie uit een andere app ✓";
    const auto leeg = klembord.wijzigingsTeller();
    app.bezit({{"UTF8_STRING", tekst}, {"image/png", png}});
    EXPECT_EQ(klembord.wijzigingsTeller(), leeg + 1);

    const auto momentopname = klembord.maakMomentopname();
    while (klembord.momentopnameLoopt()) {
        nep::pomp(onze);
    }

    const auto teller = klembord.schrijf("één gedicteerde zin");
    EXPECT_EQ(app.lees("UTF8_STRING"), "één gedicteerde zin");
    EXPECT_EQ(app.lees("STRING"), "\xe9\xe9n gedicteerde zin");
    EXPECT_EQ(app.lees("x-kde-passwordManagerHint"), "secret");
    const std::string doelen = app.lees("TARGETS").value_or("");
    std::vector<long> atomen(doelen.size() / sizeof(long));
    std::memcpy(atomen.data(), doelen.data(), atomen.size() * sizeof(long));
    const auto hint = static_cast<long>(onze.atoom("x-kde-passwordManagerHint"));
    EXPECT_NE(std::find(atomen.begin(), atomen.end(), hint), atomen.end());
    // Our own owner change came in while the other app read; it was counted when we wrote.
    EXPECT_EQ(klembord.wijzigingsTeller(), teller);

    klembord.herstel(momentopname);
    EXPECT_EQ(app.lees("UTF8_STRING"), tekst);
    EXPECT_EQ(app.lees("image/png"), png);
    // What we own again is copied at once, as it was restored.
    const auto eigen = klembord.maakMomentopname();
    ASSERT_EQ(eigen.size(), 1U);
    EXPECT_EQ((std::map<std::string, std::string>(eigen[0].begin(), eigen[0].end())),
              (std::map<std::string, std::string>{{"UTF8_STRING", tekst}, {"image/png", png}}));

    const auto hersteld = klembord.wijzigingsTeller();
    app.bezit({{"UTF8_STRING", "later gekopieerd"}});
    EXPECT_EQ(klembord.wijzigingsTeller(), hersteld + 1);
    // The count's round trip brought the SelectionClear in too.
    onze.verwerk();
    EXPECT_FALSE(klembord.bezitKlembord());

    // On quitting, what we own goes to the clipboard manager, which keeps it after we are gone.
    EXPECT_FALSE(klembord.geefAanBeheerder(1s));
    klembord.herstel(momentopname);
    EXPECT_FALSE(klembord.geefAanBeheerder(1s)) << "no manager runs yet";
    app.wordBeheerder();
    EXPECT_TRUE(klembord.geefAanBeheerder(3s));
    const auto bewaard = app.bezit();
    EXPECT_EQ(bewaard.count("UTF8_STRING") > 0 ? bewaard.at("UTF8_STRING") : "", tekst);
    EXPECT_TRUE(bewaard.count("image/png") > 0 && bewaard.at("image/png") == png);
    onze.verwerk();
    EXPECT_FALSE(klembord.bezitKlembord());
}

// An owner that answers after 800 ms: the copy of its clipboard runs beside the main loop, the
// write and the paste wait for it in order, and the restore gives everything back. The loop's
// longest gap (a 5 ms poll per round, as the app's loop waits) and the copy's own time are
// printed for comparison: before the copy had its own thread, that whole time was one stall.
TEST(X11Klembord, ASlowOwnerDoesNotHoldUpTheMainLoop) {
    using Klok = std::chrono::steady_clock;
    const nep::XvfbServer server;
    ASSERT_FALSE(server.naam().empty());
    X11Verbinding onze;
    X11Klembord klembord(onze);
    nep::X11AndereApp app(&onze);
    app.bezit({{"UTF8_STRING", "van de gebruiker"}, {"text/html", "<b>van</b>"}});
    app.targetsVertragingMs = 800;
    app.vooraan("gedit", "Gedit", 4242);

    const auto begin = Klok::now();
    const auto momentopname = klembord.maakMomentopname();
    const auto teller = klembord.schrijf("gedicteerd");
    klembord.stuurPlakToets();
    const auto aanroepen = Klok::now() - begin;
    EXPECT_TRUE(klembord.momentopnameLoopt());
    EXPECT_EQ(klembord.wijzigingsTeller(), teller);
    Klok::duration langsteGat{};
    for (auto vorige = Klok::now(); klembord.momentopnameLoopt() && Klok::now() - begin < 3s;) {
        nep::pomp(onze);
        langsteGat = std::max(langsteGat, Klok::now() - vorige);
        vorige = Klok::now();
    }
    const auto kopie = Klok::now() - begin;
    const auto ms = [](Klok::duration d) {
        return std::chrono::duration_cast<std::chrono::milliseconds>(d).count();
    };
    std::cout << "aanroepen " << ms(aanroepen) << " ms, langste gat " << ms(langsteGat)
              << " ms, kopie " << ms(kopie) << " ms\n";
    EXPECT_LT(aanroepen, 200ms);
    EXPECT_LT(langsteGat, 200ms);
    EXPECT_GE(kopie, 800ms);
    // The paste came after the write.
    const auto toets = app.wachtOpToets(XK_v);
    ASSERT_TRUE(toets);
    EXPECT_EQ(app.lees("UTF8_STRING", toets->time), "gedicteerd");
    EXPECT_EQ(klembord.wijzigingsTeller(), teller);

    klembord.herstel(momentopname);
    EXPECT_EQ(app.lees("UTF8_STRING"), "van de gebruiker");
    EXPECT_EQ(app.lees("text/html"), "<b>van</b>");
}

TEST(X11Klembord, PastesWithTheActiveAppsChordAndReportsItsRead) {
    const nep::XvfbServer server;
    ASSERT_FALSE(server.naam().empty());
    X11Verbinding onze;
    X11Klembord klembord(onze);
    nep::X11AndereApp app(&onze);
    nep::X11AndereApp beheerder(&onze);  // a clipboard manager
    nep::X11AndereApp toetsenbord;       // the user's hands
    std::vector<Window> gelezen;
    klembord.opGelezen([&](Window w) { gelezen.push_back(w); });
    // A clipboard manager in a process of its own that converts with CurrentTime, as xclip
    // does: the same process as the app would count as the app.
    const auto leesInAnderProces = [&onze](const char* selectie) {
        auto uitkomst = std::async(std::launch::async, [selectie] {
            return nep::voerProcesUit("/usr/bin/xclip",
                                      {"-o", "-selection", selectie, "-t", "UTF8_STRING"});
        });
        while (uitkomst.wait_for(0s) != std::future_status::ready) {
            nep::pomp(onze);
        }
        return uitkomst.get().uit;
    };
    // The user has text marked in the app, which xterm's paste would otherwise have read.
    app.bezit({{"UTF8_STRING", "gemarkeerd"}}, "PRIMARY");

    struct Geval {
        const char* instantie;
        const char* klasse;
        bool houdShiftVast;  // the user still holds Shift for a moment
        unsigned verwacht;
        bool zonderTijd;  // the app converts with CurrentTime, not the key's time
        KeySym toets = XK_v;
        const char* selectie = "CLIPBOARD";  // what the chord reads
    };
    const Geval gevallen[] = {
        {"gedit", "Gedit", false, ControlMask, false},
        {"gnome-terminal-server", "Gnome-terminal", false, ControlMask | ShiftMask, false},
        {"xterm", "XTerm", false, ShiftMask, false, XK_Insert, "PRIMARY"},
        {"gedit", "Gedit", true, ControlMask, false},
        {"chrome", "Chrome", false, ControlMask, true},
    };
    for (std::size_t i = 0; i < std::size(gevallen); ++i) {
        SCOPED_TRACE(i);
        const Geval& g = gevallen[i];
        app.vooraan(g.instantie, g.klasse, 4242);
        gelezen.clear();
        klembord.schrijf("plak mij");
        std::thread houder;
        if (g.houdShiftVast) {
            toetsenbord.toets(XK_Shift_L, true);
            houder = std::thread([&toetsenbord] {
                std::this_thread::sleep_for(150ms);
                toetsenbord.toets(XK_Shift_L, false);
            });
        }
        klembord.stuurPlakToets();
        const auto toets = app.wachtOpToets(g.toets);
        ASSERT_TRUE(toets);
        EXPECT_EQ(toets->state & (ControlMask | ShiftMask), g.verwacht);
        EXPECT_EQ(klembord.plakToetsNaam(), g.toets == XK_Insert     ? "Shift+Insert"
                                            : g.verwacht & ShiftMask ? "Ctrl+Shift+V"
                                                                     : "Ctrl+V");
        // A clipboard manager's reads, then the pasting app's.
        EXPECT_EQ(leesInAnderProces(g.selectie), "plak mij");
        EXPECT_EQ(beheerder.lees("UTF8_STRING", toets->time - 10, g.selectie), "plak mij");
        EXPECT_TRUE(gelezen.empty());
        EXPECT_EQ(app.lees("UTF8_STRING", g.zonderTijd ? CurrentTime : toets->time, g.selectie),
                  "plak mij");
        EXPECT_EQ(gelezen, std::vector<Window>{app.venster()});
        // The restore gives the selection the chord read back what it held.
        klembord.herstel({});
        EXPECT_EQ(app.lees("UTF8_STRING", CurrentTime, "PRIMARY"), "gemarkeerd");
        if (houder.joinable()) {
            houder.join();
        }
    }
}

}  // namespace
}  // namespace tolmo
