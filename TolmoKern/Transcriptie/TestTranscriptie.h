#pragma once

#include <string_view>

#include "TolmoKern/Transcriptie/TranscriptieMotor.h"

namespace tolmo {

// Needs no network and no key: answers with a sentence built from the recording's duration and
// level, so the whole chain can be tried anywhere.
class TestTranscriptie final : public TranscriptieMotor {
  public:
    static constexpr std::string_view beschrijving =
        "Geen internet en geen sleutel nodig. Je krijgt een testzin met de duur en het niveau van "
        "de opname.";

    std::string transcribeer(const Opname& opname, const std::vector<std::string>& woorden,
                             StopToken stop) override;
};

}  // namespace tolmo
