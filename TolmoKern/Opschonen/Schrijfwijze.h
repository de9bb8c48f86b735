#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace tolmo {

// Example sentences for the entries of the user's word list, so that whatever consumes them
// (a speech model's prompt, a keyboard's suggestions) meets each term in a natural context.
class Schrijfwijze {
  public:
    // At most this many terms are used.
    static constexpr std::size_t maxTermen = 100;

    // Trimmed, non-empty entries, each term once regardless of case (the first spelling
    // wins), at most the first 100.
    static std::vector<std::string> genormaliseerdeTermen(const std::vector<std::string>& lijst);
    // Sentences around one term, chosen by whether it looks like a name, a verb or a noun.
    static std::vector<std::string> voorbeeldzinnen(std::string_view woord);
    // SHA-256 of the normalised terms joined by "\n", in lower-case hex: a consumer compares
    // it with the one it stored to see whether the list changed.
    static std::string vingerafdruk(const std::vector<std::string>& lijst);
};

}  // namespace tolmo
