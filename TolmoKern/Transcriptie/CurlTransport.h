#pragma once

#include <cstddef>
#include <memory>

#include "TolmoKern/Transcriptie/HTTPTransport.h"

namespace tolmo {

// HTTPTransport over libcurl. All instances share DNS answers and TLS sessions, and keep a few
// connections warm for the whole process: each request takes a connection set of its own (libcurl's
// connection cache must never be used by two transfers at once, and a cancelled chain may still
// be aborting while the next one starts), and hands it back for the next request when done, so
// consecutive requests to one host reuse the connection. A transfer is driven on the calling
// thread; a stop request wakes it at once and the call throws Geannuleerd. A reply body beyond
// the request's maximum is a TransportFout (cannotParseResponse). Failures below HTTP are thrown as
// TransportFout; the status of an HTTP reply is never judged here. Redirects are not followed: the
// APIs we talk to do not redirect, and following one would post the whole recording a second time.
class CurlTransport final : public HTTPTransport {
  public:
    CurlTransport();

    // One transport for callers that were given none.
    static std::shared_ptr<CurlTransport> gedeeld();

    HTTPAntwoord verstuur(HTTPVerzoek verzoek, StopToken stop) override;

    // Connection sets kept between requests, for the whole process; more run at once when
    // needed.
    static constexpr std::size_t warmeVerbindingen = 4;
};

}  // namespace tolmo
