#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace tolmo::server {

// The duration of the audio in a byte range of a file, as a provider would transcribe it: the
// sum of the audio packets' own durations, read by libavformat without decoding (WAV, W64,
// M4A with its index at either end, MP3, Ogg, FLAC, WebM). A header's claimed length counts for
// nothing, so a forged header cannot shrink the count, and a truncated file counts what is
// there. The container is named from the first bytes (or, failing those, the part's type)
// instead of probed: probing cost more than reading the packets. libavformat reads through a
// small buffer and seeks in the file, so the audio is never held in memory whole.
class AudioDuur {
  public:
    // Seconds, or nullopt when the bytes are not audio it can read or hold no packet.
    // `type`: the multipart part's Content-Type, used when the first bytes name no container.
    static std::optional<double> seconden(int fd, std::uint64_t begin, std::uint64_t lengte,
                                          std::string_view type = {});

    // The libavformat demuxer for these first bytes (at least 12) and type; nullptr for none.
    static const char* container(std::string_view begin, std::string_view type);
};

}  // namespace tolmo::server
