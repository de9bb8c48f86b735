#pragma once

#include <cstdint>
#include <string>

namespace tolmo {

// What the key vault does with a Keychain result code (OSStatus, from Security's SecBase.h).
// An absent item is an ordinary answer, not a failure; adding an item that already exists means
// updating it instead; every other code is a failure the user gets told about in Dutch.
struct SleutelhangerStatus {
    static constexpr std::int32_t gelukt = 0;
    static constexpr std::int32_t geannuleerd = -128;         // errSecUserCanceled
    static constexpr std::int32_t geweigerd = -25293;         // errSecAuthFailed
    static constexpr std::int32_t bestaatAl = -25299;         // errSecDuplicateItem
    static constexpr std::int32_t nietGevonden = -25300;      // errSecItemNotFound
    static constexpr std::int32_t geenInteractie = -25308;    // errSecInteractionNotAllowed
    static constexpr std::int32_t rechtenOntbreken = -34018;  // errSecMissingEntitlement

    enum class Lezen { waarde, afwezig, fout };
    enum class Schrijven { klaar, bijwerken, fout };

    static Lezen naLezen(std::int32_t status);
    static Schrijven naToevoegen(std::int32_t status);
    // A full Dutch sentence for a failure.
    static std::string melding(std::int32_t status);
};

}  // namespace tolmo
