// The Wayland adapter set against KDE's real compositor (KWin 6.3 from the Debian 13 root, on a
// virtual output): the clipboard through its data control, the window in front through the
// KWin script, and what the app says it cannot do there.
#include <gtest/gtest.h>

#include <chrono>
#include <future>

#include "Tolmo/linux/wayland/WaylandAdapters.h"
#include "nep/KWinServer.h"
#include "nep/WaylandKlanten.h"

namespace tolmo {
namespace {

using namespace std::chrono_literals;
using nep::wachtTot;

class KWinTest : public ::testing::Test {
  protected:
    void SetUp() override {
        if (!nep::debian13Root()) {
            GTEST_SKIP() << nep::geenDebian13;
        }
        kwin_ = std::make_unique<nep::KWinServer>(*nep::debian13Root());
        ASSERT_TRUE(kwin_->fout().empty()) << kwin_->fout();
        ::setenv("XDG_RUNTIME_DIR", kwin_->map().c_str(), 1);
        adapters_ = std::make_unique<WaylandAdapters>(false);
    }

    template <typename F>
    bool wachtMet(F f, std::chrono::milliseconds maximaal = 5s) {
        return wachtTot(
            [&] {
                adapters_->verwerk();
                return f();
            },
            maximaal);
    }
    std::string voerUit(std::vector<std::string> args) {
        auto klaar = std::async(std::launch::async, [args] {
            return nep::voerProcesUit(args[0], {args.begin() + 1, args.end()}).uit;
        });
        while (klaar.wait_for(5ms) != std::future_status::ready) {
            adapters_->verwerk();
        }
        return klaar.get();
    }
    std::string appVooraan() {
        const auto d = adapters_->vensterFocus().huidig();
        return d ? d->bundleId.value_or("") : "";
    }

    std::unique_ptr<nep::KWinServer> kwin_;
    std::unique_ptr<WaylandAdapters> adapters_;
};

TEST_F(KWinTest, TheClipboardIsSnapshotWrittenAndRestored) {
    const std::string png(300000, '\x89');
    const KlembordPoort::Momentopname eigen{
        {{"text/plain;charset=utf-8", "mijn eigen klembord"}, {"image/png", png}}};
    nep::AndereWaylandApp gebruiker(eigen);
    auto& klembord = adapters_->klembord();
    const auto momentopname = klembord.maakMomentopname();
    EXPECT_EQ(momentopname, eigen);
    klembord.schrijf("Hallo vanuit Tolmo");
    EXPECT_EQ(voerUit({"/usr/bin/wl-paste", "-n"}), "Hallo vanuit Tolmo");
    klembord.herstel(momentopname);
    EXPECT_EQ(voerUit({"/usr/bin/wl-paste", "-n", "-t", "text/plain;charset=utf-8"}),
              "mijn eigen klembord");
    EXPECT_TRUE(voerUit({"/usr/bin/wl-paste", "-n", "-t", "image/png"}) == png)
        << "the image did not come back whole";
}

// The script KWin runs tells the window in front: another window of the same app is another
// place, and when the other one closes KWin gives the focus back to the first.
TEST_F(KWinTest, TheWindowInFrontComesFromTheKWinScript) {
    nep::Foot een(kwin_->map(), "org.tolmo.een", "een", nep::debian13Root());
    ASSERT_TRUE(een.open_);
    ASSERT_TRUE(wachtMet([&] { return appVooraan() == "org.tolmo.een"; })) << appVooraan();
    const auto eerst = adapters_->vensterFocus().huidig();
    {
        nep::Foot twee(kwin_->map(), "org.tolmo.een", "twee", nep::debian13Root());
        ASSERT_TRUE(twee.open_);
        ASSERT_TRUE(wachtMet([&] {
            const auto d = adapters_->vensterFocus().huidig();
            return d && !(d->veld == eerst->veld);
        }));
        EXPECT_EQ(Doel::beslis(eerst, adapters_->vensterFocus().huidig()),
                  Doel::Beslissing::naarKlembord(Doel::Reden::anderVeld));
    }
    EXPECT_TRUE(wachtMet([&] {
        return Doel::beslis(eerst, adapters_->vensterFocus().huidig()) == Doel::Beslissing::plak();
    }));
}

// What the settings window shows on KDE: each capability with its mechanism, or what the user
// can do instead, and no paste keystroke promised that KWin cannot take.
TEST_F(KWinTest, TheCapabilitiesSayWhatKdeOffers) {
    EXPECT_FALSE(adapters_->plakToetsMogelijk());
    EXPECT_FALSE(adapters_->compositorBindt());
    std::map<Vermogen::Soort, Vermogen> per;
    for (const auto& v : adapters_->vermogens()) {
        per[v.soort] = v;
    }
    EXPECT_EQ(per[Vermogen::Soort::klembord].mechanisme, "zwlr-data-control-unstable-v1");
    EXPECT_EQ(per[Vermogen::Soort::focus].mechanisme,
              "KWin-script over de sessiebus (app-id en titel)")
        << per[Vermogen::Soort::focus].advies;
    EXPECT_EQ(per[Vermogen::Soort::plakken].mechanisme, "");
    EXPECT_NE(per[Vermogen::Soort::plakken].advies.find("RemoteDesktop"), std::string::npos);
    EXPECT_EQ(per[Vermogen::Soort::houdToets].mechanisme, "");
    EXPECT_NE(per[Vermogen::Soort::wisselSneltoets].advies.find("Systeeminstellingen"),
              std::string::npos);
}

}  // namespace
}  // namespace tolmo
