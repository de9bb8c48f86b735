#include "Tolmo/linux/freedesktop/Autostart.h"

#include <gtest/gtest.h>

#include <fstream>

#include "nep/TijdelijkeOpname.h"

namespace tolmo {
namespace {

namespace fs = std::filesystem;

TEST(AutostartTest, TheExecLineSurvivesUnusualPaths) {
    struct Geval {
        std::string programma;
        std::string exec;
    };
    for (const Geval& g : {
             Geval{"/usr/bin/tolmo-app", "/usr/bin/tolmo-app"},
             Geval{"/home/a b/tolmo-app", R"("/home/a b/tolmo-app")"},
             Geval{"/opt/100%/tolmo-app", R"("/opt/100%%/tolmo-app")"},
             Geval{R"(/x/"y"$z`/a\b)", R"("/x/\\"y\\"\\$z\\`/a\\\\b")"},
         }) {
        EXPECT_EQ(Autostart::execArgument(g.programma), g.exec) << g.programma;
    }
}

TEST(AutostartTest, OnAndOff) {
    const nep::TijdelijkeMap map;
    const fs::path bestand = map.pad() / "autostart" / "tolmo-app.desktop";
    EXPECT_FALSE(Autostart::aan(bestand));
    Autostart::zetAan(bestand, "/usr/bin/tolmo-app");
    EXPECT_TRUE(Autostart::aan(bestand));
    // A session's startup settings switch an entry off without removing it.
    struct Geval {
        std::string extra;
        bool aan;
    };
    for (const Geval& g :
         {Geval{"Hidden=true\n", false}, Geval{"X-GNOME-Autostart-enabled = false\n", false},
          Geval{"[Desktop Action x]\nHidden=true\n", true}}) {
        std::ofstream(bestand) << Autostart::inhoud("/usr/bin/tolmo-app") << g.extra;
        EXPECT_EQ(Autostart::aan(bestand), g.aan) << g.extra;
    }
    Autostart::zetUit(bestand);
    EXPECT_FALSE(fs::exists(bestand));
}

}  // namespace
}  // namespace tolmo
