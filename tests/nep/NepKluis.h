#pragma once

#include <map>
#include <optional>
#include <string>

#include "TolmoKern/Instellingen/SleutelKluis.h"

namespace tolmo::nep {

class NepKluis final : public SleutelKluis {
  public:
    std::map<Aanbieder, std::string> sleutels;
    std::optional<std::string> code;

    std::optional<std::string> sleutel(Aanbieder a) const override {
        const auto it = sleutels.find(a);
        if (it == sleutels.end()) {
            return std::nullopt;
        }
        return it->second;
    }
    std::optional<std::string> toegangscode() const override { return code; }
};

}  // namespace tolmo::nep
