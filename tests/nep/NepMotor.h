#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "TolmoKern/Transcriptie/HerkenningsFout.h"
#include "TolmoKern/Transcriptie/TranscriptieMotor.h"

namespace tolmo::nep {

// An engine that answers a scripted transcript or throws a scripted error, and records its calls.
class NepMotor final : public TranscriptieMotor {
  public:
    explicit NepMotor(std::string antwoord) : antwoord_(std::move(antwoord)) {}

    int aanroepen = 0;
    std::vector<std::string> woorden;  // of the last call
    std::optional<HerkenningsFout> fout;
    // Runs during the call, before answering (for example to request a stop).
    std::function<void()> tijdensAanroep;

    std::string transcribeer(const Opname&, const std::vector<std::string>& w, StopToken) override {
        ++aanroepen;
        woorden = w;
        if (tijdensAanroep) {
            tijdensAanroep();
        }
        if (fout) {
            throw *fout;
        }
        return antwoord_;
    }

  private:
    std::string antwoord_;
};

}  // namespace tolmo::nep
