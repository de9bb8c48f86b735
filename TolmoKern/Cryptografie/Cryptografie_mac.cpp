#include <CommonCrypto/CommonDigest.h>
#include <Security/Security.h>

#include <climits>
#include <cstdlib>

#include "TolmoKern/Cryptografie/Cryptografie.h"

namespace tolmo {

std::array<unsigned char, Cryptografie::sha256Lengte> Cryptografie::sha256(std::string_view data) {
    static_assert(CC_SHA256_DIGEST_LENGTH == sha256Lengte);
    std::array<unsigned char, sha256Lengte> uit{};
    // CC_LONG is 32 bits; a word list never comes near that.
    if (data.size() > UINT32_MAX) {
        std::abort();
    }
    CC_SHA256(data.data(), static_cast<CC_LONG>(data.size()), uit.data());
    return uit;
}

bool Cryptografie::willekeurigeBytes(std::span<unsigned char> uit) noexcept {
    return SecRandomCopyBytes(kSecRandomDefault, uit.size(), uit.data()) == 0;
}

}  // namespace tolmo
