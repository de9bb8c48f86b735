#include "TolmoKern/Transcriptie/TranscriptieAntwoord.h"

#include <nlohmann/json.hpp>

namespace tolmo {

std::optional<TranscriptieAntwoord> TranscriptieAntwoord::decodeer(std::string_view json) {
    const auto j = nlohmann::json::parse(json, nullptr, false);
    if (j.is_discarded() || !j.is_object()) {
        return std::nullopt;
    }
    const auto it = j.find("text");
    if (it == j.end() || !it->is_string()) {
        return std::nullopt;
    }
    return TranscriptieAntwoord{it->get<std::string>()};
}

}  // namespace tolmo
