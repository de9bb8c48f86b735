#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace tolmo {

// What a cleaning changed, as shown to the user: hesitations removed (how many), a spoken
// self-correction (what was said first, what replaced it), or a general tidy.
class Opschoonlabel {
  public:
    struct EhWeggehaald {
        std::int64_t aantal = 0;
        bool operator==(const EhWeggehaald&) const = default;
    };
    struct Zelfcorrectie {
        std::string eerst;
        std::string daarna;
        bool operator==(const Zelfcorrectie&) const = default;
    };
    struct Opgeschoond {
        bool operator==(const Opgeschoond&) const = default;
    };
    using Waarde = std::variant<EhWeggehaald, Zelfcorrectie, Opgeschoond>;

    static Opschoonlabel ehWeggehaald(std::int64_t aantal) {
        return Opschoonlabel(EhWeggehaald{aantal});
    }
    static Opschoonlabel zelfcorrectie(std::string eerst, std::string daarna) {
        return Opschoonlabel(Zelfcorrectie{std::move(eerst), std::move(daarna)});
    }
    static Opschoonlabel opgeschoond() { return Opschoonlabel(Opgeschoond{}); }

    [[nodiscard]] const Waarde& waarde() const { return waarde_; }

    bool operator==(const Opschoonlabel&) const = default;

    // The hesitation words counted as removed. Wider than the rule cleaner's own set on
    // purpose: a language model also drops "um", "ehh" and "mmm", and the user should see that.
    static constexpr std::array<std::string_view, 11> aarzelingen{
        "eh", "ehm", "uh", "uhm", "um", "hmm", "euh", "äh", "ähm", "ehh", "mmm"};

  private:
    explicit Opschoonlabel(Waarde w) : waarde_(std::move(w)) {}

    Waarde waarde_;
};

// The labels for a cleaning that turned ruw into opgeschoond; empty when nothing changed.
std::vector<Opschoonlabel> opschoonlabels(std::string_view ruw, std::string_view opgeschoond);

// Finds "<A> nee <B>" in the raw words (fillers already removed) where the cleaned words are
// the raw words without "<A> nee", and returns what the speaker replaced: A by B, with the
// words they share at both ends trimmed off.
std::optional<Opschoonlabel> zoekZelfcorrectie(const std::vector<std::string>& ruw,
                                               const std::vector<std::string>& opgeschoond);

// For test output and logs.
std::ostream& operator<<(std::ostream& os, const Opschoonlabel& label);

}  // namespace tolmo

template <>
struct std::hash<tolmo::Opschoonlabel> {
    std::size_t operator()(const tolmo::Opschoonlabel& label) const noexcept;
};
