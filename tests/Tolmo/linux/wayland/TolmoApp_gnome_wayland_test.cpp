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
constexpr std::uint32_t controlL = 0xffe3, altL = 0xffe9, spatie = 0x20, letterV = 0x76;

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
        std::ofstream(pulse_.map() / "state" / "tolmo" / "remotedesktop-token") << token << "\n";
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
        ASSERT_TRUE(app_->wachtOpFout("Klembord en plakken via de portalen", 20s))
            << app_->wacht().fout;
        ASSERT_TRUE(app_->wachtOpFout("Sneltoetsen van het bureaublad gebonden", 10s))
            << app_->wacht().fout;
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
        if (app_ && HasFailure()) {
            app_->stuurSignaal(SIGTERM);
            std::cerr << "tolmo-app:\n"
                      << app_->wacht().fout << "logboek:\n"
                      << std::ifstream(pulse_.map() / "state" / "tolmo" / "logboek.jsonl").rdbuf();
        }
        app_.reset();
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
    [[nodiscard]] static bool beeld() {
        return std::string(::testing::UnitTest::GetInstance()->current_test_info()->name())
                   .find("Image") != std::string::npos;
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

}  // namespace
}  // namespace tolmo
