// A real AT-SPI bus (started on demand by a private session bus), Xvfb and a Qt window. gtest
// first: Xlib's macros (None, Bool) would break its templates.
#include <gtest/gtest.h>

#include <glib.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <string>

#include "Tolmo/linux/freedesktop/AtSpiFocus.h"
#include "Tolmo/linux/x11/X11Focus.h"
#include "nep/LopendProces.h"
#include "nep/XvfbServer.h"

namespace tolmo {
namespace {

using namespace std::chrono_literals;

// A desktop that tells no client which window is in front (GNOME on Wayland).
struct GeenVenster final : Focus {
    [[nodiscard]] std::optional<Doel> huidig() const override { return std::nullopt; }
};

TEST(AtSpiFocus, FollowsTheFocusedFieldAndKnowsAPasswordField) {
#ifndef TOLMO_VELDVENSTER_PAD
    GTEST_SKIP() << "gebouwd zonder Qt: geen venster om velden in te kiezen";
#else
    const nep::XvfbServer x;
    ASSERT_FALSE(x.naam().empty());
    // The bus launcher and the registry end with the session bus they were started on.
    const std::string adres = "unix:abstract=tolmo-atspi-" + std::to_string(::getpid());
    nep::LopendProces bus("/usr/bin/dbus-daemon",
                          {"--session", "--nofork", "--address=" + adres, "--print-address=2"}, {});
    ASSERT_TRUE(bus.wachtOpFout("unix:", 5s));
    ::setenv("DBUS_SESSION_BUS_ADDRESS", adres.c_str(), 1);
    X11Verbinding onze;
    const X11Focus venster(onze);
    const AtSpiFocus focus(venster);
    ASSERT_TRUE(focus.volgt());
    const GeenVenster niets;
    const AtSpiFocus blind(niets);
    nep::LopendProces app(TOLMO_VELDVENSTER_PAD, {}, {});
    ASSERT_TRUE(app.wachtOpFout("klaar", 10s));

    // Focuses a field, then lets libatspi take in the events (GLib's default context, as Qt's
    // loop does in the app) until the adapter reports a field of the app, not its window.
    const auto kies = [&](const std::string& veld, bool geheim) {
        app.schrijf(veld + "\n");
        EXPECT_TRUE(app.wachtOpFout("focus " + veld, 5s));
        for (int i = 0; i < 500; ++i, g_usleep(10000)) {
            g_main_context_iteration(nullptr, FALSE);
            // An element compares equal to the window it lies in, so the kind tells them apart.
            auto doel = focus.huidig();
            if (doel && doel->veld && doel->veld->geheim() == geheim &&
                dynamic_cast<const X11VensterIdentiteit*>(doel->veld->identiteit()) == nullptr) {
                return doel;
            }
        }
        ADD_FAILURE() << veld;
        return decltype(focus.huidig()){};
    };
    const auto wachtwoord = kies("wachtwoord", true);
    const auto gewoon = kies("gewoon", false);
    const auto weer = kies("wachtwoord", true);
    ASSERT_TRUE(wachtwoord && gewoon && weer);
    EXPECT_FALSE(*wachtwoord->veld == *gewoon->veld);
    EXPECT_EQ(*weer->veld, *wachtwoord->veld);

    // Without a window focus the followed field is all there is. When it has lost focus and the
    // event has not reached us (not dispatched yet, or never sent by a vanished element), the
    // field in front is found afresh instead of the target being unknown.
    const auto gevolgd = blind.huidig();
    ASSERT_TRUE(gevolgd && gevolgd->veld);
    EXPECT_EQ(*gevolgd->veld, *wachtwoord->veld);
    app.schrijf("gewoon\n");
    ASSERT_TRUE(app.wachtOpFout("focus gewoon 4", 5s));
    const auto gezocht = blind.huidig();
    ASSERT_TRUE(gezocht && gezocht->veld);
    EXPECT_EQ(*gezocht->veld, *gewoon->veld);
    EXPECT_EQ(gezocht->procesId, gevolgd->procesId);
#endif
}

}  // namespace
}  // namespace tolmo
