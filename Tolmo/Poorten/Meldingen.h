#pragma once

#include <optional>
#include <string>

namespace tolmo {

// A short message to the user. titel is set for the notices that have a heading of their own.
struct Melding {
    std::string tekst;
    bool isFout = false;
    std::optional<std::string> titel;

    bool operator==(const Melding&) const = default;
};

// Where messages appear (menu-bar status, a notice). Main thread.
class Meldingen {
  public:
    virtual ~Meldingen() = default;
    virtual void toon(const Melding& melding) = 0;
    // The message shown last has had its time.
    virtual void wis() = 0;
};

}  // namespace tolmo
