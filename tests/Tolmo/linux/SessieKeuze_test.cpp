#include "Tolmo/linux/SessieKeuze.h"

#include <gtest/gtest.h>

#include <map>

namespace tolmo {
namespace {

TEST(SessieKeuzeTest, TheOptionThenTheSessionDecides) {
    using W = Weergavesysteem;
    struct Geval {
        std::map<std::string, std::string, std::less<>> omgeving;
        std::optional<W> optie;
        std::optional<W> systeem;  // absent: no graphical session
        std::string reden;
    };
    for (const Geval& g : {
             // A Wayland session has XWayland's DISPLAY too; its own kind wins.
             Geval{{{"WAYLAND_DISPLAY", "wayland-1"}, {"DISPLAY", ":0"}},
                   std::nullopt,
                   W::wayland,
                   "WAYLAND_DISPLAY is gezet"},
             Geval{{{"XDG_SESSION_TYPE", "wayland"}, {"DISPLAY", ":0"}},
                   std::nullopt,
                   W::wayland,
                   "XDG_SESSION_TYPE is wayland"},
             Geval{{{"XDG_SESSION_TYPE", "x11"}, {"DISPLAY", ":0"}},
                   std::nullopt,
                   W::x11,
                   "XDG_SESSION_TYPE is x11"},
             // An empty value is no value; a tty session with an X server started by hand.
             Geval{{{"WAYLAND_DISPLAY", ""}, {"XDG_SESSION_TYPE", "tty"}, {"DISPLAY", ":1"}},
                   std::nullopt,
                   W::x11,
                   "DISPLAY is gezet"},
             Geval{{{"WAYLAND_DISPLAY", "wayland-0"}}, W::x11, W::x11, "gekozen met --sessie x11"},
             Geval{{{"XDG_SESSION_TYPE", "x11"}, {"DISPLAY", ""}}, std::nullopt, std::nullopt, ""},
         }) {
        const auto keuze =
            kiesSessie(g.optie, [&](std::string_view k) -> std::optional<std::string> {
                const auto w = g.omgeving.find(k);
                return w == g.omgeving.end() ? std::nullopt : std::optional(w->second);
            });
        ASSERT_EQ(keuze.has_value(), g.systeem.has_value()) << g.reden;
        if (keuze) {
            EXPECT_EQ(keuze->systeem, *g.systeem);
            EXPECT_EQ(keuze->reden, g.reden);
        }
    }
}

}  // namespace
}  // namespace tolmo
