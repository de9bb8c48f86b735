// tolmo-server's input from the outside: a request as the HTTP parser with the server's limits
// reads it (its Content-Type then taken apart as the relay does), and a spooled upload whose
// multipart layout (the part named "file", the other file parts) and audio packets are read
// from a file. The first byte picks the path.
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/string_body.hpp>
#include <cstddef>
#include <cstdint>
#include <string>

#include "TolmoServer/AanbiederDoel.h"
#include "TolmoServer/AudioDuur.h"
#include "TolmoServer/MultipartBereik.h"

namespace http = boost::beast::http;
using namespace tolmo::server;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 1) {
        return 0;
    }
    const bool verzoek = data[0] & 1;
    const std::string invoer(reinterpret_cast<const char*>(data + 1), size - 1);
    if (verzoek) {
        http::request_parser<http::string_body> p;
        p.header_limit(16 * 1024);
        p.body_limit(1024 * 1024);
        p.eager(true);
        boost::system::error_code ec;
        p.put(boost::asio::buffer(invoer), ec);
        if (p.is_header_done()) {
            (void)MultipartBereik::grens(p.get()[http::field::content_type]);
            (void)AanbiederDoel::uitUrl(p.get().target());
        }
        return 0;
    }
    // The spool file: "--g" multipart when the body starts like one, else raw audio bytes.
    const int fd = memfd_create("upload", 0);
    if (fd < 0 ||
        ::write(fd, invoer.data(), invoer.size()) != static_cast<ssize_t>(invoer.size())) {
        return 0;
    }
    // Without a multipart body, the first line (up to 40 bytes) is the part's type and the rest
    // the audio, so every container, named by bytes or by type, is reached.
    if (const auto b = MultipartBereik::zoek(fd, invoer.size(), "g")) {
        if (b->begin + b->lengte > invoer.size() || b->bestandsDelen == 0) {
            __builtin_trap();
        }
        (void)AudioDuur::seconden(fd, b->begin, b->lengte, b->type);
    } else {
        const auto regel = std::min<std::size_t>(invoer.find('\n'), 40);
        const std::size_t begin = regel < invoer.size() ? regel + 1 : 0;
        (void)AudioDuur::seconden(fd, begin, invoer.size() - begin,
                                  std::string_view(invoer).substr(0, begin ? regel : 0));
    }
    ::close(fd);
    return 0;
}
