#pragma once

#include <optional>
#include <string>
#include <variant>

namespace tolmo {

// A value in a key-value store: a Boolean, or data (a document, kept as bytes in a string).
using OpslagWaarde = std::variant<bool, std::string>;

// A key-value store such as the user defaults of one suite. Implementations are used from the
// main thread only.
class SleutelWaardeOpslag {
  public:
    virtual ~SleutelWaardeOpslag() = default;
    [[nodiscard]] virtual std::optional<OpslagWaarde> lees(const std::string& sleutel) const = 0;
    virtual void zet(const std::string& sleutel, OpslagWaarde waarde) = 0;
    virtual void verwijder(const std::string& sleutel) = 0;
};

}  // namespace tolmo
