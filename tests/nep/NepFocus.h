#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "Tolmo/Poorten/Focus.h"

namespace tolmo::nep {

// A field known by a number; two handles with the same number are the same field, as two
// accessibility references to one element are.
class NepVeldIdentiteit final : public FocusVeld::Identiteit {
  public:
    explicit NepVeldIdentiteit(int nummer) : nummer_(nummer) {}
    bool gelijkAan(const Identiteit& ander) const override {
        const auto* a = dynamic_cast<const NepVeldIdentiteit*>(&ander);
        return a != nullptr && a->nummer_ == nummer_;
    }

  private:
    int nummer_;
};

inline FocusVeld nepVeld(int nummer) {
    return FocusVeld(std::make_shared<NepVeldIdentiteit>(nummer));
}

inline Doel nepDoel(std::int32_t procesId, std::optional<std::string> bundleId,
                    std::optional<int> veld) {
    Doel d;
    d.procesId = procesId;
    d.bundleId = std::move(bundleId);
    if (veld) {
        d.veld = nepVeld(*veld);
    }
    return d;
}

// Whatever the test puts in front.
class NepFocus final : public Focus {
  public:
    std::optional<Doel> doel;
    std::optional<Doel> huidig() const override { return doel; }
};

}  // namespace tolmo::nep
