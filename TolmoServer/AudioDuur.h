#pragma once

#include <cstdint>
#include <optional>

namespace tolmo::server {

// The duration of the audio in a byte range of a file, read from the container's header by
// libavformat (WAV, M4A with its index at either end, MP3, Ogg, FLAC, WebM). libavformat reads
// through a small buffer and seeks in the file, so the audio is never held in memory.
class AudioDuur {
  public:
    // Seconds, or nullopt when the bytes are not audio it can read or carry no duration.
    static std::optional<double> seconden(int fd, std::uint64_t begin, std::uint64_t lengte);
};

}  // namespace tolmo::server
