#pragma once

#include <memory>

#include "TolmoKern/Transcriptie/HTTPTransport.h"

namespace tolmo {

// HTTPTransport over libcurl. Every instance uses one process-wide share handle (connection
// cache, DNS cache, TLS sessions), so consecutive requests to the same host reuse the
// connection. A transfer is driven on the calling thread; a stop request wakes it at once and
// the call throws Geannuleerd. Failures below HTTP are thrown as TransportFout; the status of
// an HTTP reply is never judged here. Redirects are not followed: the APIs we talk to do not
// redirect, and following one would post the whole recording a second time.
class CurlTransport final : public HTTPTransport {
  public:
    CurlTransport();

    // One transport for callers that were given none.
    static std::shared_ptr<CurlTransport> gedeeld();

    HTTPAntwoord verstuur(HTTPVerzoek verzoek, StopToken stop) override;
};

}  // namespace tolmo
