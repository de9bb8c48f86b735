#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include <nlohmann/json.hpp>

namespace tolmo {

// The toggle combination: one ordinary key plus modifiers. Persisted as
// {"toetscode": n, "modificaties": bits, "label": "D"}, with the compact modifier encoding below
// (independent of any platform's flag bits).
struct Toetscombinatie {
    struct Modificaties {
        std::uint32_t ruw = 0;
        static constexpr std::uint32_t control = 1;
        static constexpr std::uint32_t option = 2;
        static constexpr std::uint32_t shift = 4;
        static constexpr std::uint32_t command = 8;

        [[nodiscard]] constexpr bool bevat(std::uint32_t bits) const {
            return (ruw & bits) == bits;
        }
        bool operator==(const Modificaties&) const = default;
    };

    std::uint32_t toetscode = 0;
    Modificaties modificaties;
    std::string label;

    // Modifier symbols in the order ⌃⌥⇧⌘, then the label: control+option+D gives "⌃⌥D".
    [[nodiscard]] std::string weergave() const;
    // Needs Control, Option or Command (Shift alone is not enough) and a label.
    [[nodiscard]] bool isGeldig() const;
    // The modifiers in the Carbon hot-key encoding.
    [[nodiscard]] std::uint32_t carbonModificaties() const;
    // The label of a key from its key code and its characters ignoring modifiers.
    static std::string toetsLabel(std::uint32_t toetscode,
                                  const std::optional<std::string>& tekens);

    [[nodiscard]] nlohmann::json naarJson() const;
    // Empty when the value is not a complete, well-typed combination.
    static std::optional<Toetscombinatie> uitJson(const nlohmann::json& j);

    bool operator==(const Toetscombinatie&) const = default;
};

}  // namespace tolmo

template <>
struct std::hash<tolmo::Toetscombinatie> {
    std::size_t operator()(const tolmo::Toetscombinatie& c) const noexcept {
        std::size_t h =
            std::hash<std::uint64_t>{}((std::uint64_t{c.toetscode} << 32) | c.modificaties.ruw);
        return h ^
               (std::hash<std::string>{}(c.label) + 0x9e3779b97f4a7c15ULL + (h << 6) + (h >> 2));
    }
};
