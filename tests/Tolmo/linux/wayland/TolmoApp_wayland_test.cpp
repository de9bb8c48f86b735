// Whole dictations through the real tolmo-app under a headless sway and a private PulseAudio:
// the app runs on Wayland only (no X server), the speech service is a loopback server, keys come
// through the control command a sway binding runs, and the apps the text is for are foot
// terminals whose program writes what it receives to a file.
#include <gtest/gtest.h>
#include <signal.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <future>
#include <iostream>
#include <memory>
#include <thread>

#include "Tolmo/MacRegelaar/CloudToestemming.h"
#include "Tolmo/linux/freedesktop/XdgOpslag.h"
#include "Tolmo/linux/wayland/WaylandBindingen.h"
#include "Tolmo/linux/wayland/WaylandFocus.h"
#include "Tolmo/linux/wayland/WaylandVerbinding.h"
#include "TolmoKern/Instellingen/GedeeldeOpslag.h"
#include "nep/LoopbackServer.h"
#include "nep/LopendProces.h"
#include "nep/PulseDaemon.h"
#include "nep/SwayServer.h"
#include "nep/WaylandKlanten.h"

namespace tolmo {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using nep::wachtTot;

constexpr const char* dictaat = "Hallo vanuit Tolmo";

class TolmoAppWaylandTest : public ::testing::TestWithParam<nep::SwayUitgave> {
  protected:
    void SetUp() override {
        if (!GetParam().overslaan().empty()) {
            GTEST_SKIP() << GetParam().overslaan();
        }
        ASSERT_TRUE(sway_.fout().empty()) << sway_.fout();
        ASSERT_TRUE(pulse_.fout().empty()) << pulse_.fout();
        config_ = pulse_.map() / "config";
        server_.zetBehandelaar([this](const nep::LoopbackServer::Verzoek& v) {
            if (v.methode == "GET") {
                return nep::LoopbackServer::Antwoord::json(405, "{}");
            }
            aangekomen_ = std::chrono::steady_clock::now();
            ++dictaten_;
            std::this_thread::sleep_for(std::chrono::milliseconds(antwoordVertraging_.load()));
            return nep::LoopbackServer::Antwoord::json(
                200, std::string(R"({"text":")") + dictaat + "\"}");
        });
        zet("motor", "openai");
        zet("opschonen", "uit");
        XdgOpslag groep(config_ / "tolmo", std::string(GedeeldeOpslag::groepSuite));
        CloudToestemming{CloudToestemming::eigenRoute.versie, 0}.bewaar(groep);
        app_ = std::make_unique<nep::LopendProces>(TOLMO_APP_PAD, std::vector<std::string>{},
                                                   nep::LopendProces::Opties{omgeving(), false});
        ASSERT_TRUE(app_->wachtOpFout("Tolmo: klaar", 10s)) << app_->wacht().fout;
    }

    void TearDown() override {
        if (app_ && HasFailure()) {
            app_->stuurSignaal(SIGTERM);
            std::cerr << "tolmo-app:\n"
                      << app_->wacht().fout << "logboek:\n"
                      << std::ifstream(pulse_.map() / "state" / "tolmo" / "logboek.jsonl").rdbuf();
        }
    }

    std::map<std::string, std::string> omgeving() const {
        return {{"XDG_CONFIG_HOME", config_.string()},
                {"XDG_STATE_HOME", (pulse_.map() / "state").string()},
                {"XDG_CACHE_HOME", (pulse_.map() / "cache").string()},
                {"OPENAI_API_KEY", "sk-test"},
                {"TOLMO_OPENAI_URL", server_.url()}};
    }
    void zet(const std::string& sleutel, const std::string& waarde) {
        const auto r =
            nep::voerProcesUit(TOLMO_CLI_PAD, {"instellingen", "zet", sleutel, waarde}, omgeving());
        ASSERT_EQ(r.status, 0) << r.fout;
    }
    void roep(const std::string& opdracht) {
        ASSERT_EQ(nep::voerProcesUit(TOLMO_BEDIENING_PAD, {opdracht}, omgeving()).status, 0);
    }
    // What the user's clipboard holds now, as another app pasting it would get it.
    static std::string plak(const std::string& mime) {
        return nep::voerProcesUit("/usr/bin/wl-paste", {"-n", "-t", mime}).uit;
    }
    // Holds the key the binding runs the commands for, speaking; answers when the key went up.
    std::chrono::steady_clock::time_point dicteer() {
        roep("--start");
        EXPECT_TRUE(app_->wachtOpFout("toestand neemt op", 5s));
        nep::PulseDaemon::voerUit({"paplay", "--device=nul", pulse_.spraak(dictaat).string()});
        const auto los = std::chrono::steady_clock::now();
        roep("--stop");
        return los;
    }

    // With the lines `tolmo-app --bindingen sway` prints: the indicator's window rules too.
    nep::SwayServer sway_{bindingen(Compositor::sway, MacInstellingen{}, TOLMO_BEDIENING_PAD),
                          GetParam().root()};
    nep::PulseDaemon pulse_;
    nep::LoopbackServer server_;
    fs::path config_;
    std::unique_ptr<nep::LopendProces> app_;
    std::atomic<int> antwoordVertraging_{0};
    std::atomic<int> dictaten_{0};
    std::atomic<std::chrono::steady_clock::time_point> aangekomen_{};
};

TEST_P(TolmoAppWaylandTest, TheTextLandsInTheTerminalAndTheClipboardComesBack) {
    const std::string png(300000, '\x89');
    nep::AndereWaylandApp gebruiker(
        {{{"text/plain;charset=utf-8", "mijn eigen klembord"}, {"image/png", png}}});
    // A clipboard manager that fetches every selection at once.
    pid_t beheerder = nep::startKind({"wl-paste", "--watch", "true"});
    nep::Foot foot(sway_.uit(), "foot", "terminal");
    ASSERT_TRUE(foot.open_);
    std::vector<double> vertragingen;
    for (int i = 1; i <= 3; ++i) {
        const auto los = dicteer();
        std::string verwacht;
        for (int j = 0; j < i; ++j) {
            verwacht += dictaat;
        }
        ASSERT_TRUE(wachtTot([&] { return nep::inhoud(foot.bestand) == verwacht; }, 15s))
            << nep::inhoud(foot.bestand);
        vertragingen.push_back(
            std::chrono::duration<double, std::milli>(aangekomen_.load() - los).count());
        // The user's own clipboard is back, text and image alike. Wayland does not say who
        // reads, so every read after the keystroke counts as the target's: the check waits
        // instead of polling, which would keep the paste from ever being done.
        std::this_thread::sleep_for(1s);
        EXPECT_EQ(plak("text/plain;charset=utf-8"), "mijn eigen klembord");
        EXPECT_TRUE(plak("image/png") == png) << "the image did not come back whole";
    }
    std::sort(vertragingen.begin(), vertragingen.end());
    std::cerr << "loslaten tot verzoek (mediaan, incl. tolmo-bediening --stop): " << vertragingen[1]
              << " ms\n";
    nep::stopKind(beheerder);
    EXPECT_EQ(server_.aantalVerbindingen(), 1U);
}

TEST_P(TolmoAppWaylandTest, AnotherWindowInFrontLeavesTheTextOnTheClipboard) {
    nep::Foot een(sway_.uit(), "foot", "een");
    nep::Foot twee(sway_.uit(), "foot", "twee");
    // Both foots share an app id, so opening waits for neither window: the second is in
    // front once mapped, and only then may the first take the focus back, or "twee" would take
    // it after the key went down. The key goes down once a client sees "een" in front, as the
    // user sees it.
    WaylandVerbinding verbinding;
    WaylandFocus kijker(verbinding);
    const auto vooraan = [&](const char* titel) {
        const auto venster = kijker.actief();
        return venster && venster->titel == titel;
    };
    ASSERT_TRUE(wachtTot([&] { return vooraan("twee"); }));
    ASSERT_TRUE(wachtTot([&] {
        nep::SwayServer::opdracht({"[title=\"een\"]", "focus"});
        return vooraan("een");
    }));
    // Long enough that the switch lands while the text is made, even on a busy machine.
    antwoordVertraging_ = 5000;
    dicteer();
    // The user moves to the other terminal while the text is being made.
    ASSERT_TRUE(wachtTot([] {
        nep::SwayServer::opdracht({"[title=\"twee\"]", "focus"});
        return nep::SwayServer::focusAppId("name") == "twee";
    }));
    ASSERT_TRUE(app_->wachtOpFout("Je wisselde van app of veld tijdens het verwerken", 15s));
    EXPECT_EQ(nep::inhoud(een.bestand) + nep::inhoud(twee.bestand), "");
    EXPECT_EQ(plak("text/plain;charset=utf-8"), dictaat);
}

INSTANTIATE_TEST_SUITE_P(Sway, TolmoAppWaylandTest, ::testing::ValuesIn(nep::swayUitgaven),
                         [](const auto& i) { return i.param.naam; });

}  // namespace
}  // namespace tolmo
