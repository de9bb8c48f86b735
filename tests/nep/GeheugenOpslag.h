#pragma once

#include <map>
#include <string>
#include <vector>

#include "TolmoKern/Instellingen/SleutelWaardeOpslag.h"

namespace tolmo::nep {

// An in-memory key-value store that records the keys it was asked to set.
class GeheugenOpslag final : public SleutelWaardeOpslag {
  public:
    std::map<std::string, OpslagWaarde> waarden;
    std::vector<std::string> gezet;

    std::optional<OpslagWaarde> lees(const std::string& sleutel) const override {
        const auto it = waarden.find(sleutel);
        if (it == waarden.end()) {
            return std::nullopt;
        }
        return it->second;
    }
    void zet(const std::string& sleutel, OpslagWaarde waarde) override {
        gezet.push_back(sleutel);
        waarden[sleutel] = std::move(waarde);
    }
    void verwijder(const std::string& sleutel) override { waarden.erase(sleutel); }
};

}  // namespace tolmo::nep
