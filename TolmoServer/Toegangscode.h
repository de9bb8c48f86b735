#pragma once

#include <string>
#include <string_view>

namespace tolmo::server {

// Access codes: 256 random bits from OpenSSL's generator, written as "tolmo_" + 43 characters of
// URL-safe base64. Only the SHA-256 of a code is ever stored; the code itself is shown once.
class Toegangscode {
  public:
    static std::string nieuw();
    // Lower-case hex SHA-256 of the code's text.
    static std::string hash(std::string_view code);
};

}  // namespace tolmo::server
