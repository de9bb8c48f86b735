#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace tolmo {

// A provider's transcription reply: a JSON object with a string "text". Other fields are
// ignored.
struct TranscriptieAntwoord {
    std::string text;

    // Nothing when the body is not such an object.
    static std::optional<TranscriptieAntwoord> decodeer(std::string_view json);
};

}  // namespace tolmo
