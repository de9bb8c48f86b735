#include "Tolmo/linux/freedesktop/AtSpiFocus.h"

#include <gtest/gtest.h>

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

}  // namespace
}  // namespace tolmo
