// The Wayland adapter set against a real headless sway: foot terminals as the apps the user
// pastes into (each runs a program that writes what it receives to a file), wl-paste as the
// clipboard's other readers, wtype as the keyboard the user presses bindings on.
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/stat.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <future>
#include <sstream>
#include <thread>

#include "Tolmo/GolfView/GolfAnimatie.h"
#include "Tolmo/linux/wayland/WaylandAdapters.h"
#include "Tolmo/linux/wayland/WaylandBindingen.h"
#include "nep/Kind.h"
#include "nep/LopendProces.h"
#include "nep/SwayServer.h"
#include "nep/WaylandKlanten.h"

namespace tolmo {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using nep::wachtTot;

class WaylandTest : public ::testing::TestWithParam<nep::SwayUitgave> {
  protected:
    void SetUp() override {
        if (!GetParam().overslaan().empty()) {
            GTEST_SKIP() << GetParam().overslaan();
        }
        ASSERT_TRUE(sway_.fout().empty()) << sway_.fout();
        // Our clients' own runtime directory, which foot wants.
        ::setenv("XDG_RUNTIME_DIR", sway_.uit().c_str(), 1);
        adapters_ = std::make_unique<WaylandAdapters>(false);
    }

    // Waits for f while our connection keeps answering the compositor.
    template <typename F>
    bool wachtMet(F f, std::chrono::milliseconds maximaal = 5s) {
        return wachtTot(
            [&] {
                adapters_->verwerk();
                return f();
            },
            maximaal);
    }
    // A program's output while our connection serves the clipboard it reads.
    std::string voerUit(std::vector<std::string> args) {
        auto klaar = std::async(std::launch::async, [args] {
            return nep::voerProcesUit(args[0], {args.begin() + 1, args.end()}).uit;
        });
        while (klaar.wait_for(5ms) != std::future_status::ready) {
            adapters_->verwerk();
        }
        return klaar.get();
    }

    nep::SwayServer sway_{"", GetParam().root()};
    std::unique_ptr<WaylandAdapters> adapters_;
};

TEST_P(WaylandTest, ThePasteIsReadAfterTheKeystrokeAndTheClipboardComesBack) {
    EXPECT_EQ(adapters_->klembord().maakMomentopname(), KlembordPoort::Momentopname{});
    const std::string png(300000, '\x89');
    const KlembordPoort::Momentopname eigen{
        {{"text/plain;charset=utf-8", "mijn eigen klembord"}, {"image/png", png}}};
    nep::AndereWaylandApp gebruiker(eigen);
    // A clipboard manager fetches every new selection as soon as it is set.
    const fs::path beheerder = sway_.uit() / "beheerder";
    pid_t watch = nep::startKind(
        {"sh", "-c", "exec wl-paste --watch sh -c 'cat >> " + beheerder.string() + "'"});
    ASSERT_TRUE(wachtTot([&] { return fs::exists(beheerder); }, 5s));

    struct Geval {
        std::string appId;
        std::string ontvangen;  // what the program in the window receives
        int lezingen;
    };
    // foot pastes on Ctrl+Shift+V only; under another app id it gets Ctrl+V, which reaches
    // the program as the control character.
    for (const Geval& g : {Geval{"foot", "Hallo vanuit Tolmo", 1}, Geval{"tolmotest", "\x16", 0}}) {
        SCOPED_TRACE(g.appId);
        nep::Foot venster(sway_.uit(), g.appId, "doel-" + g.appId);
        ASSERT_TRUE(venster.open_);
        ASSERT_TRUE(wachtMet([&] {
            const auto d = adapters_->vensterFocus().huidig();
            return d && d->bundleId == g.appId;
        }));
        auto& klembord = adapters_->klembord();
        const auto momentopname = klembord.maakMomentopname();
        EXPECT_EQ(momentopname, eigen);
        int lezingen = 0;
        klembord.zetOpGelezen([&] { ++lezingen; });
        const auto teller = klembord.wijzigingsTeller();
        const auto versie = klembord.schrijf("Hallo vanuit Tolmo");
        EXPECT_GT(versie, teller);
        // The manager's read of the new selection came before the keystroke and does not count.
        EXPECT_TRUE(
            wachtMet([&] { return nep::inhoud(beheerder).ends_with("Hallo vanuit Tolmo"); }));
        EXPECT_EQ(lezingen, 0);
        klembord.stuurPlakToets();
        EXPECT_TRUE(wachtMet([&] { return nep::inhoud(venster.bestand) == g.ontvangen; }))
            << nep::inhoud(venster.bestand);
        adapters_->verwerk();
        EXPECT_EQ(lezingen, g.lezingen);
        // Reads change nothing: the count still says the clipboard is ours, so it is restored.
        EXPECT_EQ(klembord.wijzigingsTeller(), versie);
        klembord.zetOpGelezen({});
        klembord.herstel(momentopname);
        EXPECT_EQ(voerUit({"/usr/bin/wl-paste", "-n", "-t", "text/plain;charset=utf-8"}),
                  "mijn eigen klembord");
        EXPECT_TRUE(voerUit({"/usr/bin/wl-paste", "-n", "-t", "image/png"}) == png)
            << "the image did not come back whole";
    }
    nep::stopKind(watch);
}

// Another window of the same app is another target: the paste would land in the wrong one.
TEST_P(WaylandTest, TheWindowInFrontIsTheActivatedToplevel) {
    nep::Foot een(sway_.uit(), "foot", "een");
    ASSERT_TRUE(een.open_);
    ASSERT_TRUE(wachtMet([&] { return adapters_->vensterFocus().huidig().has_value(); }));
    const auto eerst = adapters_->vensterFocus().huidig();
    nep::Foot twee(sway_.uit(), "foot", "twee");
    ASSERT_TRUE(twee.open_);
    ASSERT_TRUE(wachtMet([&] {
        const auto d = adapters_->vensterFocus().huidig();
        return d && !(d->veld == eerst->veld);
    }));
    const auto daarna = adapters_->vensterFocus().huidig();
    EXPECT_EQ(daarna->bundleId, "foot");
    EXPECT_EQ(Doel::beslis(eerst, daarna), Doel::Beslissing::naarKlembord(Doel::Reden::anderVeld));
    // Asking takes in what the compositor said since, with nobody reading the connection: the
    // key's command may be handled before the focus change that came first.
    nep::SwayServer::opdracht({"[title=\"een\"]", "focus"});
    EXPECT_TRUE(wachtTot([&] {
        const auto d = adapters_->vensterFocus().huidig();
        return d && Doel::beslis(eerst, d) == Doel::Beslissing::plak();
    }));
}

// The indicator on the overlay layer: frames keep coming only while sway shows it on its output,
// none once hidden, and the terminal in front keeps the keyboard focus throughout.
TEST_P(WaylandTest, TheLayerIndicatorShowsWithoutTakingTheFocus) {
    nep::Foot foot(sway_.uit(), "foot", "terminal");
    ASSERT_TRUE(foot.open_);
    ASSERT_TRUE(wachtTot([] { return nep::SwayServer::focusAppId() == "foot"; }, 5s));
    GolfAnimatie golf{GolfAnimatie::Thema::donkerThema()};
    auto indicator = adapters_->maakIndicator(golf);
    ASSERT_NE(indicator, nullptr);
    const auto vermogens = adapters_->vermogens();
    EXPECT_EQ(vermogens.back().mechanisme.rfind("zwlr_layer_shell_v1", 0), 0U);
    for (int keer = 0; keer < 2; ++keer) {
        indicator->toon();
        EXPECT_TRUE(wachtMet([&] { return indicator->getekend() >= 10; }));
        EXPECT_EQ(nep::SwayServer::focusAppId(), "foot");
        indicator->verberg();
        const auto getekend = indicator->getekend();
        wachtMet([] { return false; }, 200ms);
        EXPECT_EQ(indicator->getekend(), getekend) << "frames while hidden";
    }
    EXPECT_EQ(nep::SwayServer::focusAppId(), "foot");
}

INSTANTIATE_TEST_SUITE_P(Sway, WaylandTest, ::testing::ValuesIn(nep::swayUitgaven),
                         [](const auto& i) { return i.param.naam; });

// The lines `tolmo-app --bindingen sway` prints, in a real sway: each hold key starts on press
// and stops on release, pressed the way a keyboard reports a modifier (the key, then the
// modifier state), and the toggle combination toggles.
class WaylandBindingenTest : public ::testing::TestWithParam<nep::SwayUitgave> {};

TEST_P(WaylandBindingenTest, SwayRunsTheCommandsOnTheChosenKeys) {
    if (!GetParam().overslaan().empty()) {
        GTEST_SKIP() << GetParam().overslaan();
    }
    struct Geval {
        HoudToets houd;
        std::string sym;
        std::string modificatie;  // wtype's name of the modifier the key sets
    };
    for (const Geval& g : {Geval{HoudToets::rechterOption, "Alt_R", "alt"},
                           Geval{HoudToets::rechterControl, "Control_R", "ctrl"},
                           Geval{HoudToets::rechterCommand, "Super_R", "logo"}}) {
        SCOPED_TRACE(g.sym);
        MacInstellingen toetsen;
        toetsen.houdToets = g.houd;
        const fs::path map =
            fs::temp_directory_path() / ("tolmo-bind-" + std::to_string(::getpid()));
        fs::create_directories(map);
        ::chmod(map.c_str(), 0777);
        const fs::path script = map / "opdracht";
        std::ofstream(script) << "#!/bin/sh\necho \"$1\" >> " << (map / "log").string() << "\n";
        ::chmod(script.c_str(), 0755);
        nep::SwayServer sway(bindingen(Compositor::sway, toetsen, script.string()),
                             GetParam().root());
        ASSERT_TRUE(sway.fout().empty()) << sway.fout();
        nep::voerProcesUit("/usr/bin/wtype", {"-P", g.sym, "-M", g.modificatie, "-s", "200", "-p",
                                              g.sym, "-m", g.modificatie});
        EXPECT_TRUE(wachtTot([&] { return nep::inhoud(map / "log") == "--start\n--stop\n"; }))
            << nep::inhoud(map / "log");
        nep::voerProcesUit("/usr/bin/wtype", {"-M", "ctrl", "-M", "alt", "-P", "d", "-p", "d", "-m",
                                              "alt", "-m", "ctrl"});
        EXPECT_TRUE(wachtTot([&] {
            return nep::inhoud(map / "log") == "--start\n--stop\n--wissel\n";
        })) << nep::inhoud(map / "log");
        fs::remove_all(map);
    }
}

INSTANTIATE_TEST_SUITE_P(Sway, WaylandBindingenTest, ::testing::ValuesIn(nep::swayUitgaven),
                         [](const auto& i) { return i.param.naam; });

}  // namespace
}  // namespace tolmo
