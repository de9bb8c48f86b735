#pragma once

#include <cstdint>
#include <functional>

namespace tolmo {

// Modifier flags with exactly the bits of the platform's keyboard event flags, so a raw flags
// word from an event tap, the session flag state or an event monitor is used without conversion.
// The generic bits say that some key of a kind is down; the low device bits tell left from right.
struct ToetsVlaggen {
    std::uint64_t ruw = 0;

    static constexpr std::uint64_t shift = 0x20000;
    static constexpr std::uint64_t control = 0x40000;
    static constexpr std::uint64_t option = 0x80000;
    static constexpr std::uint64_t command = 0x100000;
    static constexpr std::uint64_t fn = 0x800000;
    static constexpr std::uint64_t linkerControl = 0x1;
    static constexpr std::uint64_t rechterControl = 0x2000;
    static constexpr std::uint64_t linkerCommand = 0x8;
    static constexpr std::uint64_t rechterCommand = 0x10;
    static constexpr std::uint64_t linkerOption = 0x20;
    static constexpr std::uint64_t rechterOption = 0x40;
    static constexpr std::uint64_t hoofdModificaties = 0x1e0000;

    [[nodiscard]] constexpr bool bevat(std::uint64_t bits) const { return (ruw & bits) == bits; }
    [[nodiscard]] constexpr bool bevatEen(std::uint64_t bits) const { return (ruw & bits) != 0; }

    bool operator==(const ToetsVlaggen&) const = default;
};

}  // namespace tolmo

template <>
struct std::hash<tolmo::ToetsVlaggen> {
    std::size_t operator()(const tolmo::ToetsVlaggen& v) const noexcept {
        return std::hash<std::uint64_t>{}(v.ruw);
    }
};
