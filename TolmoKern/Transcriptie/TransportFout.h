#pragma once

#include <exception>
#include <string>

namespace tolmo {

// Why a request failed below HTTP, in the vocabulary every transport maps its own errors to.
enum class UrlFout {
    timedOut,
    badServerResponse,
    cannotParseResponse,
    badURL,
    cannotFindHost,
    cannotConnectToHost,
    dnsLookupFailed,
    secureConnectionFailed,
    notConnectedToInternet,
    overig,
};

// Thrown by an HTTPTransport when no HTTP response could be had. detail is for the log only.
class TransportFout : public std::exception {
  public:
    explicit TransportFout(UrlFout code, std::string detail = {})
        : code_(code), detail_(std::move(detail)) {}

    [[nodiscard]] UrlFout code() const { return code_; }
    [[nodiscard]] const std::string& detail() const { return detail_; }
    [[nodiscard]] const char* what() const noexcept override { return detail_.c_str(); }

  private:
    UrlFout code_;
    std::string detail_;
};

}  // namespace tolmo
