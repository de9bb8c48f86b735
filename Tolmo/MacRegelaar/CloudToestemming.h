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

    // A text a shell asks consent for, with its version.
    struct Tekst {
        std::int64_t versie = 0;
        std::string_view tekst;
    };
    // For a shell where the user picks the route (the Linux app): their own key at OpenAI or
    // Mistral, or the relay server. A version of its own, so a consent given for the relay-only
    // text above does not count for it.
    static constexpr Tekst eigenRoute{
        2,
        "Tolmo stuurt je opname na het dicteren naar de spraakdienst die je kiest bij "
        "Instellingen > Herkenning: OpenAI (VS) of Mistral (EU) met je eigen sleutel, of de "
        "server van Tolmo. Daar wordt de opname omgezet in tekst en, als opschonen aan staat, de "
        "tekst opgeschoond. Wat een dienst met je opname en tekst doet, staat in zijn "
        "voorwaarden. In de testmodus verlaat je opname de computer niet."};

    std::int64_t versie = 0;
    std::int64_t datum = 0;  // milliseconds since 1970

    // Absent when nothing readable is stored.
    static std::optional<CloudToestemming> laad(const SleutelWaardeOpslag& opslag);
    void bewaar(SleutelWaardeOpslag& opslag) const;

    // Given for the text the app shows now (the version of that text).
    [[nodiscard]] bool geldig(std::int64_t voor = huidigeVersie) const { return versie == voor; }
};

}  // namespace tolmo
