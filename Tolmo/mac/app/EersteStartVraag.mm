#include "Tolmo/mac/app/EersteStartVraag.h"

#include <variant>

#include "Tolmo/MacVertaling/EersteStart.h"
#include "Tolmo/mac/MacToestemmingen.h"

namespace tolmo {

void EersteStartVraag::stel(SleutelWaardeOpslag& standaard, ToestemmingsVraag& vraag,
                            const DictaatRegelaar::Toestemmingsstand& nu) {
    const auto gevraagd = standaard.lees(EersteStart::gevraagdSleutel);
    const bool alGevraagd =
        gevraagd && std::holds_alternative<bool>(*gevraagd) && std::get<bool>(*gevraagd);
    const auto v = EersteStart::vraag(nu, alGevraagd);
    if (!v) {
        MacToestemmingen::vraagMicrofoon();
        return;
    }
    standaard.zet(EersteStart::gevraagdSleutel, true);
    vraag.vraag(v->titel, v->tekst, v->knoppen, [ontbreekt = v->ontbreekt](int antwoord) {
        if (antwoord != 0) {
            return;
        }
        if (ontbreekt.microfoon) {
            MacToestemmingen::vraagMicrofoon();
        }
        if (ontbreekt.invoermonitoring) {
            MacToestemmingen::vraagInvoermonitoring();
        }
        if (ontbreekt.toegankelijkheid) {
            MacToestemmingen::vraagToegankelijkheid();
        }
    });
}

}  // namespace tolmo
