#pragma once

#include <string>
#include <vector>

#include "Tolmo/Poorten/OpnameIndicator.h"

namespace tolmo::nep {

class NepIndicator final : public OpnameIndicator {
  public:
    bool zichtbaar = false;
    std::vector<std::string> verzoeken;

    void toon() override {
        zichtbaar = true;
        verzoeken.emplace_back("toon");
    }
    void verberg() override {
        zichtbaar = false;
        verzoeken.emplace_back("verberg");
    }
};

}  // namespace tolmo::nep
