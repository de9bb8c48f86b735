// The focus on X11 against a private X server; another app's windows are put in front the way a
// window manager would (there is none under Xvfb).
// gtest first: Xlib's macros (None, Bool) would break its templates.
#include <gtest/gtest.h>

#include "Tolmo/linux/X11Focus.h"

#include "nep/X11AndereApp.h"
#include "nep/XvfbServer.h"

namespace tolmo {
namespace {

TEST(X11Focus, ReportsTheActiveAppAndItsFocusedWindow) {
    const nep::XvfbServer server;
    ASSERT_FALSE(server.naam().empty());
    X11Verbinding onze;
    const X11Focus focus(onze);
    EXPECT_FALSE(focus.huidig());

    nep::X11AndereApp app(onze);
    app.vooraan("xterm", "XTerm", 4242);
    const auto eerst = focus.huidig();
    const auto weer = focus.huidig();
    ASSERT_TRUE(eerst && weer);
    EXPECT_EQ(eerst->procesId, 4242);
    EXPECT_EQ(eerst->bundleId, "XTerm");
    EXPECT_EQ(leesWmKlasse(onze, app.venster()), (WmKlasse{"xterm", "XTerm"}));
    ASSERT_TRUE(eerst->veld && weer->veld);
    EXPECT_EQ(*eerst->veld, *weer->veld);

    // The same app, its other window focused.
    app.vooraan("xterm", "XTerm", 4242, 1);
    const auto ander = focus.huidig();
    ASSERT_TRUE(ander && ander->veld);
    EXPECT_FALSE(*ander->veld == *eerst->veld);
}

}  // namespace
}  // namespace tolmo
