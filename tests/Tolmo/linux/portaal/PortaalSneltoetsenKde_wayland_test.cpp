// The desktop's shortcuts on KDE: its portal backend binds them in KWin's kglobalaccel without
// asking, and when KWin sees their keys the app sees the hold key go down and up and the toggle.
// Under Wayland KWin reports no release of its own; the app makes one from the next press.
#include <gio/gio.h>
#include <gtest/gtest.h>
#include <linux/input-event-codes.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Tolmo/linux/portaal/PortaalSneltoetsen.h"
#include "nep/KWinToetsen.h"
#include "nep/KdePortaal.h"

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

TEST(PortaalSneltoetsenKde, BindtZonderVraagEnKWinsToetsenBereikenDeApp) {
    const auto root = nep::debian13Root();
    if (!root) {
        GTEST_SKIP() << nep::geenDebian13;
    }
    if (!nep::KdePortaal::heeftKde(*root)) {
        GTEST_SKIP() << "de Debian 13-root heeft geen xdg-desktop-portal-kde "
                        "(een oudere root; scripts/debian13-root.sh maakt een nieuwe)";
    }
    nep::KWinServer kwin(*root, true);
    ASSERT_EQ(kwin.fout(), "");
    nep::KdePortaal kde(*root, kwin);
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

    // Keys as a keyboard gives them to KWin: Ctrl and Alt with the key, down in order, up in
    // reverse.
    nep::KWinToetsen kwinToetsen;
    ASSERT_EQ(kwinToetsen.fout(), "");
    const auto toetsen = [&](uint32_t toets, bool omlaag) {
        if (omlaag) {
            kwinToetsen.omlaag({KEY_LEFTCTRL, KEY_LEFTALT, toets});
        } else {
            kwinToetsen.omhoog({KEY_LEFTCTRL, KEY_LEFTALT, toets});
        }
    };
    const ToetsVlaggen omlaag{apparaatVlag(houd) | algemeneVlag(houd)};
    const G neer{ToetsBron::Soort::modificatie, *toetscode(houd), omlaag, false};
    const G op{ToetsBron::Soort::modificatie, *toetscode(houd), ToetsVlaggen{}, false};
    // KWin 6.3 sends the release along with the press, whatever the key does: the hold lasts
    // from one press to the next.
    toetsen(KEY_D, true);
    ASSERT_TRUE(pomp([&] { return !gezien.empty(); })) << kde.log();
    toetsen(KEY_D, false);
    pomp([] { return false; }, 300ms);
    EXPECT_EQ(gezien, std::vector<G>{neer});
    EXPECT_TRUE(bron.zonderLoslaten());
    EXPECT_EQ(bron.sessieVlaggen(), omlaag);
    toetsen(KEY_D, true);
    toetsen(KEY_D, false);
    ASSERT_TRUE(pomp([&] { return gezien.size() > 1; })) << kde.log();
    pomp([] { return false; }, 300ms);
    EXPECT_EQ(gezien, (std::vector<G>{neer, op}));
    EXPECT_EQ(bron.sessieVlaggen(), ToetsVlaggen{});
    // A dictation that ended otherwise (the tray's cancel) ends such a hold: the next press
    // starts one.
    toetsen(KEY_D, true);
    toetsen(KEY_D, false);
    ASSERT_TRUE(pomp([&] { return gezien.size() > 2; })) << kde.log();
    bron.laatLos();
    bron.laatLos();
    toetsen(KEY_D, true);
    toetsen(KEY_D, false);
    ASSERT_TRUE(pomp([&] { return gezien.size() > 4; })) << kde.log();
    EXPECT_EQ(gezien, (std::vector<G>{neer, op, neer, op, neer}));
    bron.laatLos();

    // The toggle, by its key and by kglobalaccel's own call (which presses and never releases),
    // calls its handler and is no hold key event. kglobalaccel names the component after the app
    // id the frontend vouched for.
    toetsen(KEY_W, true);
    toetsen(KEY_W, false);
    EXPECT_TRUE(pomp([&] { return wissels == 1; }));
    ASSERT_TRUE(kde.invokeShortcut("app_tolmo_Tolmo", PortaalSneltoetsen::wisselId)) << kde.log();
    EXPECT_TRUE(pomp([&] { return wissels == 2; }));
    EXPECT_EQ(gezien.size(), 6U);

    // Trying the key: the press that answers is no dictation, down or up. A check nobody
    // answers marks the portal silent until a shortcut arrives again.
    std::optional<bool> gehoord;
    bron.controleer(10s, [&](bool g) { gehoord = g; });
    toetsen(KEY_D, true);
    ASSERT_TRUE(pomp([&] { return gehoord.has_value(); })) << kde.log();
    EXPECT_TRUE(*gehoord);
    toetsen(KEY_D, false);
    gehoord.reset();
    bron.controleer(300ms, [&](bool g) { gehoord = g; });
    ASSERT_TRUE(pomp([&] { return gehoord.has_value(); }));
    EXPECT_FALSE(*gehoord);
    EXPECT_TRUE(bron.stil());
    toetsen(KEY_W, true);
    toetsen(KEY_W, false);
    EXPECT_TRUE(pomp([&] { return wissels == 3; }));
    EXPECT_FALSE(bron.stil());
    EXPECT_EQ(gezien.size(), 6U) << "the check's press reached the hold key";
}

}  // namespace
}  // namespace tolmo
