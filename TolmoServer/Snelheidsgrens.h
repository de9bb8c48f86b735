#pragma once

#include <chrono>
#include <cstdint>
#include <mutex>
#include <optional>
#include <unordered_map>

namespace tolmo::server {

// Requests per code per clock minute, counted in this process.
class Snelheidsgrens {
  public:
    // nullopt when the request may go; otherwise the seconds until the next minute.
    std::optional<std::int64_t> tel(std::int64_t codeId, std::int64_t perMinuut,
                                    std::chrono::system_clock::time_point nu);

  private:
    struct Venster {
        std::int64_t minuut = 0;
        std::int64_t aantal = 0;
    };
    std::mutex m_;
    std::unordered_map<std::int64_t, Venster> vensters_;
};

}  // namespace tolmo::server
