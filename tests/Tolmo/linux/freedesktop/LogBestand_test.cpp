#include "Tolmo/linux/freedesktop/LogBestand.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <sstream>
#include <string>

#include "nep/TijdelijkeOpname.h"

namespace tolmo {
namespace {

std::size_t regelsIn(const std::filesystem::path& pad) {
    std::stringstream in;
    in << std::ifstream(pad).rdbuf();
    return static_cast<std::size_t>(std::ranges::count(in.str(), '\n'));
}

TEST(LogBestand, BewaartRegelsBegrensdEnOverleeftEenAfgebrokenRegel) {
    nep::TijdelijkeMap map;
    const auto pad = map.pad() / "staat" / "logboek.jsonl";
    {
        LogBestand log(pad, 3);
        for (std::uint64_t i = 1; i <= 7; ++i) {
            log.voegToe({i, 10, "linux", "regel " + std::to_string(i)});
            EXPECT_LE(regelsIn(pad), 6U) << "compacted once twice the bound is reached";
        }
        ASSERT_EQ(log.laad().size(), 3U);
        EXPECT_EQ(log.laad().front().id, 5U);
    }
    // A crash in the middle of a write leaves half a line without its newline.
    std::ofstream(pad, std::ios::app) << R"({"id":8,"tijd":10,"te)";
    LogBestand opnieuw(pad, 3);
    EXPECT_EQ(opnieuw.laad().back().id, 7U);
    opnieuw.voegToe({9, 11, "linux", "na de crash"});
    const auto regels = opnieuw.laad();
    EXPECT_EQ(regels.back(), (LogRegel{9, 11, "linux", "na de crash"}));
    EXPECT_EQ(regels[1].id, 7U) << "the torn line is skipped, the ones around it are kept";
}

}  // namespace
}  // namespace tolmo
