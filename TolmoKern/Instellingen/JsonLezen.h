#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "TolmoKern/Tekst/RuweWaarden.h"

namespace tolmo {

// Strict, non-throwing readers for persisted JSON: each answers nothing when the value is not of
// the expected type, so the caller can keep its default.
class JsonLezen {
  public:
    static std::optional<bool> boolean(const nlohmann::json& j) {
        if (!j.is_boolean()) {
            return std::nullopt;
        }
        return j.get<bool>();
    }

    static std::optional<std::int64_t> geheel(const nlohmann::json& j) {
        if (j.is_number_unsigned()) {
            const auto u = j.get<std::uint64_t>();
            if (u > static_cast<std::uint64_t>(INT64_MAX)) {
                return std::nullopt;
            }
            return static_cast<std::int64_t>(u);
        }
        if (j.is_number_integer()) {
            return j.get<std::int64_t>();
        }
        // A whole number written as 3.0 is still that number.
        if (j.is_number_float()) {
            const double d = j.get<double>();
            if (d >= -9.2e18 && d <= 9.2e18 &&
                static_cast<double>(static_cast<std::int64_t>(d)) == d) {
                return static_cast<std::int64_t>(d);
            }
        }
        return std::nullopt;
    }

    // Dates as milliseconds since 1970; fractions of a millisecond are dropped.
    static std::optional<std::int64_t> datumMs(const nlohmann::json& j) {
        if (j.is_number_float()) {
            const double d = j.get<double>();
            if (d >= -9.2e18 && d <= 9.2e18) {
                return static_cast<std::int64_t>(d);
            }
            return std::nullopt;
        }
        return geheel(j);
    }

    static std::optional<std::string> tekst(const nlohmann::json& j) {
        if (!j.is_string()) {
            return std::nullopt;
        }
        return j.get<std::string>();
    }

    static std::optional<std::vector<std::string>> teksten(const nlohmann::json& j) {
        if (!j.is_array()) {
            return std::nullopt;
        }
        std::vector<std::string> uit;
        uit.reserve(j.size());
        for (const auto& e : j) {
            if (!e.is_string()) {
                return std::nullopt;
            }
            uit.push_back(e.get<std::string>());
        }
        return uit;
    }

    template <typename E, std::size_t N>
    static std::optional<E> keuze(const nlohmann::json& j, const RuweWaarden<E, N>& waarden) {
        if (!j.is_string()) {
            return std::nullopt;
        }
        return waarden.zoek(j.get_ref<const std::string&>());
    }

    // An object whose every value decodes with f.
    template <typename T, typename F>
    static std::optional<std::map<std::string, T>> woordenboek(const nlohmann::json& j, F f) {
        if (!j.is_object()) {
            return std::nullopt;
        }
        std::map<std::string, T> uit;
        for (const auto& [sleutel, waarde] : j.items()) {
            std::optional<T> v = f(waarde);
            if (!v) {
                return std::nullopt;
            }
            uit.emplace(sleutel, std::move(*v));
        }
        return uit;
    }
};

}  // namespace tolmo
