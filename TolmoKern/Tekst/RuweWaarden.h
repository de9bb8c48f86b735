#pragma once

#include <array>
#include <optional>
#include <string_view>
#include <utility>

namespace tolmo {

// Maps the cases of an enumeration to their persisted raw strings and back. Every persisted
// enumeration has one constexpr table, so a case and its raw value are written down once.
template <typename E, std::size_t N>
struct RuweWaarden {
    std::array<std::pair<E, std::string_view>, N> rijen;

    [[nodiscard]] constexpr std::string_view naam(E waarde) const {
        for (const auto& [e, n] : rijen) {
            if (e == waarde) {
                return n;
            }
        }
        return {};
    }

    [[nodiscard]] constexpr std::optional<E> zoek(std::string_view ruw) const {
        for (const auto& [e, n] : rijen) {
            if (n == ruw) {
                return e;
            }
        }
        return std::nullopt;
    }
};

}  // namespace tolmo
