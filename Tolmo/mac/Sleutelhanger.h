#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "TolmoKern/Instellingen/SleutelKluis.h"

namespace tolmo {

// The key vault in the user's Keychain: one generic password per secret under the service
// "app.tolmo", with the account "openai", "mistral" or "server" (the relay access token).
// A secret that cannot be read counts as absent; writing reports its failure in Dutch.
class Sleutelhanger final : public SleutelKluis {
  public:
    static constexpr std::string_view dienst = "app.tolmo";

    [[nodiscard]] std::optional<std::string> sleutel(Aanbieder aanbieder) const override;
    [[nodiscard]] std::optional<std::string> toegangscode() const override;

    [[nodiscard]] static std::optional<std::string> lees(std::string_view account);
    // Throws std::runtime_error with a Dutch message when the Keychain refuses.
    static void zet(std::string_view account, const std::string& waarde);
    static void wis(std::string_view account);
};

}  // namespace tolmo
