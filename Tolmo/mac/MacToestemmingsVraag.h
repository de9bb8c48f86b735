#pragma once

#include "Tolmo/Poorten/ToestemmingsVraag.h"

namespace tolmo {

// The question as a modal NSAlert with the app brought to the front (a menu-bar app is not
// active by itself). The alert runs from the main run loop, after the call that asked for it,
// and never from a main-queue block, so the app's main-queue work goes on while it shows.
class MacToestemmingsVraag final : public ToestemmingsVraag {
  public:
    void vraag(const std::string& titel, const std::string& tekst,
               const std::vector<std::string>& knoppen, Antwoord antwoord) override;
};

}  // namespace tolmo
