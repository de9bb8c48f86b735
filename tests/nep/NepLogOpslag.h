#pragma once

#include <vector>

#include "Tolmo/Poorten/LogOpslag.h"

namespace tolmo::nep {

class NepLogOpslag final : public LogOpslag {
  public:
    std::vector<LogRegel> opgeslagen;
    int bewaard = 0;

    std::vector<LogRegel> laad() const override { return opgeslagen; }
    void bewaar(const std::vector<LogRegel>& regels) override {
        ++bewaard;
        opgeslagen = regels;
    }
};

}  // namespace tolmo::nep
