#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace tolmo::server {

// Where the file sits in a multipart/form-data body that was spooled to a file: the bytes of
// the first part that has a filename, found by reading the file in blocks, never all at once.
struct MultipartBereik {
    std::uint64_t begin = 0;
    std::uint64_t lengte = 0;

    // The boundary from a Content-Type header value; empty when there is none.
    static std::string grens(std::string_view contentType);

    // nullopt when the body is not multipart with that boundary or has no file part.
    static std::optional<MultipartBereik> zoek(int fd, std::uint64_t grootte,
                                               std::string_view grens);
};

}  // namespace tolmo::server
