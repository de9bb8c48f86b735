#pragma once

#include <optional>
#include <string>

#include "Tolmo/GolfView/GolfAnimatie.h"
#include "Tolmo/MacRegelaar/DictaatRegelaar.h"
#include "Tolmo/Poorten/Meldingen.h"
#include "TolmoKern/Instellingen/TolmoInstellingen.h"

namespace tolmo {

// What the menu-bar menu shows for the controller's state. The menu is rebuilt from this each
// time it opens, so it never shows a state the controller has already left.
struct MenuStand {
    // The one item that acts on the dictation: start while idle, stop while recording, and
    // while the chain works it cancels (the recording is already gone by then).
    enum class Actie { start, stop, annuleer };

    std::string status;
    Actie actie = Actie::start;
    std::string actieTitel;
    std::string route;
    bool opschonen = true;
    // The menu-bar title: a dot while recording, an ellipsis while working, empty at rest.
    std::string balkTeken;
    // "Nog nodig: Invoermonitoring", kept current by the permission poll; empty when all are
    // given.
    std::string toestemmingen;

    static MenuStand van(DictaatRegelaar::Toestand toestand, const std::optional<Melding>& melding,
                         const TolmoInstellingen& instellingen,
                         const DictaatRegelaar::Toestemmingsstand& toestemmingen = {true, true,
                                                                                    true});
    // "Route: Tolmo-server (Mistral)", "Route: OpenAI (eigen sleutel)", ...
    static std::string routeTekst(const TolmoInstellingen& instellingen);

    // The indicator's wave for the controller's state.
    static GolfAnimatie::Stand golfStand(DictaatRegelaar::Toestand toestand);

    bool operator==(const MenuStand&) const = default;
};

}  // namespace tolmo
