#pragma once

#include <optional>
#include <string>

namespace tolmo {

// Stage timings of one dictation, in seconds.
struct Tijden {
    double opname = 0;
    std::optional<double> transcriptie;
    std::optional<double> opschonen;
    std::optional<std::string> opschonenOvergeslagen;
    std::optional<std::string> opschonenHerhaald;
    std::optional<std::string> opschoonVerwerking;
    std::optional<double> opschoonDienstTijd;
    std::optional<double> totaal;

    // The log line: "Tijden: opname 3,4 s, upload+transcriptie 1,20 s, ..." (locale nl_NL).
    [[nodiscard]] std::string tekst() const;

    bool operator==(const Tijden&) const = default;
};

}  // namespace tolmo
