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
    if (!std::filesystem::exists(*root /
                                 "usr/lib/x86_64-linux-gnu/libexec/xdg-desktop-portal-kde") ||
        !std::filesystem::exists(*root / "usr/lib/x86_64-linux-gnu/libexec/kglobalacceld")) {
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
    EXPECT_EQ(bron.triggers().count(PortaalSneltoetsen::houdId), 1U);
    EXPECT_EQ(bron.triggers().count(PortaalSneltoetsen::wisselId), 1U);

    std::vector<G> gezien;
    const auto tap = bron.maakTap([&](const G& g) { gezien.push_back(g); }, {});
    ASSERT_NE(tap, nullptr);
    tap->zetAan();
    int wissels = 0;
    const auto wissel = bron.installeerWisselHandler([&] { ++wissels; });

    const auto vuur = [&](const char* id) {
        return kde.kglobalaccel("/component/app_tolmo_Tolmo",
                                "org.kde.kglobalaccel.Component.invokeShortcut",
                                {std::string("string:") + id});
    };
    ASSERT_TRUE(vuur(PortaalSneltoetsen::houdId)) << kde.log();
    const ToetsVlaggen omlaag{apparaatVlag(houd) | algemeneVlag(houd)};
    ASSERT_TRUE(pomp([&] { return !gezien.empty(); })) << kde.log();
    EXPECT_EQ(gezien.front(), (G{ToetsBron::Soort::modificatie, *toetscode(houd), omlaag, false}));
    EXPECT_EQ(bron.sessieVlaggen(), omlaag);
}

}  // namespace
}  // namespace tolmo
