#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>
#include "TolmoKern/Draad/Stop.h"

namespace tolmo {

using HTTPHeaders = std::vector<std::pair<std::string, std::string>>;

// A request body that is still being written while it is sent: it goes out chunked, each piece
// as soon as it is there, and the request ends when the body says it is complete. Read on the
// transport's sending thread; `wek` may come from any thread.
class GroeiendeBody {
  public:
    struct Stuk {
        enum class Soort { data, wacht, einde, fout };
        Soort soort = Soort::wacht;
        std::size_t lengte = 0;  // bytes written to the buffer, for data
    };
    virtual ~GroeiendeBody() = default;
    // Up to `ruimte` bytes never handed out before; wacht when none are there yet (the
    // transport asks again after `wek` or a short while), einde when the body is complete,
    // fout when it never will be (the request is then broken off, not ended).
    virtual Stuk lees(char* doel, std::size_t ruimte) = 0;
    // Called when lees may have something new; replaces the previous one.
    virtual void zetWekker(std::function<void()> wek) = 0;
};

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
    // Optional: the body comes from here as it grows, chunked, after the bytes of `body`.
    std::shared_ptr<GroeiendeBody> groeiend;
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
