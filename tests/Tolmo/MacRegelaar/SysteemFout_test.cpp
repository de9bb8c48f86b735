#include "Tolmo/MacRegelaar/SysteemFout.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>

namespace tolmo {
namespace {

TEST(SysteemFout, CommonCausesInDutchWithTheSystemsTextAfter) {
    const auto code = [](int e) { return std::error_code(e, std::generic_category()); };
    EXPECT_EQ(systeemFout(code(ENOSPC)), "de schijf is vol (No space left on device)");
    EXPECT_EQ(systeemFout(code(EROFS)), "de schijf is alleen-lezen (Read-only file system)");
    EXPECT_EQ(systeemFout(code(EACCES)), "geen toestemming (Permission denied)");
    EXPECT_EQ(systeemFout(code(EIO)),
              "het apparaat gaf een lees- of schrijffout (Input/output error)");
    EXPECT_EQ(systeemFout(code(ENODEV)), "het apparaat is weg (No such device)");
    // The system category (errno from a call) means the same.
    EXPECT_EQ(systeemFout(std::error_code(ENOSPC, std::system_category())),
              "de schijf is vol (No space left on device)");
    // A cause without words of its own keeps the system's.
    EXPECT_EQ(systeemFout(code(EPIPE)), "Broken pipe");
    EXPECT_EQ(foutOmschrijving(std::filesystem::filesystem_error("x", code(EROFS))),
              "de schijf is alleen-lezen (Read-only file system)");
    EXPECT_EQ(foutOmschrijving(std::runtime_error("eigen tekst")), "eigen tekst");
}

}  // namespace
}  // namespace tolmo
