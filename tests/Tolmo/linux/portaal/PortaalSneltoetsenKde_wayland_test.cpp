// The desktop's shortcuts on KDE: its portal backend binds them in kglobalaccel without asking,
// and when kglobalaccel fires them the app sees the hold key go down and up and the toggle. The
// daemon grabs its keys on a private X server, the one place outside KWin where it sees a key
// go up; the portal and the app know nothing of X.
#include <gio/gio.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Tolmo/linux/portaal/PortaalSneltoetsen.h"
#include "nep/KdePortaal.h"
#include "nep/XvfbServer.h"

// Last: Xlib defines None and True as macros.
#include <X11/Xlib.h>
#include <X11/extensions/XTest.h>
#include <X11/keysym.h>

namespace tolmo {
namespace {

using namespace std::chrono_literals;
using G = ToetsBron::Gebeurtenis;

template <typename F>
bool pomp(F klaar, std::chrono::milliseconds maximaal = 10s) {
    return nep::wachtTot(
        [&] {
            while (g_main_context_iteration(nullptr, FALSE)) {
            }
            return klaar();
        },
        maximaal);
}

TEST(PortaalSneltoetsenKde, BindtZonderVraagEnKglobalaccelBereiktDeApp) {
    const auto root = nep::debian13Root();
    if (!root) {
        GTEST_SKIP() << nep::geenDebian13;
    }
    if (!nep::KdePortaal::heeftKde(*root)) {
        GTEST_SKIP() << "de Debian 13-root heeft geen xdg-desktop-portal-kde of kglobalacceld "
                        "(een oudere root; scripts/debian13-root.sh maakt een nieuwe)";
    }
    nep::XvfbServer x;
    nep::KdePortaal kde(*root, x.naam());
    ASSERT_EQ(kde.fout(), "");

    Portaal portaal("app.tolmo.Tolmo");
    const HoudToets houd = HoudToets::rechterControl;
    PortaalSneltoetsen bron(portaal, [&] { return houd; });
    ASSERT_TRUE(bron.beschikbaar());
    std::optional<std::string> uitkomst;
    bron.bind({"CTRL+ALT+d", "CTRL+ALT+w"}, [&](const std::string& f) { uitkomst = f; });
    ASSERT_TRUE(pomp([&] { return uitkomst.has_value(); })) << kde.log();
    ASSERT_EQ(*uitkomst, "") << kde.log();
    // The keys proposed are the keys bound: KDE read the app's trigger text, not just the ids.
    EXPECT_EQ(bron.triggers(),
              (PortaalSneltoetsen::Triggers{{PortaalSneltoetsen::houdId, "Ctrl+Alt+D"},
                                            {PortaalSneltoetsen::wisselId, "Ctrl+Alt+W"}}));

    std::vector<G> gezien;
    const auto tap = bron.maakTap([&](const G& g) { gezien.push_back(g); }, {});
    ASSERT_NE(tap, nullptr);
    tap->zetAan();
    int wissels = 0;
    const auto wissel = bron.installeerWisselHandler([&] { ++wissels; });

    // Keys through XTest: Ctrl and Alt with the key, down in order, up in reverse.
    const std::unique_ptr<Display, decltype(&XCloseDisplay)> scherm(XOpenDisplay(x.naam().c_str()),
                                                                    XCloseDisplay);
    ASSERT_NE(scherm, nullptr);
    const auto toetsen = [&](KeySym toets, bool omlaag) {
        std::vector<KeySym> reeks{XK_Control_L, XK_Alt_L, toets};
        if (!omlaag) {
            std::reverse(reeks.begin(), reeks.end());
        }
        for (const KeySym s : reeks) {
            XTestFakeKeyEvent(scherm.get(), XKeysymToKeycode(scherm.get(), s), omlaag, CurrentTime);
        }
        XSync(scherm.get(), False);
    };
    const ToetsVlaggen omlaag{apparaatVlag(houd) | algemeneVlag(houd)};
    const G neer{ToetsBron::Soort::modificatie, *toetscode(houd), omlaag, false};
    const G op{ToetsBron::Soort::modificatie, *toetscode(houd), ToetsVlaggen{}, false};
    toetsen(XK_d, true);
    ASSERT_TRUE(pomp([&] { return !gezien.empty(); })) << kde.log();
    EXPECT_EQ(gezien, std::vector<G>{neer});
    EXPECT_EQ(bron.sessieVlaggen(), omlaag);
    toetsen(XK_d, false);
    ASSERT_TRUE(pomp([&] { return gezien.size() > 1; })) << kde.log();
    EXPECT_EQ(gezien, (std::vector<G>{neer, op}));
    EXPECT_EQ(bron.sessieVlaggen(), ToetsVlaggen{});

    // The toggle, by its key and by kglobalacceld's own call (which presses and never releases),
    // calls its handler and is no hold key event. The daemon names the component after the app
    // id the frontend vouched for.
    toetsen(XK_w, true);
    toetsen(XK_w, false);
    EXPECT_TRUE(pomp([&] { return wissels == 1; }));
    ASSERT_TRUE(kde.invokeShortcut("app_tolmo_Tolmo", PortaalSneltoetsen::wisselId)) << kde.log();
    EXPECT_TRUE(pomp([&] { return wissels == 2; }));
    EXPECT_EQ(gezien.size(), 2U);

    // Trying the key: the press that answers is no dictation, down or up. A check nobody
    // answers marks the portal silent until a shortcut arrives again.
    std::optional<bool> gehoord;
    bron.controleer(10s, [&](bool g) { gehoord = g; });
    toetsen(XK_d, true);
    ASSERT_TRUE(pomp([&] { return gehoord.has_value(); })) << kde.log();
    EXPECT_TRUE(*gehoord);
    toetsen(XK_d, false);
    gehoord.reset();
    bron.controleer(300ms, [&](bool g) { gehoord = g; });
    ASSERT_TRUE(pomp([&] { return gehoord.has_value(); }));
    EXPECT_FALSE(*gehoord);
    EXPECT_TRUE(bron.stil());
    toetsen(XK_w, true);
    toetsen(XK_w, false);
    EXPECT_TRUE(pomp([&] { return wissels == 3; }));
    EXPECT_FALSE(bron.stil());
    EXPECT_EQ(gezien.size(), 2U) << "the check's press reached the hold key";
}

}  // namespace
}  // namespace tolmo
