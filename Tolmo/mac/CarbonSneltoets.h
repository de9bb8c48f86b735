#pragma once

#include <functional>
#include <memory>

#include "Tolmo/Sneltoetsen/ToetsBron.h"

namespace tolmo {

// The toggle combination through Carbon: one application event handler for hot-key presses, and
// RegisterEventHotKey under ToetsBron's signature and id. Needs no permission. The handles undo
// what they stand for when destroyed.
struct CarbonSneltoets {
    // Empty when the handler could not be installed.
    static std::unique_ptr<ToetsBron::Registratie> installeerHandler(
        std::function<void()> opIngedrukt);
    // Empty when the system refuses the combination (another program has it).
    static std::unique_ptr<ToetsBron::Registratie> registreer(const Toetscombinatie& combinatie);
};

}  // namespace tolmo
