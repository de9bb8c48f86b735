#include "TolmoServer/Toegangscode.h"

#include <openssl/evp.h>
#include <openssl/rand.h>

#include <array>
#include <stdexcept>

namespace tolmo::server {

std::string Toegangscode::nieuw() {
    std::array<unsigned char, 32> bytes{};
    if (RAND_bytes(bytes.data(), static_cast<int>(bytes.size())) != 1) {
        throw std::runtime_error("De toevalsgenerator van OpenSSL gaf geen bytes.");
    }
    static constexpr char alfabet[] =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_";
    std::string code = "tolmo_";
    unsigned bits = 0;
    int aantal = 0;
    for (const unsigned char b : bytes) {
        bits = (bits << 8) | b;
        aantal += 8;
        while (aantal >= 6) {
            aantal -= 6;
            code += alfabet[(bits >> aantal) & 63u];
        }
    }
    if (aantal > 0) {
        code += alfabet[(bits << (6 - aantal)) & 63u];
    }
    return code;
}

std::string Toegangscode::hash(std::string_view code) {
    std::array<unsigned char, EVP_MAX_MD_SIZE> md{};
    unsigned lengte = 0;
    EVP_Digest(code.data(), code.size(), md.data(), &lengte, EVP_sha256(), nullptr);
    static constexpr char hex[] = "0123456789abcdef";
    std::string uit;
    for (unsigned i = 0; i < lengte; ++i) {
        uit += hex[md[i] >> 4];
        uit += hex[md[i] & 15];
    }
    return uit;
}

}  // namespace tolmo::server
