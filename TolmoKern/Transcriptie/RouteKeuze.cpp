#include "TolmoKern/Transcriptie/RouteKeuze.h"

namespace tolmo {

std::string_view titel(RouteKeuze keuze) {
    switch (keuze) {
        case RouteKeuze::wereldwijd:
            return "Wereldwijd";
        case RouteKeuze::europa:
            return "EU-modus";
        case RouteKeuze::test:
            return "Testmodus";
    }
    return {};
}

std::string_view ondertitel(RouteKeuze keuze) {
    switch (keuze) {
        case RouteKeuze::wereldwijd:
            return "Via OpenAI (VS), met je eigen sleutel";
        case RouteKeuze::europa:
            return "Via Mistral (EU), met je eigen sleutel";
        case RouteKeuze::test:
            return "Voor het testen van de keten";
    }
    return {};
}

std::string_view beschrijving(RouteKeuze keuze) {
    switch (keuze) {
        case RouteKeuze::wereldwijd:
            return "Beste herkenning en opschoning.";
        case RouteKeuze::europa:
            return "Je spraak wordt verwerkt in datacenters in de EU en EFTA. De herkenning kan "
                   "iets minder goed zijn.";
        case RouteKeuze::test:
            return "Geen internet en geen sleutel nodig. Je krijgt een testzin met de duur en het "
                   "niveau van de opname.";
    }
    return {};
}

EngineIndicatoren EngineIndicatoren::voor(RouteKeuze keuze) {
    switch (keuze) {
        case RouteKeuze::wereldwijd:
            return {{5, "Uitstekend"}, {4, "Snel"}, {2, privacyBuitenEU}};
        case RouteKeuze::europa:
            return {{4, "Goed"}, {4, "Snel"}, {4, privacyEUenEFTA}};
        case RouteKeuze::test:
            return {{1, "Alleen een testzin"}, {5, "Direct"}, {5, "Verlaat je computer niet"}};
    }
    return {};
}

}  // namespace tolmo
