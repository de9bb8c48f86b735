#pragma once

#include <chrono>
#include <ostream>
#include <string>

#include "cli/VoortgangTransport.h"

namespace tolmo::cli {

using Klok = std::chrono::steady_clock;

// One line on a terminal, rewritten in place; on anything else it stays silent, so logs and
// pipes get no carriage returns or escape codes.
class Statusregel {
  public:
    Statusregel(std::ostream& uit, bool actief) : uit_(uit), actief_(actief) {}
    ~Statusregel() { wis(); }
    Statusregel(const Statusregel&) = delete;
    Statusregel& operator=(const Statusregel&) = delete;

    void toon(const std::string& regel) {
        if (actief_) {
            uit_ << "\r" << regel << "\033[K" << std::flush;
            getekend_ = true;
        }
    }
    void wis() {
        if (getekend_) {
            uit_ << "\r\033[K" << std::flush;
            getekend_ = false;
        }
    }

  private:
    std::ostream& uit_;
    bool actief_;
    bool getekend_ = false;
};

double secondenSinds(Klok::time_point t);
// What the transfer is doing: "Versturen: 120 kB van 960 kB (12%)", or a spinner with the stage.
std::string voortgangsregel(const VoortgangTransport::Stand& s, Klok::time_point begin);
// The recording's length and a level bar: "Opname 3,2 s [######------...]".
std::string meterregel(float niveau, Klok::time_point begin);

}  // namespace tolmo::cli
