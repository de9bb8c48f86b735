#include "Tolmo/MacVertaling/EersteStart.h"

namespace tolmo {

std::optional<EersteStart::Vraag> EersteStart::vraag(const DictaatRegelaar::Toestemmingsstand& nu,
                                                     bool alGevraagd) {
    if (alGevraagd || (nu.microfoon && nu.invoermonitoring && nu.toegankelijkheid)) {
        return std::nullopt;
    }
    Vraag v;
    v.titel = "Tolmo heeft je toestemming nodig";
    v.tekst = "Om te dicteren vraagt macOS je straks om:\n";
    if (!nu.microfoon) {
        v.tekst += "• Microfoon: om je stem op te nemen terwijl je de houdtoets vasthoudt.\n";
    }
    if (!nu.invoermonitoring) {
        v.tekst += "• Invoermonitoring: om te merken dat je de houdtoets indrukt en loslaat.\n";
    }
    if (!nu.toegankelijkheid) {
        v.tekst += "• Toegankelijkheid: om de tekst in je app te plakken.\n";
    }
    v.tekst +=
        "Zet Tolmo aan in Systeeminstellingen > Privacy en beveiliging. Wat al is toegestaan, zie "
        "je in Instellingen > Toestemmingen.";
    v.knoppen = {"Doorgaan", "Later"};
    v.ontbreekt = {!nu.microfoon, !nu.invoermonitoring, !nu.toegankelijkheid};
    return v;
}

std::string EersteStart::ontbrekend(const DictaatRegelaar::Toestemmingsstand& nu) {
    std::string uit;
    for (const auto& [gegeven, naam] :
         {std::pair{nu.microfoon, "Microfoon"}, std::pair{nu.invoermonitoring, "Invoermonitoring"},
          std::pair{nu.toegankelijkheid, "Toegankelijkheid"}}) {
        if (!gegeven) {
            uit += uit.empty() ? std::string("Nog nodig: ") + naam : std::string(", ") + naam;
        }
    }
    return uit;
}

}  // namespace tolmo
