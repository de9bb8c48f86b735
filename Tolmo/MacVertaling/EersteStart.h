#pragma once

#include <optional>
#include <string>
#include <vector>

#include "Tolmo/MacRegelaar/DictaatRegelaar.h"

namespace tolmo {

// What the app asks at its first launch. Out of the box the hold key does nothing until macOS
// allows Input Monitoring (the event tap) or Accessibility (the event monitors, and pasting), and
// nothing records without the microphone; the system asks for each only when the app requests
// it. So the first launch explains in Dutch what each is for and, on "Doorgaan", requests those
// still missing; the permission poll then shows them arriving (menu and settings window).
struct EersteStart {
    static constexpr const char* gevraagdSleutel = "mac.toestemmingenGevraagd";

    struct Vraag {
        std::string titel;
        std::string tekst;
        std::vector<std::string> knoppen;  // the first goes on to the system's questions
        DictaatRegelaar::Toestemmingsstand ontbreekt;

        bool operator==(const Vraag&) const = default;
    };

    // Empty once asked before, or when nothing is missing.
    static std::optional<Vraag> vraag(const DictaatRegelaar::Toestemmingsstand& nu,
                                      bool alGevraagd);

    // "Nog nodig: Invoermonitoring, Toegankelijkheid" for the menu; empty when all are given.
    static std::string ontbrekend(const DictaatRegelaar::Toestemmingsstand& nu);
};

}  // namespace tolmo
