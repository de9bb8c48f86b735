// The desktop's shortcuts on KDE: its portal backend binds them in kglobalaccel without asking,
// and when kglobalaccel fires them the app sees the hold key go down and up and the toggle.
#include <gio/gio.h>
#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Tolmo/linux/portaal/PortaalSneltoetsen.h"
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

TEST(PortaalSneltoetsenKde, BindtZonderVraagEnKglobalaccelBereiktDeApp) {
    const auto root = nep::debian13Root();
    if (!root) {
        GTEST_SKIP() << nep::geenDebian13;
    }
    if (!nep::KdePortaal::heeftKde(*root)) {
        GTEST_SKIP() << "de Debian 13-root heeft geen xdg-desktop-portal-kde of kglobalacceld "
                        "(een oudere root; scripts/debian13-root.sh maakt een nieuwe)";
    }
    nep::KdePortaal kde(*root);
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

    // kglobalaccel names the component after the app id the frontend vouched for.
    const auto vuur = [&](const char* id) { return kde.invokeShortcut("app_tolmo_Tolmo", id); };
    // invokeShortcut presses and never releases (the daemon without a platform grabs no keys to
    // see one go up), so only the hold key's going down can be followed here.
    ASSERT_TRUE(vuur(PortaalSneltoetsen::houdId)) << kde.log();
    const ToetsVlaggen omlaag{apparaatVlag(houd) | algemeneVlag(houd)};
    ASSERT_TRUE(pomp([&] { return !gezien.empty(); })) << kde.log();
    EXPECT_EQ(gezien,
              (std::vector<G>{{ToetsBron::Soort::modificatie, *toetscode(houd), omlaag, false}}));
    EXPECT_EQ(bron.sessieVlaggen(), omlaag);

    // The toggle calls its handler and is no hold key event.
    ASSERT_TRUE(vuur(PortaalSneltoetsen::wisselId)) << kde.log();
    EXPECT_TRUE(pomp([&] { return wissels > 0; }));
    EXPECT_EQ(wissels, 1);
    EXPECT_EQ(gezien.size(), 1U);
}

}  // namespace
}  // namespace tolmo
