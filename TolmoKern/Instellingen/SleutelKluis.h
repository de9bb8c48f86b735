#pragma once

#include <optional>
#include <string>

#include "TolmoKern/Transcriptie/Motor.h"

namespace tolmo {

// Where the user's secrets live: an API key per provider and the relay server's access token.
class SleutelKluis {
  public:
    virtual ~SleutelKluis() = default;
    [[nodiscard]] virtual std::optional<std::string> sleutel(Aanbieder aanbieder) const = 0;
    [[nodiscard]] virtual std::optional<std::string> toegangscode() const = 0;
};

}  // namespace tolmo
