#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

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

    // bewaar: how many of the newest lines are kept.
    explicit SleutelWaardeLogOpslag(SleutelWaardeOpslag& opslag, std::size_t bewaar,
                                    std::string sleutel = standaardSleutel);

    [[nodiscard]] std::vector<LogRegel> laad() const override;
    // A key-value store keeps a document, not lines: the store's copy in memory is appended to
    // and handed over whole; the system writes user defaults to disk on its own schedule.
    void voegToe(const LogRegel& regel) override;

    static std::string codeer(const std::vector<LogRegel>& regels);
    static std::vector<LogRegel> decodeer(const std::string& document);
    // One line as a JSON object, and back; nullopt for anything that is not a whole line.
    static nlohmann::json codeer(const LogRegel& regel);
    static std::optional<LogRegel> decodeer(const nlohmann::json& j);

  private:
    SleutelWaardeOpslag& opslag_;
    std::size_t bewaar_;
    std::string sleutel_;
    mutable std::optional<std::vector<LogRegel>> kopie_;
};

}  // namespace tolmo
