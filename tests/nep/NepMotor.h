#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "TolmoKern/Transcriptie/HerkenningsFout.h"
#include "TolmoKern/Transcriptie/TranscriptieMotor.h"

namespace tolmo::nep {

// An engine that answers a scripted transcript or throws a scripted error, and records its calls.
class NepMotor final : public TranscriptieMotor {
  public:
    struct Log {
        int aanroepen = 0;
        std::vector<std::string> woorden;
    };

    explicit NepMotor(std::string antwoord, std::shared_ptr<Log> log = std::make_shared<Log>())
        : antwoord_(std::move(antwoord)), log_(std::move(log)) {}

    std::optional<HerkenningsFout> fout;
    // Runs during the call, before answering (for example to request a stop).
    std::function<void()> tijdensAanroep;

    std::string transcribeer(const Opname&, const std::vector<std::string>& woorden,
                             StopToken) override {
        ++log_->aanroepen;
        log_->woorden = woorden;
        if (tijdensAanroep) {
            tijdensAanroep();
        }
        if (fout) {
            throw *fout;
        }
        return antwoord_;
    }

    [[nodiscard]] const std::shared_ptr<Log>& log() const { return log_; }

  private:
    std::string antwoord_;
    std::shared_ptr<Log> log_;
};

}  // namespace tolmo::nep
