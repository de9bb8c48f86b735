#include <gtest/gtest.h>

#include <map>

#include "Tolmo/linux/InstellingenKeuzes.h"

// After gtest: Xlib's macros.
#include <X11/X.h>
#include <X11/keysym.h>

namespace tolmo {
namespace {

using Uitkomst = CombinatieOpname::Uitkomst;
using M = Toetscombinatie::Modificaties;

// The settings window's recorder test presses Shift-K, Escape, Control alone and Control-Alt-J;
// the other keys are here.
TEST(InstellingenKeuzes, AKeyPressWhileRecordingBecomesACombinationOrARefusal) {
    struct Geval {
        KeySym keysym;
        unsigned int mods;
        std::optional<Uitkomst> uitkomst;  // empty: still waiting for the key
        std::string weergave;
    };
    for (const Geval& g : {
             Geval{XK_d, ControlMask | Mod1Mask, Uitkomst::geldig, "Ctrl+Alt+D"},
             // Under xcb a letter held with Shift comes as its capital.
             Geval{XK_K, ShiftMask | Mod4Mask, Uitkomst::geldig, "Shift+Super+K"},
             Geval{XK_space, ControlMask, Uitkomst::geldig, "Ctrl+Spatie"},
             Geval{XK_F5, Mod4Mask, Uitkomst::geldig, "Super+F5"},
             Geval{XK_d, 0, Uitkomst::ongeldig, ""},
             // A key the stored combination could not be grabbed by again.
             Geval{XK_eacute, ControlMask, Uitkomst::ongeldig, ""},
             Geval{XK_Escape, ControlMask | Mod1Mask, Uitkomst::afgebroken, ""},
             Geval{XK_ISO_Level3_Shift, 0, std::nullopt, ""},
         }) {
        const auto o = InstellingenKeuzes::opname(g.keysym, g.mods);
        ASSERT_EQ(o.has_value(), g.uitkomst.has_value()) << g.keysym;
        if (!o) {
            continue;
        }
        EXPECT_EQ(o->uitkomst, *g.uitkomst) << g.keysym;
        EXPECT_EQ(o->combinatie.has_value(), o->uitkomst == Uitkomst::geldig) << g.keysym;
        if (o->combinatie) {
            // Named as the keyboard names the keys.
            EXPECT_EQ(InstellingenKeuzes::combinatieNaam(*o->combinatie), g.weergave);
        }
    }
    // The stored form is the one the key grab reads back.
    EXPECT_EQ(InstellingenKeuzes::opname(XK_d, ControlMask | Mod1Mask)->combinatie,
              MacInstellingen::standaard().wisselSneltoets);
}

TEST(InstellingenKeuzes, AKeyIsTrimmedAndRefusedWithSpacesOrBrokenText) {
    struct Geval {
        std::string invoer;
        std::optional<std::string> sleutel;
        std::string fout;
    };
    for (const Geval& g :
         {Geval{"  sk-abc123\n", "sk-abc123", ""},
          Geval{"OpenAI: sk-abc", std::nullopt, "Deze sleutel bevat spaties. Er is niets bewaard."},
          Geval{"sk-\xff\xfe", std::nullopt,
                "Deze sleutel bevat ongeldige tekens. Er is niets bewaard."},
          Geval{" \t", std::nullopt, "Vul eerst een sleutel in."}}) {
        const auto s = InstellingenKeuzes::sleutel(g.invoer);
        EXPECT_EQ(s.sleutel, g.sleutel) << g.invoer;
        EXPECT_EQ(s.fout, g.fout);
    }
}

TEST(InstellingenKeuzes, RoutesAndTheMenuTitle) {
    for (const RouteKeuze r : InstellingenKeuzes::routes) {
        EXPECT_EQ(InstellingenKeuzes::route(InstellingenKeuzes::motor(r)), r);
    }
    EXPECT_EQ(InstellingenKeuzes::route(Motor::tolmo), std::nullopt);

    const auto d = MacInstellingen::standaard().wisselSneltoets;
    const auto stand = [](DictaatRegelaar::Toestand t) {
        return MenuStand::van(t, std::nullopt, TolmoInstellingen::standaard());
    };
    EXPECT_EQ(InstellingenKeuzes::actieTitel(stand(DictaatRegelaar::Toestand::neemtOp), d),
              "Stop dicteren (Ctrl+Alt+D)");
    EXPECT_EQ(InstellingenKeuzes::actieTitel(stand(DictaatRegelaar::Toestand::verwerken), d),
              "Annuleren");
    EXPECT_EQ(InstellingenKeuzes::actieTitel(stand(DictaatRegelaar::Toestand::klaar), std::nullopt),
              "Start dicteren");
}

// Which compositor's lines the window offers, from what the session sets.
TEST(InstellingenKeuzes, TheBindingsFollowTheCompositorTheSessionNames) {
    using K = InstellingenKeuzes::BindingenKeuze;
    struct Geval {
        bool compositorBindt;
        std::map<std::string, std::string> omgeving;
        std::optional<K> keuze;
    };
    for (const Geval& g : {
             // KDE, GNOME through XWayland and X11 have their own shortcuts: no lines.
             Geval{false, {{"SWAYSOCK", "/run/sway-ipc.sock"}}, std::nullopt},
             Geval{true, {{"SWAYSOCK", "/run/sway-ipc.sock"}}, K{Compositor::sway, true}},
             Geval{true, {{"HYPRLAND_INSTANCE_SIGNATURE", "abc"}}, K{Compositor::hyprland, true}},
             Geval{true, {{"XDG_CURRENT_DESKTOP", "Hyprland"}}, K{Compositor::hyprland, true}},
             Geval{true, {{"XDG_CURRENT_DESKTOP", "wlroots:sway"}}, K{Compositor::sway, true}},
             // An empty variable names nothing.
             Geval{true,
                   {{"SWAYSOCK", ""}, {"XDG_CURRENT_DESKTOP", "Hyprland"}},
                   K{Compositor::hyprland, true}},
             Geval{true, {{"XDG_CURRENT_DESKTOP", "river"}}, K{Compositor::sway, false}},
             Geval{true, {}, K{Compositor::sway, false}},
         }) {
        const auto keuze =
            InstellingenKeuzes::bindingen(g.compositorBindt, [&](std::string_view k) {
                const auto w = g.omgeving.find(std::string(k));
                return w == g.omgeving.end() ? std::nullopt : std::optional(w->second);
            });
        EXPECT_EQ(keuze, g.keuze) << (g.omgeving.empty() ? "" : g.omgeving.begin()->second);
    }
}

}  // namespace
}  // namespace tolmo
