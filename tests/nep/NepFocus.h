#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "Tolmo/Poorten/Focus.h"

namespace tolmo::nep {

// A field known by a number; two handles with the same number are the same field, as two
// accessibility references to one element are. Its kind is whatever the test says.
class NepVeldIdentiteit final : public FocusVeld::Identiteit {
  public:
    NepVeldIdentiteit(int nummer, InvoerSoort soort, bool geheim)
        : nummer_(nummer), soort_(soort), geheim_(geheim) {}
    bool gelijkAan(const Identiteit& ander) const override {
        const auto* a = dynamic_cast<const NepVeldIdentiteit*>(&ander);
        return a != nullptr && a->nummer_ == nummer_;
    }
    InvoerSoort soort() const override { return soort_; }
    bool geheim() const override { return geheim_; }

  private:
    int nummer_;
    InvoerSoort soort_;
    bool geheim_;
};

inline Doel nepDoel(std::int32_t procesId, std::optional<std::string> bundleId,
                    std::optional<int> veld, InvoerSoort soort = InvoerSoort::gewoon,
                    bool geheim = false) {
    Doel d;
    d.procesId = procesId;
    d.bundleId = std::move(bundleId);
    if (veld) {
        d.veld = FocusVeld(std::make_shared<NepVeldIdentiteit>(*veld, soort, geheim));
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
