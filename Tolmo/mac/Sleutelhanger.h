#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "TolmoKern/Instellingen/SleutelKluis.h"

namespace tolmo {

// The key vault in the user's Keychain: one generic password per secret under the service
// "app.tolmo", with the account "openai", "mistral" or "server" (the relay access token).
// A secret that cannot be read counts as absent; writing reports its failure in Dutch.
//
// The chain is built on the main thread when a recording stops, and a Keychain read can wait
// on the system (a locked keychain, an access prompt). So the vault answers from a copy read
// on a background queue: ververs() starts a read (the shell calls it when a recording begins
// and at launch) and zet/wis update the copy at once. Only when no read has finished yet does
// an answer read the Keychain on the calling thread.
class Sleutelhanger final : public SleutelKluis {
  public:
    static constexpr std::string_view dienst = "app.tolmo";

    Sleutelhanger();
    ~Sleutelhanger() override;
    Sleutelhanger(const Sleutelhanger&) = delete;
    Sleutelhanger& operator=(const Sleutelhanger&) = delete;

    [[nodiscard]] std::optional<std::string> sleutel(Aanbieder aanbieder) const override;
    [[nodiscard]] std::optional<std::string> toegangscode() const override;

    // Reads every secret again, off the calling thread.
    void ververs();

    [[nodiscard]] static std::optional<std::string> lees(std::string_view account);
    // Throws std::runtime_error with a Dutch message when the Keychain refuses.
    void zet(std::string_view account, const std::string& waarde);
    void wis(std::string_view account);

    struct Kopie;

  private:
    [[nodiscard]] std::optional<std::string> uitKopie(std::string_view account) const;
    std::shared_ptr<Kopie> kopie_;
};

}  // namespace tolmo
