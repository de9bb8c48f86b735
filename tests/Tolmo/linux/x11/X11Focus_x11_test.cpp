// The focus on X11 against a private X server; another app's windows are put in front the way a
// window manager would (there is none under Xvfb).
// gtest first: Xlib's macros (None, Bool) would break its templates.
#include <gtest/gtest.h>

#include "Tolmo/linux/x11/X11Focus.h"

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

    nep::X11AndereApp app(&onze);
    nep::X11AndereApp zelfdeApp(&onze);
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
    zelfdeApp.vooraan("xterm", "XTerm", 4242);
    const auto ander = focus.huidig();
    ASSERT_TRUE(ander && ander->veld);
    EXPECT_FALSE(*ander->veld == *eerst->veld);

    // A focus inside the active window is its field; one outside it (where a window manager
    // parks the focus while handing it over) is none.
    Display* d = onze.display();
    app.vooraan("xterm", "XTerm", 4242);
    const Window binnen = XCreateSimpleWindow(d, app.venster(), 0, 0, 10, 10, 0, 0, 0);
    const Window buiten = XCreateSimpleWindow(d, onze.wortel(), 0, 0, 10, 10, 0, 0, 0);
    for (const Window w : {binnen, buiten}) {
        XMapWindow(d, w);
        XSync(d, False);
        XSetInputFocus(d, w, RevertToParent, CurrentTime);
        const auto nu = focus.huidig();
        ASSERT_TRUE(nu);
        EXPECT_EQ(nu->veld.has_value(), w == binnen);
    }
}

}  // namespace
}  // namespace tolmo
