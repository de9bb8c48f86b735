// Before any X header: Xlib defines None and Bool as macros, which gtest uses as names.
#include <gtest/gtest.h>

#include "Tolmo/linux/x11/X11ToetsBron.h"

#include <X11/XKBlib.h>
#include <X11/keysym.h>

#include <chrono>
#include <optional>
#include <vector>

#include "Tolmo/linux/x11/X11Toetsen.h"
#include "nep/X11AndereApp.h"
#include "nep/XvfbServer.h"

namespace tolmo {
namespace {

using V = ToetsVlaggen;
using Soort = ToetsBron::Soort;
constexpr std::uint64_t rOpt = V::option | V::rechterOption;
constexpr std::uint64_t lOpt = V::option | V::linkerOption;

TEST(X11Toetsen, KeysymsAndCombinations) {
    struct Geval {
        KeySym keysym;
        std::optional<std::uint16_t> code;
        std::uint64_t vlaggen;
    };
    const Geval gevallen[] = {
        {XK_Alt_R, 61, rOpt},
        {XK_ISO_Level3_Shift, 61, rOpt},
        {XK_Alt_L, 58, lOpt},
        {XK_Super_R, 54, V::command | V::rechterCommand},
        {XK_Meta_L, 55, V::command | V::linkerCommand},
        {XK_Shift_R, 60, V::shift},
        {XK_Control_R, 62, V::control | V::rechterControl},
        {XK_Control_L, 59, V::control | V::linkerControl},
        {XK_A, 0, 0},
        {XK_d, 2, 0},
        {XK_5, 23, 0},
        {XK_F1, 122, 0},
        {XK_eacute, std::nullopt, 0},
    };
    // The Shift side bits are set too but read by nothing.
    constexpr std::uint64_t gelezen = V::hoofdModificaties | V::linkerOption | V::rechterOption |
                                      V::linkerCommand | V::rechterCommand | V::linkerControl |
                                      V::rechterControl;
    for (const Geval& g : gevallen) {
        EXPECT_EQ(appleToetscode(g.keysym), g.code) << XKeysymToString(g.keysym);
        EXPECT_EQ(modificatieVlaggen(g.keysym) & gelezen, g.vlaggen) << XKeysymToString(g.keysym);
    }

    using M = Toetscombinatie::Modificaties;
    EXPECT_EQ(x11Greep({2, {M::control | M::option}, "D"}),
              (X11Greep{XK_d, ControlMask | Mod1Mask}));
    EXPECT_EQ(x11Greep({49, {M::command | M::shift}, "Spatie"}),
              (X11Greep{XK_space, Mod4Mask | ShiftMask}));
    EXPECT_EQ(x11Greep({0xFFFF, {M::control}, "?"}), std::nullopt);
}

class X11ToetsBronTest : public ::testing::Test {
  protected:
    nep::XvfbServer server;
    X11Verbinding app;
    // The other applications, and the keyboard.
    X11Verbinding ander;
    nep::X11AndereApp toetsenbord{&app};

    KeyCode code(KeySym s) { return XKeysymToKeycode(ander.display(), s); }
    // Hands the app what the server sent it until klaar() holds; one round without a wait.
    template <typename F>
    bool pomp(F klaar, std::chrono::milliseconds wacht = std::chrono::seconds(2)) {
        return nep::wachtTot(
            [&] {
                XSync(app.display(), False);
                app.verwerk();
                return klaar();
            },
            wacht);
    }
    void pompEenmaal() {
        pomp([] { return false; }, {});
    }
    // Whether the other client may take the key grab now.
    bool anderGrijpt(KeySym s, unsigned int modificaties) {
        // What the app sent first, such as an ungrab, is done by then.
        XSync(app.display(), False);
        X11Verbinding::FoutVanger vanger(ander);
        XGrabKey(ander.display(), code(s), modificaties, ander.wortel(), False, GrabModeAsync,
                 GrabModeAsync);
        return vanger.gelukt();
    }
    void anderLaatLos(KeySym s) {
        XUngrabKey(ander.display(), code(s), AnyModifier, ander.wortel());
        XSync(ander.display(), False);
    }
};

TEST_F(X11ToetsBronTest, TapFollowsModifiersPerSide) {
    X11ToetsBron bron(app);
    std::vector<ToetsBron::Gebeurtenis> gezien;
    const auto tap = bron.maakTap([&](const auto& g) { gezien.push_back(g); }, {});
    ASSERT_NE(tap, nullptr);
    // Off: nothing is delivered.
    toetsenbord.druk({XK_Alt_L});
    pompEenmaal();
    EXPECT_TRUE(gezien.empty());
    EXPECT_FALSE(tap->isAan());
    tap->zetAan();
    ASSERT_TRUE(tap->isAan());

    struct Stap {
        KeySym keysym;
        bool omlaag;
        std::optional<ToetsBron::Gebeurtenis> verwacht;
    };
    const Stap stappen[] = {
        {XK_Alt_R, true, {{Soort::modificatie, 61, {rOpt}}}},
        {XK_a, true, {{Soort::toetsOmlaag, 0, {rOpt}}}},
        {XK_a, false, std::nullopt},
        {XK_Alt_R, false, {{Soort::modificatie, 61, {0}}}},
        {XK_Alt_L, true, {{Soort::modificatie, 58, {lOpt}}}},
        {XK_Alt_R, true, {{Soort::modificatie, 61, {lOpt | rOpt}}}},
        // Option stays down with the left key.
        {XK_Alt_R, false, {{Soort::modificatie, 61, {lOpt}}}},
        {XK_Alt_L, false, {{Soort::modificatie, 58, {0}}}},
    };
    for (std::size_t i = 0; i < std::size(stappen); ++i) {
        gezien.clear();
        toetsenbord.toets(stappen[i].keysym, stappen[i].omlaag);
        pomp([&] { return !gezien.empty(); },
             std::chrono::milliseconds(stappen[i].verwacht ? 2000 : 0));
        const std::vector<ToetsBron::Gebeurtenis> verwacht =
            stappen[i].verwacht ? std::vector{*stappen[i].verwacht}
                                : std::vector<ToetsBron::Gebeurtenis>{};
        EXPECT_EQ(gezien, verwacht) << "stap " << i;
    }

    toetsenbord.toets(XK_Alt_R, true);
    EXPECT_EQ(bron.sessieVlaggen(), V{rOpt});
    toetsenbord.toets(XK_Alt_R, false);
    EXPECT_EQ(bron.sessieVlaggen(), V{0});
    pompEenmaal();

    // Raw events still come while another client has the keyboard grabbed.
    ASSERT_EQ(XGrabKeyboard(ander.display(), ander.wortel(), False, GrabModeAsync, GrabModeAsync,
                            CurrentTime),
              GrabSuccess);
    gezien.clear();
    toetsenbord.toets(XK_Super_R, true);
    EXPECT_TRUE(pomp([&] { return !gezien.empty(); }));
    EXPECT_EQ(gezien, (std::vector<ToetsBron::Gebeurtenis>{
                          {Soort::modificatie, 54, {V::command | V::rechterCommand}}}));
    toetsenbord.toets(XK_Super_R, false);
}

TEST_F(X11ToetsBronTest, ToggleCombinationIsGrabbedWhileRegistered) {
    X11ToetsBron bron(app);
    int gedrukt = 0;
    const auto handler = bron.installeerWisselHandler([&] { ++gedrukt; });
    ASSERT_NE(handler, nullptr);
    using M = Toetscombinatie::Modificaties;
    const Toetscombinatie combinatie{2, {M::control | M::option}, "D"};

    // Taken by another client first: refused, and nothing of it is kept.
    ASSERT_TRUE(anderGrijpt(XK_d, ControlMask | Mod1Mask));
    EXPECT_EQ(bron.registreerWissel(combinatie), nullptr);
    anderLaatLos(XK_d);

    auto wissel = bron.registreerWissel(combinatie);
    ASSERT_NE(wissel, nullptr);
    toetsenbord.druk({XK_Control_L, XK_Alt_L, XK_d});
    EXPECT_TRUE(pomp([&] { return gedrukt == 1; }));

    toetsenbord.druk({XK_Num_Lock});
    XkbStateRec stand{};
    XkbGetState(app.display(), XkbUseCoreKbd, &stand);
    ASSERT_NE(stand.locked_mods & Mod2Mask, 0U);
    toetsenbord.druk({XK_Control_L, XK_Alt_L, XK_d});
    EXPECT_TRUE(pomp([&] { return gedrukt == 2; }));

    // Only the combination is taken from the other applications.
    EXPECT_TRUE(anderGrijpt(XK_d, 0));
    EXPECT_TRUE(anderGrijpt(XK_d, ControlMask));
    anderLaatLos(XK_d);

    wissel.reset();
    EXPECT_TRUE(anderGrijpt(XK_d, ControlMask | Mod1Mask));
}

TEST_F(X11ToetsBronTest, EscOnlyWhileArmed) {
    X11EscBron esc(app);
    int gezien = 0;
    esc.wacht([&] { ++gezien; });
    toetsenbord.druk({XK_Escape});
    EXPECT_TRUE(pomp([&] { return gezien == 1; }));

    esc.stopWachten();
    toetsenbord.druk({XK_Escape});
    pompEenmaal();
    EXPECT_EQ(gezien, 1);
    // Released for the other applications.
    EXPECT_TRUE(anderGrijpt(XK_Escape, 0));
}

}  // namespace
}  // namespace tolmo
