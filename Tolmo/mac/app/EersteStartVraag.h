#pragma once

#include "Tolmo/MacRegelaar/DictaatRegelaar.h"
#include "Tolmo/Poorten/ToestemmingsVraag.h"
#include "TolmoKern/Instellingen/SleutelWaardeOpslag.h"

namespace tolmo {

// The system asks for a permission only when the app requests it. The first launch says why
// (EersteStart's question) and, on its first button, requests what is missing; it is asked once.
// Later launches only bring up the microphone's question, which shows while it is undecided.
struct EersteStartVraag {
    static void stel(SleutelWaardeOpslag& standaard, ToestemmingsVraag& vraag,
                     const DictaatRegelaar::Toestemmingsstand& nu);
};

}  // namespace tolmo
