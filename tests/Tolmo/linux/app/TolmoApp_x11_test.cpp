// Whole dictations through the real tolmo-app on a private X server and PulseAudio daemon: keys
// come from XTest, the speech service is a loopback server, and the "app the user was in" is a
// test window with a text field that pastes from the CLIPBOARD.
#include <X11/keysym.h>
#include <gtest/gtest.h>
#include <signal.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <memory>
#include <nlohmann/json.hpp>
#include <sstream>
#include <thread>
#include <tuple>

#include "Tolmo/MacRegelaar/CloudToestemming.h"
#include "nep/LoopbackServer.h"
#include "nep/LopendProces.h"
#include "nep/PulseDaemon.h"
#include "nep/TestVenster.h"
#include "nep/XvfbServer.h"

namespace tolmo {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

using TestVenster = nep::TestVenster;

constexpr const char* dictaat = "Hallo vanuit Tolmo";

class TolmoAppTest : public ::testing::Test {
  protected:
    void SetUp() override {
        ASSERT_FALSE(x_.naam().empty()) << "Xvfb";
        ASSERT_TRUE(pulse_.fout().empty()) << pulse_.fout();
        config_ = pulse_.map() / "config";
        server_.zetBehandelaar([this](const nep::LoopbackServer::Verzoek&) {
            aangekomen_ = std::chrono::steady_clock::now();
            std::this_thread::sleep_for(std::chrono::milliseconds(antwoordVertraging_.load()));
            return nep::LoopbackServer::Antwoord::json(
                200, std::string(R"({"text":")") + dictaat + "\"}");
        });
        // The user's settings: their own OpenAI key (here the loopback server), no cleanup,
        // consent already given.
        for (const auto& [sleutel, waarde] : std::vector<std::pair<std::string, std::string>>{
                 {"motor", "openai"}, {"opschonen", "uit"}}) {
            const auto r = nep::voerProcesUit(TOLMO_CLI_PAD,
                                              {"instellingen", "zet", sleutel, waarde}, omgeving());
            ASSERT_EQ(r.status, 0) << r.fout;
        }
        const fs::path groep = config_ / "tolmo" / "group.app.tolmo.json";
        nlohmann::json doc = nlohmann::json::parse(std::ifstream(groep));
        doc[std::string(CloudToestemming::sleutel)] = {{"versie", CloudToestemming::huidigeVersie},
                                                       {"datum", 0}};
        std::ofstream(groep) << doc.dump();
    }

    void TearDown() override {
        if (app_ && HasFailure()) {
            app_->stuurSignaal(SIGTERM);
            std::cerr << "tolmo-app:\n" << app_->wacht().fout;
        }
    }

    std::map<std::string, std::string> omgeving() const {
        return {{"XDG_CONFIG_HOME", config_.string()},
                {"XDG_STATE_HOME", (pulse_.map() / "state").string()},
                {"XDG_CACHE_HOME", (pulse_.map() / "cache").string()},
                {"OPENAI_API_KEY", "sk-test"},
                {"TOLMO_OPENAI_URL", server_.url()}};
    }

    // Starts the app and waits until it listens for keys.
    void startApp() {
        app_ = std::make_unique<nep::LopendProces>(TOLMO_APP_PAD, std::vector<std::string>{},
                                                   nep::LopendProces::Opties{omgeving(), false});
        ASSERT_TRUE(app_->wachtOpFout("Tolmo: klaar", 10s)) << app_->wacht().fout;
    }

    // Holds right Alt for a while with speech on the microphone.
    void houdRechterAlt(TestVenster& v, std::chrono::milliseconds duur) {
        v.toets(XK_Alt_R, true);
        if (duur > 500ms) {
            nep::PulseDaemon::voerUit({"paplay", "--device=nul", pulse_.spraak(dictaat).string()});
        }
        v.pomp([] { return false; }, duur);
        v.toets(XK_Alt_R, false);
    }

    nep::XvfbServer x_;
    nep::PulseDaemon pulse_;
    nep::LoopbackServer server_;
    fs::path config_;
    std::unique_ptr<nep::LopendProces> app_;
    std::atomic<int> antwoordVertraging_{0};
    std::atomic<std::chrono::steady_clock::time_point> aangekomen_;
};

TEST_F(TolmoAppTest, AHoldPastesIntoTheFieldAndTheClipboardComesBack) {
    using Klok = std::chrono::steady_clock;
    struct Geval {
        std::string klasse;
        bool terminal;        // takes Control-Shift-V instead of Control-V
        std::string stijl;    // terminals are written to literally, unknown apps get the default
        bool kopieertMeteen;  // the user copies something right after the paste
    };
    for (const Geval& g : {Geval{"tolmotest", false, "stijl neutraal", false},
                           Geval{"xterm", true, "stijl letterlijk", false},
                           Geval{"tolmotest", false, "stijl neutraal", true}}) {
        SCOPED_TRACE(g.klasse + (g.kopieertMeteen ? " kopieert" : ""));
        TestVenster v(g.klasse);
        ASSERT_TRUE(v.ok());
        const std::string png(300000, '\x89');
        v.kopieer({{"UTF8_STRING", "mijn eigen klembord"}, {"image/png", png}});
        if (!app_) {
            startApp();
        }
        houdRechterAlt(v, 1500ms);
        const auto losgelaten = Klok::now();
        ASSERT_TRUE(v.pomp([&] { return v.veld.find(dictaat) != std::string::npos; }, 15s))
            << "veld: " << v.veld;
        const auto gelezen = Klok::now();
        EXPECT_EQ(g.terminal ? v.plakCtrlShiftV : v.plakCtrlV, 1);
        EXPECT_EQ(g.terminal ? v.plakCtrlV : v.plakCtrlShiftV, 0);
        if (g.kopieertMeteen) {
            // A copy made after the paste is the user's: it is never overwritten.
            v.kopieer({{"UTF8_STRING", "net gekopieerd"}});
            v.pomp([] { return false; }, 1s);
            EXPECT_EQ(v.leesKlembord("UTF8_STRING"), "net gekopieerd");
            continue;
        }
        // The user's own clipboard is back, text and image alike.
        EXPECT_TRUE(
            v.pomp([&] { return v.leesKlembord("UTF8_STRING") == "mijn eigen klembord"; }, 3s));
        const auto hersteld = Klok::now();
        EXPECT_TRUE(v.leesKlembord("image/png") == png) << "the image did not come back whole";
        std::stringstream log;
        log << std::ifstream(pulse_.map() / "state" / "tolmo" / "logboek.jsonl").rdbuf();
        const std::string regels = log.str();
        EXPECT_NE(regels.find(g.stijl, regels.rfind("Dictaat gestart")), std::string::npos)
            << regels;
        const auto ms = [](auto duur) {
            return std::chrono::duration<double, std::milli>(duur).count();
        };
        // Timings for the record, not checked: the machine is shared.
        std::cout << "meting: loslaten tot verzoek " << ms(aangekomen_.load() - losgelaten)
                  << " ms, lezen tot herstel " << ms(hersteld - gelezen) << " ms\n";
    }
}

TEST_F(TolmoAppTest, AShortTapRecordsNothing) {
    TestVenster v("tolmotest");
    ASSERT_TRUE(v.ok());
    startApp();
    houdRechterAlt(v, 200ms);
    v.pomp([] { return false; }, 2s);
    EXPECT_EQ(server_.aantalVerzoeken(), 0U);
    EXPECT_EQ(v.veld, "");
}

TEST_F(TolmoAppTest, AnotherWindowInFrontLeavesTheTextOnTheClipboard) {
    TestVenster v("tolmotest");
    TestVenster ander("anderetest");
    ASSERT_TRUE(v.ok() && ander.ok());
    v.activeer();
    startApp();
    antwoordVertraging_ = 1500;
    houdRechterAlt(v, 1500ms);
    // The user moves on while the text is being made.
    ander.activeer();
    ASSERT_TRUE(app_->wachtOpFout(
        "Je wisselde van app of veld tijdens het verwerken. Plak met Ctrl+V", 15s));
    EXPECT_EQ(v.veld + ander.veld, "");
    EXPECT_EQ(ander.leesKlembord("UTF8_STRING").find(dictaat), 0U);
}

TEST_F(TolmoAppTest, TheToggleCombinationStartsAndStops) {
    TestVenster v("tolmotest");
    ASSERT_TRUE(v.ok());
    startApp();
    // The default combination is Control-Option-D: Control-Alt-D on a PC keyboard.
    v.druk({XK_Control_L, XK_Alt_L, XK_d});
    ASSERT_TRUE(app_->wachtOpFout("toestand neemt op", 5s));
    // The indicator shows without taking the focus from the app the text is for.
    Window focus = None;
    int terugval = 0;
    Display* d = XOpenDisplay(nullptr);
    XGetInputFocus(d, &focus, &terugval);
    XCloseDisplay(d);
    EXPECT_EQ(focus, v.venster());
    nep::PulseDaemon::voerUit({"paplay", "--device=nul", pulse_.spraak(dictaat).string()});
    v.pomp([] { return false; }, 1200ms);
    // TOLMO_SCHERMAFDRUK=file.png keeps a picture of the screen while the indicator shows.
    if (const char* pad = std::getenv("TOLMO_SCHERMAFDRUK")) {
        std::system(("xwd -root -silent | convert xwd:- " + std::string(pad)).c_str());
    }
    v.druk({XK_Control_L, XK_Alt_L, XK_d});
    EXPECT_TRUE(v.pomp([&] { return v.veld.find(dictaat) != std::string::npos; }, 15s))
        << "veld: " << v.veld;
}

}  // namespace
}  // namespace tolmo
