#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace tolmo::server {

// A provider's base URL taken apart: "https://api.openai.com" or, in tests,
// "http://127.0.0.1:4321/nep". The routes are appended to `pad`.
struct AanbiederDoel {
    bool tls = true;
    std::string host;
    std::string poort;
    std::string pad;  // without a trailing slash

    static std::optional<AanbiederDoel> uitUrl(std::string_view url);
    // The key of its connection pool.
    [[nodiscard]] std::string sleutel() const;
};

}  // namespace tolmo::server
