#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "TolmoKern/Instellingen/SleutelKluis.h"
#include "TolmoKern/Tekst/RuweWaarden.h"

namespace tolmo {

// A key vault the user changes: what the settings window and `tolmo sleutel` work with. The
// secrets are an API key per provider and the relay server's access code.
class Sleutelbeheer : public SleutelKluis {
  public:
    enum class Soort { openai, mistral, server };
    static constexpr RuweWaarden<Soort, 3> soortNamen{
        {{{Soort::openai, "openai"}, {Soort::mistral, "mistral"}, {Soort::server, "server"}}}};

    struct Gevonden {
        std::string waarde;
        // Where it came from, for the user: "sleutelbos", "bestand" or an environment variable.
        std::string bron;
    };

    // Throws std::exception when the store cannot be read (a locked keyring that stays locked).
    [[nodiscard]] virtual std::optional<Gevonden> zoek(Soort soort) const = 0;
    // Throws std::exception when the secret cannot be stored; what was stored stays.
    virtual void zet(Soort soort, const std::string& waarde) = 0;
    // Answers whether a stored value was removed.
    virtual bool wis(Soort soort) = 0;
    // Where zet stores, for the user's message: "de sleutelbos" or a file's path.
    [[nodiscard]] virtual std::string plek() const = 0;

    [[nodiscard]] std::optional<std::string> sleutel(Aanbieder aanbieder) const override;
    [[nodiscard]] std::optional<std::string> toegangscode() const override;

    static std::optional<Soort> soortUit(std::string_view naam) { return soortNamen.zoek(naam); }
    static std::string_view naam(Soort soort) { return soortNamen.naam(soort); }
    // The variable that takes precedence over what is stored, so scripts and CI need no store.
    static std::string_view omgevingsvariabele(Soort soort);
    // Enough of a secret to recognise it, never enough to use it: "sk-…wxyz".
    static std::string gemaskeerd(const std::string& waarde);
};

}  // namespace tolmo
