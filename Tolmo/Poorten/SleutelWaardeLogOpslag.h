#pragma once

#include <string>
#include <vector>

#include "Tolmo/Poorten/LogOpslag.h"
#include "TolmoKern/Instellingen/SleutelWaardeOpslag.h"

namespace tolmo {

// Keeps the application log as one JSON document under one key of a key-value store: on macOS
// the app group's user defaults, so every process of the product reads the same log. Entries
// that cannot be read (a hand-edited or half-written document) are skipped one by one; the
// rest of the log survives.
class SleutelWaardeLogOpslag final : public LogOpslag {
  public:
    static constexpr const char* standaardSleutel = "logboek";

    explicit SleutelWaardeLogOpslag(SleutelWaardeOpslag& opslag,
                                    std::string sleutel = standaardSleutel);

    [[nodiscard]] std::vector<LogRegel> laad() const override;
    void bewaar(const std::vector<LogRegel>& regels) override;

    static std::string codeer(const std::vector<LogRegel>& regels);
    static std::vector<LogRegel> decodeer(const std::string& document);

  private:
    SleutelWaardeOpslag& opslag_;
    std::string sleutel_;
};

}  // namespace tolmo
