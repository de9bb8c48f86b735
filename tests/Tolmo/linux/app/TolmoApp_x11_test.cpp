// Whole dictations through the real tolmo-app on a private X server and PulseAudio daemon: keys
// come from XTest, the speech service is a loopback server, and the "app the user was in" is a
// test window with a text field that pastes from the CLIPBOARD.
#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <QImage>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <memory>
#include <sstream>
#include <thread>

#include "Tolmo/MacRegelaar/CloudToestemming.h"
#include "Tolmo/linux/freedesktop/XdgOpslag.h"
#include "TolmoKern/Instellingen/GedeeldeOpslag.h"
#include "nep/LoopbackServer.h"
#include "nep/LopendProces.h"
#include "nep/PulseDaemon.h"
#include "nep/X11AndereApp.h"
#include "nep/XvfbServer.h"

namespace tolmo {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

constexpr const char* dictaat = "Hallo vanuit Tolmo";

using nep::wachtTot;

// A window of the user's that pastes, put in front when it opens.
struct Venster : nep::X11AndereApp {
    explicit Venster(std::string klasse) : X11AndereApp(nullptr, true), klasse_(std::move(klasse)) {
        klik();
    }
    bool klik() { return vooraan(klasse_, klasse_, ::getpid()); }
    // Waits until the field has taken n pastes.
    bool geplakt(int n = 1) {
        return wachtTot([&] { return veld().ctrlV + veld().ctrlShiftV >= n; }, 15s);
    }
    std::string klasse_;
};

class TolmoAppTest : public ::testing::Test {
  protected:
    void SetUp() override {
        ASSERT_FALSE(x_.naam().empty()) << "Xvfb";
        ASSERT_TRUE(x_.vensterbeheerOk()) << "openbox";
        ASSERT_TRUE(pulse_.fout().empty()) << pulse_.fout();
        config_ = pulse_.map() / "config";
        server_.zetBehandelaar([this](const nep::LoopbackServer::Verzoek& v) {
            // The app opens its connection with a GET while the user speaks.
            if (v.methode == "GET") {
                return nep::LoopbackServer::Antwoord::json(405, "{}");
            }
            ++dictaten_;
            std::this_thread::sleep_for(std::chrono::milliseconds(antwoordVertraging_.load()));
            return nep::LoopbackServer::Antwoord::json(
                200, std::string(R"({"text":")") + dictaat + "\"}");
        });
        // The user's settings: their own OpenAI key (here the loopback server), no cleanup,
        // consent already given.
        zet("motor", "openai");
        zet("opschonen", "uit");
        XdgOpslag groep(config_ / "tolmo", std::string(GedeeldeOpslag::groepSuite));
        CloudToestemming{CloudToestemming::eigenRoute.versie, 0}.bewaar(groep);
    }

    void TearDown() override {
        if (app_ && HasFailure()) {
            app_->stuurSignaal(SIGTERM);
            std::cerr << "tolmo-app:\n" << app_->wacht().fout << "logboek:\n" << logboek();
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
    std::string logboek() const {
        std::stringstream log;
        log << std::ifstream(pulse_.map() / "state" / "tolmo" / "logboek.jsonl").rdbuf();
        return log.str();
    }

    // Starts the app and waits until it listens for keys.
    void startApp() {
        app_ = std::make_unique<nep::LopendProces>(TOLMO_APP_PAD, std::vector<std::string>{},
                                                   nep::LopendProces::Opties{omgeving(), false});
        ASSERT_TRUE(app_->wachtOpFout("Tolmo: klaar", 10s)) << app_->wacht().fout;
    }

    // Speech on the microphone, played to its end.
    void spreek() {
        nep::PulseDaemon::voerUit({"paplay", "--device=nul", pulse_.spraak(dictaat).string()});
    }
    // Holds a key (right Alt unless the settings say otherwise), with speech when it is long.
    void houd(Venster& v, std::chrono::milliseconds duur, KeySym toets = XK_Alt_R) {
        v.toets(toets, true);
        if (duur > 500ms) {
            spreek();
        }
        std::this_thread::sleep_for(duur);
        v.toets(toets, false);
    }

    nep::XvfbServer x_{true};
    nep::PulseDaemon pulse_;
    nep::LoopbackServer server_;
    fs::path config_;
    std::unique_ptr<nep::LopendProces> app_;
    std::atomic<int> antwoordVertraging_{0};
    std::atomic<int> dictaten_{0};
};

TEST_F(TolmoAppTest, AHoldPastesIntoTheFieldAndTheClipboardComesBack) {
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
        Venster v(g.klasse);
        const std::string png(300000, '\x89');
        v.bezit({{"UTF8_STRING", "mijn eigen klembord"}, {"image/png", png}});
        if (!app_) {
            startApp();
            // A short tap records nothing.
            houd(v, 200ms);
            std::this_thread::sleep_for(2s);
            EXPECT_EQ(dictaten_, 0);
            EXPECT_EQ(v.veld().tekst, "");
        }
        houd(v, 1500ms);
        ASSERT_TRUE(v.geplakt());
        const auto veld = v.veld();
        EXPECT_EQ(veld.tekst, dictaat);
        EXPECT_EQ(g.terminal ? veld.ctrlShiftV : veld.ctrlV, 1);
        EXPECT_EQ(g.terminal ? veld.ctrlV : veld.ctrlShiftV, 0);
        if (g.kopieertMeteen) {
            // A copy made after the paste is the user's: it is never overwritten.
            v.bezit({{"UTF8_STRING", "net gekopieerd"}});
            std::this_thread::sleep_for(1s);
            EXPECT_EQ(v.lees("UTF8_STRING"), "net gekopieerd");
            continue;
        }
        // The user's own clipboard is back, text and image alike.
        EXPECT_TRUE(wachtTot([&] { return v.lees("UTF8_STRING") == "mijn eigen klembord"; }, 3s));
        EXPECT_TRUE(v.lees("image/png") == png) << "the image did not come back whole";
        const std::string regels = logboek();
        EXPECT_NE(regels.find(g.stijl, regels.rfind("Dictaat gestart")), std::string::npos)
            << regels;
    }
    // Every recording went out over the connection opened while the user spoke.
    EXPECT_EQ(server_.aantalVerbindingen(), 1U);
    // Which adapter set the session got, and why, is in the log from the start.
    EXPECT_NE(logboek().find("Sessie x11 (DISPLAY is gezet); adapters: X11\""), std::string::npos);
}

TEST_F(TolmoAppTest, AnotherWindowInFrontLeavesTheTextOnTheClipboard) {
    Venster v("tolmotest");
    Venster ander("anderetest");
    ASSERT_TRUE(v.klik());
    startApp();
    antwoordVertraging_ = 1500;
    houd(v, 1500ms);
    // The user moves on while the text is being made.
    ASSERT_TRUE(ander.klik());
    ASSERT_TRUE(app_->wachtOpFout(
        "Je wisselde van app of veld tijdens het verwerken. Plak met Ctrl+V", 15s));
    EXPECT_EQ(v.veld().tekst + ander.veld().tekst, "");
    EXPECT_EQ(ander.lees("UTF8_STRING"), dictaat);
}

// The toggle combination starts and stops; the hold key chosen with the command-line tool
// reaches the app too: right Control, for laptops without right Super.
TEST_F(TolmoAppTest, TheToggleCombinationAndAnotherHoldKey) {
    zet("houdToets", "rechterControl");
    Venster v("tolmotest");
    startApp();
    // The default combination is Control-Option-D: Control-Alt-D on a PC keyboard.
    v.druk({XK_Control_L, XK_Alt_L, XK_d});
    ASSERT_TRUE(app_->wachtOpFout("toestand neemt op", 5s));
    spreek();
    // The indicator shows without taking the focus from the app the text is for, in the window
    // manager's eyes too.
    EXPECT_TRUE(v.isVooraan());
    // A picture of the screen while the indicator shows, for a person to look at
    // (TOLMO_SCHERMAFDRUK names the file).
    Display* d = XOpenDisplay(nullptr);
    const int breedte = DisplayWidth(d, 0);
    const int hoogte = DisplayHeight(d, 0);
    XImage* beeld = XGetImage(d, DefaultRootWindow(d), 0, 0, static_cast<unsigned>(breedte),
                              static_cast<unsigned>(hoogte), AllPlanes, ZPixmap);
    ASSERT_NE(beeld, nullptr);
    const char* pad = std::getenv("TOLMO_SCHERMAFDRUK");
    EXPECT_TRUE(QImage(reinterpret_cast<const uchar*>(beeld->data), breedte, hoogte,
                       beeld->bytes_per_line, QImage::Format_RGB32)
                    .save(pad != nullptr ? pad : "tolmo-indicator-opname.png"));
    XDestroyImage(beeld);
    XCloseDisplay(d);
    v.druk({XK_Control_L, XK_Alt_L, XK_d});
    EXPECT_TRUE(v.geplakt());
    houd(v, 1500ms, XK_Control_R);
    EXPECT_TRUE(v.geplakt(2));
    EXPECT_EQ(v.veld().tekst, std::string(dictaat) + dictaat);
    EXPECT_EQ(v.veld().ctrlV, 2);
}

// A shortcut bound outside the app (a desktop's custom shortcut, a compositor's binding) drives
// the running instance through `tolmo-app --start` and `--stop`; a second plain launch opens its
// settings window.
TEST_F(TolmoAppTest, TheControlCommandDrivesTheRunningApp) {
    const auto roep = [this](std::vector<std::string> args) {
        return nep::voerProcesUit(TOLMO_APP_PAD, args, omgeving());
    };
    const auto zonderApp = roep({"--stop"});
    EXPECT_EQ(zonderApp.status, 1);
    EXPECT_EQ(zonderApp.fout, "tolmo-app: Tolmo draait niet. Start eerst tolmo-app.\n");
    Venster v("tolmotest");
    startApp();
    EXPECT_EQ(roep({}).status, 0);
    EXPECT_TRUE(app_->wachtOpFout("Tolmo: Tolmo draait al. Klaar om te dicteren", 5s));
    // The second launch brought the settings window to the front. Qt asks for the window's
    // activation once the window is mapped, which may be after the manager has already put it
    // in front: the user's click back into their app comes after that request, or the request
    // takes the focus back.
    EXPECT_TRUE(wachtTot(
        [&] {
            return v.titel(v.actief()) == "Tolmo — Instellingen" &&
                   v.titel(v.appVroegActief()) == "Tolmo — Instellingen";
        },
        5s))
        << v.titel(v.actief());
    ASSERT_TRUE(v.klik());
    ASSERT_EQ(roep({"--start"}).status, 0);
    ASSERT_TRUE(app_->wachtOpFout("toestand neemt op", 5s));
    spreek();
    ASSERT_EQ(roep({"--stop"}).status, 0);
    EXPECT_TRUE(v.geplakt());
    EXPECT_EQ(v.veld().tekst, dictaat);
}

}  // namespace
}  // namespace tolmo
