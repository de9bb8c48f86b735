#include "Tolmo/MacVertaling/ServerAdres.h"

#include <gtest/gtest.h>

namespace tolmo {
namespace {

TEST(ServerAdres, EnvironmentThenUserThenBuildAndEmptyCountsAsAbsent) {
    using O = std::optional<std::string>;
    EXPECT_EQ(ServerAdres::kies(O("https://a"), O("https://b"), O("https://c")), "https://a");
    EXPECT_EQ(ServerAdres::kies(O(""), O("https://b"), O("https://c")), "https://b");
    EXPECT_EQ(ServerAdres::kies(std::nullopt, O(""), O("https://c")), "https://c");
    EXPECT_EQ(ServerAdres::kies(std::nullopt, std::nullopt, O("")), std::nullopt);
}

TEST(ServerAdres, OnlyHttpAddressesWithAHost) {
    const std::pair<const char*, std::optional<std::string>> gevallen[] = {
        {"  https://relay.tolmo.app/ \n", "https://relay.tolmo.app/"},
        {"http://127.0.0.1:8080", "http://127.0.0.1:8080"},
        {"https://", std::nullopt},
        {"https:///pad", std::nullopt},
        {"https://relay tolmo.app", std::nullopt},
        {"ftp://relay.tolmo.app", std::nullopt},
        {"relay.tolmo.app", std::nullopt},
        {"   ", std::nullopt},
    };
    for (const auto& [invoer, verwacht] : gevallen) {
        EXPECT_EQ(ServerAdres::geldig(invoer), verwacht) << invoer;
    }
}

}  // namespace
}  // namespace tolmo
