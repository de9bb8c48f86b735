#pragma once

#include <atomic>
#include <cstdint>
#include <memory>

#include "TolmoKern/Transcriptie/HTTPTransport.h"

namespace tolmo::cli {

// Passes every request on to another transport and keeps, for a progress display on another
// thread, how far the request under way is: bytes sent of how many, and whether it is a chat
// request (the cleanup) rather than the transcription.
class VoortgangTransport final : public HTTPTransport {
  public:
    struct Stand {
        bool bezig = false;
        bool opschonen = false;
        std::int64_t verstuurd = 0;
        std::int64_t totaal = 0;
    };

    explicit VoortgangTransport(std::shared_ptr<HTTPTransport> binnen)
        : binnen_(std::move(binnen)) {}

    HTTPAntwoord verstuur(HTTPVerzoek verzoek, StopToken stop) override;

    [[nodiscard]] Stand stand() const;

  private:
    std::shared_ptr<HTTPTransport> binnen_;
    std::atomic<bool> bezig_{false};
    std::atomic<bool> opschonen_{false};
    std::atomic<std::int64_t> verstuurd_{0};
    std::atomic<std::int64_t> totaal_{0};
};

}  // namespace tolmo::cli
