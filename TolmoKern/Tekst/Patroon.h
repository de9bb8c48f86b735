#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tolmo {

// A regular expression in ICU syntax (\p{L}, look-behind, (?i)), compiled once and shared
// between threads: keep each one in a function-local static. Every call creates its own matcher,
// so concurrent use is safe. Input and output are UTF-8; offsets are byte offsets into the input.
class Patroon {
  public:
    struct Treffer {
        std::size_t begin = 0;  // byte offset of the match in the input
        std::size_t eind = 0;   // byte offset just past the match
        std::string tekst;
        std::vector<std::optional<std::string>> groepen;  // [0] is the whole match
    };

    // Throws std::invalid_argument for a pattern ICU rejects: that is a programming error.
    explicit Patroon(std::string_view patroon, bool hoofdletterOngevoelig = false);
    ~Patroon();
    Patroon(const Patroon&) = delete;
    Patroon& operator=(const Patroon&) = delete;

    [[nodiscard]] bool komtVoor(std::string_view tekst) const;
    [[nodiscard]] bool isVolledig(std::string_view tekst) const;
    [[nodiscard]] std::vector<Treffer> vindAlle(std::string_view tekst) const;
    // Replacement text in ICU syntax: $1 for a group, \$ for a dollar sign.
    [[nodiscard]] std::string vervangAlles(std::string_view tekst,
                                           std::string_view vervanging) const;
    // Replaces every match by what the function returns for it.
    [[nodiscard]] std::string vervangMet(std::string_view tekst,
                                         const std::function<std::string(const Treffer&)>& f) const;

  private:
    struct Icu;  // keeps ICU out of this header
    std::unique_ptr<Icu> icu_;
};

}  // namespace tolmo
