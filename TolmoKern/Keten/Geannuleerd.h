#pragma once

#include <exception>
#include <stop_token>

namespace tolmo {

// The dictation was cancelled (Esc, a new dictation, the app quitting). Never shown to the user
// and never turned into a HerkenningsFout.
class Geannuleerd : public std::exception {
  public:
    [[nodiscard]] const char* what() const noexcept override { return "geannuleerd"; }

    // A checkpoint: throws when stop has been requested.
    static void controleer(const std::stop_token& stop) {
        if (stop.stop_requested()) {
            throw Geannuleerd{};
        }
    }
};

}  // namespace tolmo
