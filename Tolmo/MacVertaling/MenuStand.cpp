#include "Tolmo/MacVertaling/MenuStand.h"

#include "Tolmo/MacVertaling/EersteStart.h"

namespace tolmo {

std::string MenuStand::routeTekst(const TolmoInstellingen& instellingen) {
    switch (instellingen.motor) {
        case Motor::tolmo:
            return std::string("Route: Tolmo-server (") +
                   (instellingen.serverAanbieder == Aanbieder::openAI ? "OpenAI" : "Mistral") + ")";
        case Motor::openAI:
            return "Route: OpenAI (eigen sleutel)";
        case Motor::mistral:
            return "Route: Mistral (eigen sleutel)";
        case Motor::test:
            return "Route: testmodus (geen netwerk)";
    }
    return "Route: onbekend";
}

MenuStand MenuStand::van(DictaatRegelaar::Toestand toestand, const std::optional<Melding>& melding,
                         const TolmoInstellingen& instellingen,
                         const DictaatRegelaar::Toestemmingsstand& toestemmingen) {
    MenuStand m;
    m.toestemmingen = EersteStart::ontbrekend(toestemmingen);
    m.route = routeTekst(instellingen);
    m.opschonen = instellingen.opschonen;
    switch (toestand) {
        case DictaatRegelaar::Toestand::klaar:
            m.status = "Klaar om te dicteren";
            m.actie = Actie::start;
            m.actieTitel = "Start dicteren";
            break;
        case DictaatRegelaar::Toestand::neemtOp:
            m.status = "Neemt op…";
            m.actie = Actie::stop;
            m.actieTitel = "Stop dicteren";
            m.balkTeken = "●";
            break;
        case DictaatRegelaar::Toestand::verwerken:
            m.status = "Bezig met verwerken…";
            m.actie = Actie::annuleer;
            m.actieTitel = "Annuleren";
            m.balkTeken = "…";
            break;
    }
    // A message stands in for the idle line only: while something happens, that matters more.
    if (melding && toestand == DictaatRegelaar::Toestand::klaar) {
        m.status = melding->titel ? *melding->titel : melding->tekst;
    }
    return m;
}

GolfAnimatie::Stand MenuStand::golfStand(DictaatRegelaar::Toestand toestand) {
    switch (toestand) {
        case DictaatRegelaar::Toestand::neemtOp:
            return GolfAnimatie::Stand::luistert;
        case DictaatRegelaar::Toestand::verwerken:
            return GolfAnimatie::Stand::verwerkt;
        case DictaatRegelaar::Toestand::klaar:
            break;
    }
    return GolfAnimatie::Stand::rust;
}

}  // namespace tolmo
