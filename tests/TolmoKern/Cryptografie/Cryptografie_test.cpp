// The two cryptographic calls against the published SHA-256 examples (FIPS 180-2, appendix B),
// and the generator filling what it is given.
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "TolmoKern/Cryptografie/Cryptografie.h"

namespace tolmo {
namespace {

std::string hex(const std::array<unsigned char, Cryptografie::sha256Lengte>& d) {
    static constexpr char cijfers[] = "0123456789abcdef";
    std::string uit;
    for (const unsigned char b : d) {
        uit += cijfers[b >> 4];
        uit += cijfers[b & 0x0f];
    }
    return uit;
}

TEST(Cryptografie, Sha256OfTheStandardsExamples) {
    struct Geval {
        std::string invoer;
        std::string verwacht;
    };
    const Geval gevallen[] = {
        {"", "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855"},
        {"abc", "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad"},
        // Two blocks: the padding no longer fits the first.
        {"abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq",
         "248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1"},
        {std::string(1000000, 'a'),
         "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0"},
    };
    for (const auto& g : gevallen) {
        EXPECT_EQ(hex(Cryptografie::sha256(g.invoer)), g.verwacht) << g.invoer.size() << " bytes";
    }
}

TEST(Cryptografie, RandomBytesFillTheWholeBufferAndDiffer) {
    std::array<unsigned char, 64> a{}, b{};
    ASSERT_TRUE(Cryptografie::willekeurigeBytes(a));
    ASSERT_TRUE(Cryptografie::willekeurigeBytes(b));
    EXPECT_NE(a, b);
    // The last 16 bytes all zero would be a 2^-128 chance: the tail was written.
    EXPECT_TRUE(std::any_of(a.end() - 16, a.end(), [](unsigned char c) { return c != 0; }));
}

}  // namespace
}  // namespace tolmo
