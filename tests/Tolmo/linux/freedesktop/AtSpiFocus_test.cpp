#include "Tolmo/linux/freedesktop/AtSpiFocus.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <fstream>

#include "Tolmo/linux/x11/X11Focus.h"

namespace tolmo {
namespace {

// The field comes from AT-SPI when the bus answered in time and from the X focus otherwise; a
// slow bus at either end of a dictation is no switch of field, both ways round.
TEST(AtSpiFocus, FieldsFromTheBusAndFromTheWindowCompareLikeWithLike) {
    const auto venster = [](Window w) {
        return FocusVeld(std::make_shared<X11VensterIdentiteit>(w));
    };
    const auto element = [&](const char* pad, std::optional<Window> w) {
        return AtSpiFocus::veld(":1.5", pad, {}, w ? std::optional(venster(*w)) : std::nullopt);
    };
    struct Geval {
        FocusVeld start;
        FocusVeld nu;
        bool zelfde;
    };
    const Geval gevallen[] = {
        {element("/a", 7), element("/a", 7), true},
        {element("/a", 7), element("/b", 7), false},  // two fields in one window
        {element("/a", 7), venster(7), true},         // the bus was slow at the end
        {venster(7), element("/a", 7), true},         // the bus was slow at the start
        {element("/a", 7), venster(8), false},
        {venster(8), element("/a", 7), false},
        {element("/a", std::nullopt), venster(7), false},
        {venster(7), venster(7), true},
    };
    for (std::size_t i = 0; i < std::size(gevallen); ++i) {
        EXPECT_EQ(gevallen[i].start == gevallen[i].nu, gevallen[i].zelfde) << "geval " << i;
    }
}

// Where no window focus tells the app, the unit the desktop started the process in does.
TEST(AtSpiFocus, TheAppIdComesFromTheProcessUnit) {
    const auto proc =
        std::filesystem::temp_directory_path() / ("tolmo-proc-" + std::to_string(::getpid()));
    struct Geval {
        const char* cgroup;
        const char* comm;
        std::optional<std::string> id;
    };
    const Geval gevallen[] = {
        {"0::/user.slice/user-1000.slice/user@1000.service/app.slice/"
         "app-gnome-org.gnome.TextEditor-4242.scope\n",
         "gnome-text-edit", "org.gnome.TextEditor"},
        {"0::/user.slice/user@1000.service/app.slice/app-org.kde.kate@1a2b3c.service\n", "kate",
         "org.kde.kate"},
        {"0::/user.slice/user@1000.service/app.slice/app-flatpak-org.mozilla.firefox-77.scope\n",
         "firefox", "org.mozilla.firefox"},
        {"0::/user.slice/user@1000.service/app.slice/app-foot.service\n", "foot", "foot"},
        // A terminal or a test started it: the program's name.
        {"0::/user.slice/user@1000.service/session.slice/dbus.service\n", "gedit", "gedit"},
        {"", "", std::nullopt},
    };
    for (std::size_t i = 0; i < std::size(gevallen); ++i) {
        const auto map = proc / std::to_string(i + 100);
        std::filesystem::create_directories(map);
        std::ofstream(map / "cgroup") << gevallen[i].cgroup;
        std::ofstream(map / "comm") << gevallen[i].comm << (*gevallen[i].comm ? "\n" : "");
        EXPECT_EQ(AtSpiFocus::appIdVanProces(static_cast<int>(i + 100), proc), gevallen[i].id)
            << "geval " << i;
    }
    EXPECT_EQ(AtSpiFocus::appIdVanProces(99, proc), std::nullopt);
    std::filesystem::remove_all(proc);
}

}  // namespace
}  // namespace tolmo
