#pragma once

#include <string_view>

namespace tolmo {

// The engine choices offered in the settings, in the user's words.
enum class RouteKeuze { wereldwijd, europa, test };

struct Indicator {
    int waarde = 0;  // 1 (low) to 5 (high)
    std::string_view label;
};

// Three ratings per route choice, with the footnote shown under them.
struct EngineIndicatoren {
    Indicator kwaliteit;
    Indicator snelheid;
    Indicator privacy;

    static constexpr std::string_view voetnoot =
        "Gebaseerd op onze eerste tests; we meten dit verder.";
    static constexpr std::string_view privacyBuitenEU = "Verwerkt buiten de EU";
    static constexpr std::string_view privacyVSofEU = "Verwerkt in de VS of EU";
    static constexpr std::string_view privacyEUenEFTA = "Verwerkt in de EU en EFTA";
    static constexpr std::string_view privacyOpToestel = "Verlaat je iPhone niet";

    static EngineIndicatoren voor(RouteKeuze keuze);
};

std::string_view titel(RouteKeuze keuze);
std::string_view ondertitel(RouteKeuze keuze);
std::string_view beschrijving(RouteKeuze keuze);

}  // namespace tolmo
