#pragma once

#include <vector>

#include "Tolmo/Poorten/LogOpslag.h"

namespace tolmo::nep {

class NepLogOpslag final : public LogOpslag {
  public:
    std::vector<LogRegel> opgeslagen;

    std::vector<LogRegel> laad() const override { return opgeslagen; }
    void voegToe(const LogRegel& regel) override { opgeslagen.push_back(regel); }
};

}  // namespace tolmo::nep
