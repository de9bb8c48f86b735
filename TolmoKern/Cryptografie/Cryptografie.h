#pragma once

#include <array>
#include <cstddef>
#include <span>
#include <string_view>

namespace tolmo {

// The two cryptographic calls the core makes: the word list's fingerprint and random multipart
// boundaries. Linux answers them with OpenSSL's libcrypto, the Mac with CommonCrypto and the
// Security framework, so the Mac app loads no library from outside the system and its bundle.
struct Cryptografie {
    static constexpr std::size_t sha256Lengte = 32;

    static std::array<unsigned char, sha256Lengte> sha256(std::string_view data);

    // Fills uit from the system's cryptographic generator; false when it fails (then uit is
    // unspecified).
    [[nodiscard]] static bool willekeurigeBytes(std::span<unsigned char> uit) noexcept;
};

}  // namespace tolmo
