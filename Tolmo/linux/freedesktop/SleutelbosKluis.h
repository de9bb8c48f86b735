#pragma once

#include <chrono>
#include <filesystem>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>

#include "Tolmo/linux/freedesktop/BestandsKluis.h"
#include "Tolmo/linux/freedesktop/Sleutelbeheer.h"

namespace tolmo {

// The key vault in the user's keyring, over the Secret Service on the session bus (GNOME
// Keyring, KWallet) through libsecret. One item per kind of secret in the default collection,
// found by the attribute "soort". The environment variables take precedence, as in the file
// vault. Keys still in the old file (one that could not be moved) are found after the keyring's,
// and leave the file as soon as the keyring holds them.
//
// The vault checks over a connection of its own that the bus it was given has a Secret Service;
// libsecret then speaks over the process's session bus (the same bus, found from the same
// environment). Every call runs on a main context of its own, so it neither depends on nor
// disturbs the caller's main loop, and it blocks the caller: a call that waits for the keyring's
// unlock prompt is cancelled after `geduld`.
//
// New keys go to the keyring's default collection. A session whose keyring was not unlocked at
// login may have none, or a locked one: zet then asks the keyring to create or unlock it, which
// shows the keyring's own password prompt. When that fails or the user dismisses it, the key goes
// to the file (when the vault has one) and plek says so and why.
class SleutelbosKluis final : public Sleutelbeheer {
  public:
    // Thrown when there is no Secret Service on the bus (nor one the bus would start).
    class GeenDienst : public std::runtime_error {
      public:
        using std::runtime_error::runtime_error;
    };

    // Connects and checks that a Secret Service answers. Throws GeenDienst when none runs or can
    // be started, std::runtime_error when the bus or the service fails or hangs; within `snel`
    // when there is none, within ten times `snel` when one is there but does not answer.
    SleutelbosKluis(const std::string& busAdres, BestandsKluis::Omgeving omgeving,
                    std::optional<std::filesystem::path> oudeMap = std::nullopt,
                    std::chrono::milliseconds snel = std::chrono::milliseconds(500),
                    std::chrono::milliseconds geduld = std::chrono::minutes(2));
    ~SleutelbosKluis() override;
    SleutelbosKluis(const SleutelbosKluis&) = delete;
    SleutelbosKluis& operator=(const SleutelbosKluis&) = delete;

    // Throws std::runtime_error when the keyring cannot be read (locked and not unlocked).
    [[nodiscard]] std::optional<Gevonden> zoek(Soort soort) const override;
    void zet(Soort soort, const std::string& waarde) override;
    bool wis(Soort soort) override;
    [[nodiscard]] std::string plek() const override;

    // Moves every key of the old file into the keyring. A key that cannot be moved stays in the
    // file (and is still found); answers how many moved.
    int neemBestandOver();

  private:
    // What the keyring itself holds, without the environment or the file.
    [[nodiscard]] std::optional<std::string> uitSleutelbos(Soort soort) const;
    // Whether the default collection is there and unlocked. With `vraag`, a missing one is
    // created and a locked one unlocked through the keyring's prompt; answers why not, if not.
    // Throws std::runtime_error starting with `wat` when the keyring does not answer.
    [[nodiscard]] std::optional<std::string> geenStandaardVerzameling(bool vraag,
                                                                      const std::string& wat) const;
    void bewaarInSleutelbos(Soort soort, const std::string& waarde);

    struct Staat;
    std::unique_ptr<Staat> s_;
    BestandsKluis::Omgeving omgeving_;
    // The old file, read without the environment: only what it holds itself.
    std::optional<BestandsKluis> oud_;
    // Why the last key went to the file instead of the keyring.
    std::optional<std::string> uitgeweken_;
};

}  // namespace tolmo
