#pragma once

#include "Tolmo/Poorten/Toestemmingen.h"

namespace tolmo::nep {

class NepToestemmingen final : public Toestemmingen {
  public:
    bool mic = true;
    bool invoer = true;
    bool toegang = true;

    bool microfoon() const override { return mic; }
    bool invoermonitoring() const override { return invoer; }
    bool toegankelijkheid() const override { return toegang; }
};

}  // namespace tolmo::nep
