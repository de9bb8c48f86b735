#include "TolmoServer/Snelheidsgrens.h"

namespace tolmo::server {

std::optional<std::int64_t> Snelheidsgrens::tel(std::int64_t codeId, std::int64_t perMinuut,
                                                std::chrono::system_clock::time_point nu) {
    const auto seconden =
        std::chrono::duration_cast<std::chrono::seconds>(nu.time_since_epoch()).count();
    const std::int64_t minuut = seconden / 60;
    const std::lock_guard slot(m_);
    // Old windows go with the minute, so the map holds only codes seen this minute.
    if (vensters_.size() > 4096) {
        std::erase_if(vensters_, [minuut](const auto& v) { return v.second.minuut != minuut; });
    }
    Venster& v = vensters_[codeId];
    if (v.minuut != minuut) {
        v = Venster{minuut, 0};
    }
    if (v.aantal >= perMinuut) {
        return 60 - seconden % 60;
    }
    ++v.aantal;
    return std::nullopt;
}

}  // namespace tolmo::server
