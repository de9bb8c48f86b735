#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace tolmo {

// The word list's replacement step: each written form replaces its spoken variants.
class Vervangingen {
  public:
    using Tabel = std::map<std::string, std::vector<std::string>>;

    // A variant is replaced where it stands as a whole word (no letter or digit glued to it),
    // ignoring case. Longer variants go first, and text that has been replaced is never matched
    // again, so "jan de vries" wins over "jan" and a written form never feeds another entry.
    // Each replacement adds one to its written form's count in toepassingen.
    static std::string pasToe(const std::string& tekst, const Tabel& tabel,
                              std::map<std::string, std::int64_t>& toepassingen);
};

}  // namespace tolmo
