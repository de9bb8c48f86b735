#pragma once

#include <exception>
#include "TolmoKern/Draad/Stop.h"

namespace tolmo {

// The dictation was cancelled (Esc, a new dictation, the app quitting). Never shown to the user
// and never turned into a HerkenningsFout.
class Geannuleerd : public std::exception {
  public:
    [[nodiscard]] const char* what() const noexcept override { return "geannuleerd"; }

    // A checkpoint: throws when stop has been requested.
    static void controleer(const StopToken& stop) {
        if (stop.stopGevraagd()) {
            throw Geannuleerd{};
        }
    }
};

}  // namespace tolmo
