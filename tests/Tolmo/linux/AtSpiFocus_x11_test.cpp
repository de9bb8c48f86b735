// The focused field over a real accessibility bus: a private session bus that starts the AT-SPI
// bus on demand, a private X server, and a Qt window whose fields the test focuses.
// gtest first: Xlib's macros (None, Bool) would break its templates.
#include <gtest/gtest.h>

#include <glib.h>
#include <signal.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>

#include "Tolmo/linux/AtSpiFocus.h"
#include "Tolmo/linux/X11Focus.h"
#include "nep/LopendProces.h"
#include "nep/X11AndereApp.h"
#include "nep/XvfbServer.h"

namespace tolmo {
namespace {

// A session bus of our own for this process and its children; the AT-SPI bus launcher is
// activated on it the first time libatspi asks for the accessibility bus.
class SessieBus {
  public:
    SessieBus() {
        FILE* uit = ::popen("dbus-daemon --session --fork --print-address=1 --print-pid=1", "r");
        if (uit == nullptr) {
            return;
        }
        char adres[512] = {};
        long pid = 0;
        if (std::fscanf(uit, "%511s %ld", adres, &pid) == 2) {
            pid_ = static_cast<pid_t>(pid);
            ::setenv("DBUS_SESSION_BUS_ADDRESS", adres, 1);
        }
        ::pclose(uit);
    }
    ~SessieBus() {
        // The bus launcher and the registry end with the session bus they were started on.
        if (pid_ > 0) {
            ::kill(pid_, SIGTERM);
        }
    }
    SessieBus(const SessieBus&) = delete;
    SessieBus& operator=(const SessieBus&) = delete;
    [[nodiscard]] bool ok() const { return pid_ > 0; }

  private:
    pid_t pid_ = -1;
};

// Lets libatspi take in the apps' events (GLib's default context, as Qt's loop does in the
// app) until the condition holds or five seconds pass.
bool pompTot(const std::function<bool()>& klaar) {
    const auto einde = std::chrono::steady_clock::now() + std::chrono::seconds(5);
    while (!klaar()) {
        if (std::chrono::steady_clock::now() > einde) {
            return false;
        }
        g_main_context_iteration(nullptr, FALSE);
        g_usleep(10000);
    }
    return true;
}

TEST(AtSpiFocus, FollowsTheFocusedFieldAndKnowsAPasswordField) {
#ifndef TOLMO_VELDVENSTER_PAD
    GTEST_SKIP() << "gebouwd zonder Qt: geen venster om velden in te kiezen";
#else
    const nep::XvfbServer x;
    ASSERT_FALSE(x.naam().empty());
    const SessieBus bus;
    ASSERT_TRUE(bus.ok());
    X11Verbinding onze;
    const X11Focus venster(onze);
    const AtSpiFocus focus(venster);
    ASSERT_TRUE(focus.volgt());

    nep::LopendProces app(TOLMO_VELDVENSTER_PAD, {}, {});
    ASSERT_TRUE(app.wachtOpFout("klaar", std::chrono::seconds(10)));
    const auto kies = [&](const std::string& veld, bool geheim) -> std::optional<Doel> {
        app.schrijf(veld + "\n");
        EXPECT_TRUE(app.wachtOpFout("focus " + veld, std::chrono::seconds(5)));
        std::optional<Doel> doel;
        const bool gevonden = pompTot([&] {
            doel = focus.huidig();
            // The window alone (before the field's event came) is never a secret field.
            return doel && doel->veld && doel->veld->geheim() == geheim &&
                   !(*doel->veld == *venster.huidig()->veld);
        });
        EXPECT_TRUE(gevonden) << veld;
        return doel;
    };

    const auto wachtwoord = kies("wachtwoord", true);
    const auto gewoon = kies("gewoon", false);
    ASSERT_TRUE(wachtwoord && gewoon);
    EXPECT_EQ(wachtwoord->procesId, gewoon->procesId);
    EXPECT_FALSE(*wachtwoord->veld == *gewoon->veld);
    EXPECT_EQ(gewoon->veld->soort(), InvoerSoort::gewoon);
    const auto weer = kies("wachtwoord", true);
    ASSERT_TRUE(weer);
    EXPECT_EQ(*weer->veld, *wachtwoord->veld);

    // Another process in front: its window is the field, whatever the Qt app last reported.
    nep::X11AndereApp ander(onze);
    ander.vooraan("xterm", "XTerm", 4242);
    const auto elders = focus.huidig();
    ASSERT_TRUE(elders && elders->veld);
    EXPECT_EQ(elders->procesId, 4242);
    EXPECT_EQ(*elders->veld, *venster.huidig()->veld);
#endif
}

}  // namespace
}  // namespace tolmo
