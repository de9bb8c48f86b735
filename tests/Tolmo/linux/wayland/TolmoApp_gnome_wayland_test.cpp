// Whole dictations through the real tolmo-app on GNOME Shell 48 (headless, from the Debian 13
// root), with the app authorised beforehand as an administrator can: the portal's shortcut is
// pressed and released on the shell's own keyboard, the speech comes from a private PulseAudio,
// the text lands in gnome-text-editor (GTK 4) through the RemoteDesktop session's Ctrl+V and the
// Clipboard portal, and the user's clipboard comes back.
#include <gtest/gtest.h>
#include <signal.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <memory>
#include <sstream>
#include <string>
#include <thread>

#include "Tolmo/MacRegelaar/CloudToestemming.h"
#include "Tolmo/linux/freedesktop/XdgOpslag.h"
#include "TolmoKern/Instellingen/GedeeldeOpslag.h"
#include "nep/GnomeServer.h"
#include "nep/LoopbackServer.h"
#include "nep/LopendProces.h"
#include "nep/PulseDaemon.h"

namespace tolmo {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using nep::wachtTot;

constexpr const char* dictaat = "Hallo vanuit Tolmo";
constexpr std::uint32_t controlL = 0xffe3, altL = 0xffe9, shiftL = 0xffe1, enter = 0xff0d,
                        spatie = 0x20, letterV = 0x76;

class TolmoAppGnomeTest : public ::testing::Test {
  protected:
    void SetUp() override {
        if (!nep::debian13Root()) {
            GTEST_SKIP() << nep::geenDebian13;
        }
        gnome_ = std::make_unique<nep::GnomeServer>(*nep::debian13Root());
        ASSERT_TRUE(gnome_->fout().empty()) << gnome_->fout();
        ASSERT_TRUE(pulse_.fout().empty()) << pulse_.fout();
        const std::string token = gnome_->machtig(
            "app.tolmo.Tolmo", {{"dicteren", "Dicteren (vasthouden)", "<Control><Alt>space"},
                                {"wisselen", "Dicteren aan/uit", "<Control><Alt>d"}});
        ASSERT_FALSE(token.empty());
        config_ = pulse_.map() / "config";
        fs::create_directories(pulse_.map() / "state" / "tolmo");
        if (!eersteKeer()) {
            std::ofstream(pulse_.map() / "state" / "tolmo" / "remotedesktop-token")
                << token << "\n";
        }
        server_.zetBehandelaar([this](const nep::LoopbackServer::Verzoek& v) {
            if (v.methode == "GET") {
                return nep::LoopbackServer::Antwoord::json(405, "{}");
            }
            ++dictaten_;
            return nep::LoopbackServer::Antwoord::json(
                200, std::string(R"({"text":")") + dictaat + "\"}");
        });
        zet("motor", "openai");
        zet("opschonen", "uit");
        XdgOpslag groep(config_ / "tolmo", std::string(GedeeldeOpslag::groepSuite));
        CloudToestemming{CloudToestemming::eigenRoute.versie, 0}.bewaar(groep);
        ASSERT_TRUE(gnome_->startTekstverwerker());
        // The user's own clipboard, set by the shell as any app's copy would be: text, or for
        // the image case 300 kB of image data.
        ASSERT_EQ(gnome_->evalueer(
                      "const St = imports.gi.St; const k = St.Clipboard.get_default(); " +
                      std::string(
                          beeld() ? "k.set_content(St.ClipboardType.CLIPBOARD, 'image/png', "
                                    "new imports.gi.GLib.Bytes(new Uint8Array(300000).fill(137)));"
                                  : "k.set_text(St.ClipboardType.CLIPBOARD, "
                                    "'mijn eigen klembord');") +
                      " true"),
                  "true");
        app_ = std::make_unique<nep::LopendProces>(TOLMO_APP_PAD, std::vector<std::string>{},
                                                   nep::LopendProces::Opties{omgeving(), false});
        if (eersteKeer()) {
            return;
        }
        ASSERT_TRUE(app_->wachtOpFout("Klembord en plakken via de portalen", 20s))
            << app_->wacht().fout;
        ASSERT_TRUE(app_->wachtOpFout("Sneltoetsen van het bureaublad gebonden", 10s))
            << app_->wacht().fout;
        // The app's own record that it can send the paste key (its "toegankelijkheid", polled
        // every 2 s): the state a user starts from once the app is up.
        ASSERT_TRUE(wachtTot(
            [&] { return logboek().find("toegankelijkheid ja") != std::string::npos; }, 10s))
            << logboek();
        // GNOME has no tray: the app greets with a notification, which leaves the editor the
        // keyboard.
        EXPECT_TRUE(wachtTot([&] {
            return gnome_->evalueer(
                       "Main.messageTray.queueCount > 0 || "
                       "Main.messageTray._banner !== null") == "true";
        })) << "geen melding";
        EXPECT_NE(gnome_->evalueer(nep::GnomeServer::focusTitel).find("tekst.txt"),
                  std::string::npos);
    }

    void TearDown() override {
        if (gnome_ && HasFailure()) {
            const auto pad =
                fs::temp_directory_path() /
                (std::string("tolmo-gnome-fout-") +
                 ::testing::UnitTest::GetInstance()->current_test_info()->name() + ".png");
            gnome_->schermafdruk(pad);
            std::cerr << "vooraan: " << gnome_->evalueer(nep::GnomeServer::focusTitel) << ", "
                      << pad.string() << "\n";
        }
        if (app_ && HasFailure()) {
            app_->stuurSignaal(SIGTERM);
            std::cerr << "tolmo-app:\n" << app_->wacht().fout << "logboek:\n" << logboek();
        }
        app_.reset();
    }

    [[nodiscard]] std::string logboek() const {
        std::stringstream s;
        s << std::ifstream(pulse_.map() / "state" / "tolmo" / "logboek.jsonl").rdbuf();
        return s.str();
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
    // Holds the desktop's shortcut for as long as speaking takes, or only briefly.
    void houdSneltoets(bool spreek) {
        gnome_->toetsen({{controlL, true}, {altL, true}, {spatie, true}});
        if (spreek) {
            EXPECT_TRUE(app_->wachtOpFout("toestand neemt op", 5s));
            gnome_->schermafdruk(fs::temp_directory_path() / "tolmo-gnome-opname.png");
            nep::PulseDaemon::voerUit({"paplay", "--device=nul", pulse_.spraak(dictaat).string()});
            // Nothing of the app's takes the keyboard from the editor while it listens.
            EXPECT_NE(gnome_->evalueer(nep::GnomeServer::focusTitel).find("tekst.txt"),
                      std::string::npos);
        } else {
            std::this_thread::sleep_for(100ms);
        }
        gnome_->toetsen({{spatie, false}, {altL, false}, {controlL, false}});
    }

    // Saves the editor until the dictation is in it (an unchanged file is not written), then
    // gives the app the moment after the editor's read in which it puts the clipboard back.
    void wachtOpDictaatInEditor() {
        std::string tekst;
        EXPECT_TRUE(wachtTot(
            [&] {
                tekst = gnome_->bewaardeTekst();
                return tekst == std::string(dictaat) + "\n";
            },
            20s))
            << tekst;
        std::this_thread::sleep_for(1s);
    }
    [[nodiscard]] static bool beeld() { return naamBevat("Image"); }
    // Without the grant's token: the app explains, then the desktop asks.
    [[nodiscard]] static bool eersteKeer() { return naamBevat("FirstStart"); }
    [[nodiscard]] static bool naamBevat(const char* deel) {
        return std::string(::testing::UnitTest::GetInstance()->current_test_info()->name())
                   .find(deel) != std::string::npos;
    }

    std::unique_ptr<nep::GnomeServer> gnome_;
    nep::PulseDaemon pulse_;
    nep::LoopbackServer server_;
    fs::path config_;
    std::unique_ptr<nep::LopendProces> app_;
    std::atomic<int> dictaten_{0};
};

TEST_F(TolmoAppGnomeTest, TheShortcutDictatesIntoTheEditorAndTheClipboardComesBack) {
    // A tap of the shortcut sends nothing.
    houdSneltoets(false);
    std::this_thread::sleep_for(1s);
    EXPECT_EQ(dictaten_.load(), 0);

    houdSneltoets(true);
    ASSERT_TRUE(wachtTot([&] { return dictaten_.load() == 1; }, 15s));
    wachtOpDictaatInEditor();
    // Once the editor has read the paste, the clipboard is put back: then the user's own Ctrl+V
    // pastes what they had, after the dictation.
    gnome_->toetsen({{controlL, true}, {letterV, true}, {letterV, false}, {controlL, false}});
    // The editor ends its file with a newline.
    EXPECT_EQ(gnome_->bewaardeTekst(), std::string(dictaat) + "mijn eigen klembord\n");
}

// An image the user had copied comes back whole after the dictation's paste.
TEST_F(TolmoAppGnomeTest, ACopiedImageComesBackWhole) {
    houdSneltoets(true);
    ASSERT_TRUE(wachtTot([&] { return dictaten_.load() == 1; }, 15s));
    wachtOpDictaatInEditor();
    // The shell reads the clipboard as any app pasting would, and answers later.
    ASSERT_EQ(gnome_->evalueer(
                  "const St = imports.gi.St; global._tolmoBeeld = -1; "
                  "St.Clipboard.get_default().get_content(St.ClipboardType.CLIPBOARD, "
                  "'image/png', (k, b) => { const d = b ? b.get_data() : null; "
                  "global._tolmoBeeld = d && d.every(x => x === 137) ? d.length : 0; }); true"),
              "true");
    std::string grootte;
    EXPECT_TRUE(wachtTot([&] {
        grootte = gnome_->evalueer("global._tolmoBeeld");
        return grootte != "-1" && !grootte.empty();
    }));
    EXPECT_EQ(grootte, "300000");
}

// The first start without a grant: the app explains, then GNOME's own dialog asks, answered as
// a user would from the keyboard (it starts with the keyboard switched off and Share greyed
// out); a first press of the shortcut shows it arrives, the text lands through the new session,
// and the next start asks nothing at all.
TEST_F(TolmoAppGnomeTest, TheFirstStartAsksOnceAndTheNextDoesNot) {
    const auto vooraan = [&](const std::string& titel) {
        return wachtTot(
            [&] {
                return gnome_->evalueer(nep::GnomeServer::focusTitel).find(titel) !=
                       std::string::npos;
            },
            20s);
    };
    const auto token = [&] {
        std::string t;
        std::getline(std::ifstream(pulse_.map() / "state" / "tolmo" / "remotedesktop-token"), t);
        return t;
    };
    ASSERT_TRUE(vooraan("Tolmo wil kunnen plakken"));
    // A new virtual keyboard loses its first key.
    gnome_->toetsen({{shiftL, true}, {shiftL, false}});
    gnome_->schermafdruk(fs::temp_directory_path() / "tolmo-gnome-uitleg.png");
    gnome_->toetsen({{enter, true}, {enter, false}});
    ASSERT_TRUE(vooraan("Remote Desktop"));
    // Its mnemonics: Allow Remote _Interaction, then _Share.
    gnome_->toetsen({{altL, true}, {'i', true}, {'i', false}, {altL, false}});
    std::this_thread::sleep_for(500ms);
    gnome_->schermafdruk(fs::temp_directory_path() / "tolmo-gnome-bureaublad-op-afstand.png");
    gnome_->toetsen({{altL, true}, {'s', true}, {'s', false}, {altL, false}});
    ASSERT_TRUE(app_->wachtOpFout("Klembord en plakken via de portalen", 20s));
    const std::string eerste = token();
    EXPECT_EQ(eerste.size(), 36U) << eerste;  // a UUID
    ASSERT_TRUE(vooraan("tekst.txt"));
    // Then the app asks for one press of the shortcut, to know the desktop reports it; that
    // press dictates nothing.
    houdSneltoets(false);
    ASSERT_TRUE(app_->wachtOpFout("Sneltoets geprobeerd: het bureaublad meldde hem", 10s));
    // GNOME has no tray: the answer is the desktop's notification.
    EXPECT_TRUE(wachtTot([&] {
        return gnome_->evalueer(
                   "Main.messageTray.getSources().some(s => s.notifications.some("
                   "n => n.title === 'Sneltoets werkt'))") == "true";
    }));
    gnome_->schermafdruk(fs::temp_directory_path() / "tolmo-gnome-sneltoets-werkt.png");
    houdSneltoets(true);
    ASSERT_TRUE(wachtTot([&] { return dictaten_.load() == 1; }, 15s));
    wachtOpDictaatInEditor();

    app_->stuurSignaal(SIGTERM);
    app_->wacht();
    app_ = std::make_unique<nep::LopendProces>(TOLMO_APP_PAD, std::vector<std::string>{},
                                               nep::LopendProces::Opties{omgeving(), false});
    ASSERT_TRUE(app_->wachtOpFout("Klembord en plakken via de portalen", 20s));
    EXPECT_FALSE(app_->wachtOpFout("Tolmo wil kunnen plakken", 1s));
    EXPECT_NE(gnome_->evalueer(nep::GnomeServer::focusTitel).find("tekst.txt"), std::string::npos)
        << "a dialog came";
    // The app keeps whatever the start gave back; GNOME 48 gives the same one again.
    EXPECT_EQ(token().size(), 36U);
}

}  // namespace
}  // namespace tolmo
