#pragma once

#include <optional>
#include <vector>

#include "Tolmo/Poorten/Meldingen.h"

namespace tolmo::nep {

// Every message shown, in order, and the one on screen now.
class NepMeldingen final : public Meldingen {
  public:
    std::vector<Melding> getoond;
    std::optional<Melding> zichtbaar;

    void toon(const Melding& m) override {
        getoond.push_back(m);
        zichtbaar = m;
    }
    void wis() override { zichtbaar.reset(); }
};

}  // namespace tolmo::nep
