#pragma once

#include <array>
#include <string>
#include <vector>

namespace tolmo {

// The user's own writing samples (messages they wrote), shown to the language model so that
// the cleaned text follows their habits of tone, punctuation and capitals.
struct Schrijfstijl {
    // How many samples the prompt shows, and how long each may be.
    static constexpr std::size_t aantalVoorbeelden = 3;
    static constexpr std::size_t maxTekens = 400;

    std::vector<std::string> voorbeelden;

    // The first three samples, each cut to its first 400 characters (grapheme clusters, so an
    // accent or emoji is never split), padded with empty strings to exactly three.
    [[nodiscard]] std::array<std::string, aantalVoorbeelden> genormaliseerd() const {
        return genormaliseerdeVoorbeelden(voorbeelden);
    }

    static std::array<std::string, aantalVoorbeelden> genormaliseerdeVoorbeelden(
        const std::vector<std::string>& voorbeelden);

    bool operator==(const Schrijfstijl&) const = default;
};

}  // namespace tolmo
