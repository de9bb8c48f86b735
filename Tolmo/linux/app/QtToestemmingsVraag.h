#pragma once

#include "Tolmo/Poorten/ToestemmingsVraag.h"

namespace tolmo {

// The question as a window-modal message box, brought to the front; the answer arrives when the
// user picks a button (or -1 when the box is closed otherwise).
class QtToestemmingsVraag final : public ToestemmingsVraag {
  public:
    void vraag(const std::string& titel, const std::string& tekst,
               const std::vector<std::string>& knoppen, Antwoord antwoord) override;
};

}  // namespace tolmo
