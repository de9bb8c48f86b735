#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>

#include "TolmoKern/Keten/Tijden.h"

namespace tolmo {

// What one dictation produced: the text to paste, the engine's transcript as it came, the
// timings, why the cleaner's output was not used (when it was not), and how often each
// replacement of the word list was applied.
struct KetenResultaat {
    std::string tekst;
    std::string ruw;
    Tijden tijden;
    std::optional<std::string> opschoonProbleem;
    std::map<std::string, std::int64_t> toepassingen;

    bool operator==(const KetenResultaat&) const = default;
};

}  // namespace tolmo
