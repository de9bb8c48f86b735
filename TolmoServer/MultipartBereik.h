#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tolmo::server {

// Where the audio sits in a multipart/form-data body that was spooled to a file: the bytes of
// the part named "file", the one the providers transcribe, found by reading the file in blocks,
// never all at once. Every other part that carries a file name is counted too: a body with a
// second file beside the audio could have either one transcribed, so the relay refuses it.
struct MultipartBereik {
    std::uint64_t begin = 0;
    std::uint64_t lengte = 0;
    std::string type;            // the part's Content-Type, empty when it has none
    unsigned bestandsDelen = 0;  // parts named "file" or with a filename, this one included

    // The boundary from a Content-Type header value; empty when there is none.
    static std::string grens(std::string_view contentType);

    // nullopt when the body is not multipart with that boundary or has no part named "file".
    static std::optional<MultipartBereik> zoek(int fd, std::uint64_t grootte,
                                               std::string_view grens);
};

}  // namespace tolmo::server
