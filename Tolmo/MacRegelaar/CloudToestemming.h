#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "TolmoKern/Instellingen/SleutelWaardeOpslag.h"

namespace tolmo {

// The user's consent to send their recordings to the speech service. Stored with the version of
// the text they agreed to, so that a changed text asks again.
struct CloudToestemming {
    static constexpr std::string_view sleutel = "toestemming.cloud";
    static constexpr std::int64_t huidigeVersie = 1;
    static constexpr std::string_view tekst =
        "Tolmo stuurt je opname na het dicteren naar een spraakdienst in de EU, via de server "
        "van Tolmo. Daar wordt de opname omgezet in tekst en de tekst opgeschoond. Opnames en "
        "teksten worden niet bewaard en niet gebruikt om modellen te trainen.";

    std::int64_t versie = 0;
    std::int64_t datum = 0;  // milliseconds since 1970

    // Absent when nothing readable is stored.
    static std::optional<CloudToestemming> laad(const SleutelWaardeOpslag& opslag);
    void bewaar(SleutelWaardeOpslag& opslag) const;

    // Given for the text the app shows now.
    [[nodiscard]] bool geldig() const { return versie == huidigeVersie; }
};

}  // namespace tolmo
