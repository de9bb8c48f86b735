#pragma once

#include <optional>

#include "Tolmo/Poorten/FocusVeld.h"
#include "TolmoKern/Plakken/PlakDoel.h"

namespace tolmo {

using Doel = PlakDoel<FocusVeld>;

// Where typed text would land right now: the frontmost app and its focused field. Main thread.
//
// macOS: NSWorkspace's frontmost application, then the app's "AXFocusedUIElement" with a
// messaging time-out of 0.5 s; a failed query leaves the field absent. X11: the EWMH active
// window, and as the field the element AT-SPI last reported focused in that window's process,
// else the window holding the input focus.
class Focus {
  public:
    virtual ~Focus() = default;
    // Absent when no app is in front.
    [[nodiscard]] virtual std::optional<Doel> huidig() const = 0;
};

}  // namespace tolmo
