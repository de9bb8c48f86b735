#pragma once

#include "Tolmo/Poorten/OpnameIndicator.h"

namespace tolmo::nep {

class NepIndicator final : public OpnameIndicator {
  public:
    bool zichtbaar = false;
    int keerGetoond = 0;

    void toon() override {
        zichtbaar = true;
        ++keerGetoond;
    }
    void verberg() override { zichtbaar = false; }
};

}  // namespace tolmo::nep
