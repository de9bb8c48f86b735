#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "TolmoKern/Instellingen/SleutelKluis.h"
#include "TolmoKern/Tekst/RuweWaarden.h"

namespace tolmo {

// The key vault of the Linux shell: one JSON file under the config folder that only its owner
// may read (mode 0600, written atomically). The environment variables OPENAI_API_KEY,
// MISTRAL_API_KEY and TOLMO_TOEGANGSCODE take precedence, so scripts and CI need no file.
class BestandsKluis final : public SleutelKluis {
  public:
    enum class Soort { openai, mistral, server };
    static constexpr RuweWaarden<Soort, 3> soortNamen{
        {{{Soort::openai, "openai"}, {Soort::mistral, "mistral"}, {Soort::server, "server"}}}};

    struct Gevonden {
        std::string waarde;
        std::string bron;  // "bestand" or the name of the environment variable
    };

    using Omgeving = std::function<std::optional<std::string>(const char*)>;

    explicit BestandsKluis(std::filesystem::path map, Omgeving omgeving = echteOmgeving);

    static std::optional<std::string> echteOmgeving(const char* naam);
    static std::optional<Soort> soortUit(std::string_view naam);
    static std::string_view naam(Soort soort);
    static std::string_view omgevingsvariabele(Soort soort);

    [[nodiscard]] std::optional<std::string> sleutel(Aanbieder aanbieder) const override;
    [[nodiscard]] std::optional<std::string> toegangscode() const override;

    [[nodiscard]] std::optional<Gevonden> zoek(Soort soort) const;
    // Throws std::system_error when the file cannot be written; the old file is then untouched.
    void zet(Soort soort, const std::string& waarde);
    // Answers whether the file held a value for this kind.
    bool wis(Soort soort);

    [[nodiscard]] const std::filesystem::path& bestand() const { return bestand_; }

  private:
    std::filesystem::path bestand_;
    Omgeving omgeving_;
};

}  // namespace tolmo
