#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "Tolmo/linux/freedesktop/Sleutelbeheer.h"

namespace tolmo {

// The key vault of the Linux shell: one JSON file under the config folder that only its owner
// may read (mode 0600, written atomically). The environment variables OPENAI_API_KEY,
// MISTRAL_API_KEY and TOLMO_TOEGANGSCODE take precedence, so scripts and CI need no file.
class BestandsKluis final : public Sleutelbeheer {
  public:
    using Omgeving = std::function<std::optional<std::string>(const char*)>;

    explicit BestandsKluis(std::filesystem::path map, Omgeving omgeving = echteOmgeving);

    static std::optional<std::string> echteOmgeving(const char* naam);

    [[nodiscard]] std::optional<Gevonden> zoek(Soort soort) const override;
    // Throws std::system_error when the file cannot be written; the old file is then untouched.
    void zet(Soort soort, const std::string& waarde) override;
    bool wis(Soort soort) override;
    [[nodiscard]] std::string plek() const override { return bestand_.string(); }

    [[nodiscard]] const std::filesystem::path& bestand() const { return bestand_; }

  private:
    std::filesystem::path bestand_;
    Omgeving omgeving_;
};

}  // namespace tolmo
