#pragma once

#include <chrono>
#include <stop_token>
#include <string>
#include <utility>
#include <vector>

namespace tolmo {

using HTTPHeaders = std::vector<std::pair<std::string, std::string>>;

struct HTTPVerzoek {
    std::string methode = "POST";
    std::string url;
    HTTPHeaders headers;
    std::string body;
    std::chrono::milliseconds timeout{30000};
};

struct HTTPAntwoord {
    long status = 0;
    HTTPHeaders headers;
    std::string body;
};

// The one HTTP operation every remote call goes through. It does not judge the status: any
// HTTP reply is returned; a failure below HTTP throws TransportFout. A stop request aborts the
// transfer and throws Geannuleerd.
class HTTPTransport {
  public:
    virtual ~HTTPTransport() = default;
    virtual HTTPAntwoord verstuur(const HTTPVerzoek& verzoek, std::stop_token stop) = 0;
};

}  // namespace tolmo
