#include <openssl/evp.h>
#include <openssl/rand.h>

#include <climits>
#include <cstdlib>

#include "TolmoKern/Cryptografie/Cryptografie.h"

namespace tolmo {

std::array<unsigned char, Cryptografie::sha256Lengte> Cryptografie::sha256(std::string_view data) {
    std::array<unsigned char, sha256Lengte> uit{};
    unsigned int lengte = 0;
    // A one-shot digest fails only when libcrypto itself is broken; nothing sensible can
    // follow from that.
    if (EVP_Digest(data.data(), data.size(), uit.data(), &lengte, EVP_sha256(), nullptr) != 1 ||
        lengte != uit.size()) {
        std::abort();
    }
    return uit;
}

bool Cryptografie::willekeurigeBytes(std::span<unsigned char> uit) noexcept {
    return uit.size() <= INT_MAX && RAND_bytes(uit.data(), static_cast<int>(uit.size())) == 1;
}

}  // namespace tolmo
