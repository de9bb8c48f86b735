#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>
#include "TolmoKern/Draad/Stop.h"

namespace tolmo {

using HTTPHeaders = std::vector<std::pair<std::string, std::string>>;

struct HTTPVerzoek {
    std::string methode = "POST";
    std::string url;
    HTTPHeaders headers;
    std::string body;
    // The longest the request may go without any byte moving (connecting included), as a
    // platform URL session's request time-out does.
    std::chrono::milliseconds timeout{30000};
    // Optional: told on the sending thread how much of the body has gone out (and how much
    // there is), whenever that changes and regularly while the request waits. For a progress
    // display; it must return quickly and never throw.
    std::function<void(std::int64_t verstuurd, std::int64_t totaal)> voortgang;
    // A reply body beyond this is not read on: a server that sends without end costs the
    // request, never all our memory. Transcripts and cleanups are a few kilobytes.
    std::size_t maximaleAntwoordGrootte = 16 * 1024 * 1024;
};

struct HTTPAntwoord {
    long status = 0;
    HTTPHeaders headers;
    std::string body;
};

// The one HTTP operation every remote call goes through. It does not judge the status: any
// HTTP reply is returned; a failure below HTTP throws TransportFout. A stop request aborts the
// transfer and throws Geannuleerd.
//
// The request is taken by value: a body holds a whole recording, and a wrapper that adds a
// header passes the same request on with std::move instead of copying the audio.
class HTTPTransport {
  public:
    virtual ~HTTPTransport() = default;
    virtual HTTPAntwoord verstuur(HTTPVerzoek verzoek, StopToken stop) = 0;
};

// The value of the first header with this name (names compare without regard to case).
const std::string* zoekHeader(const HTTPHeaders& headers, std::string_view naam);

}  // namespace tolmo
