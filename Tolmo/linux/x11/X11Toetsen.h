#pragma once

#include <X11/X.h>

#include <cstdint>
#include <map>
#include <optional>

#include "Tolmo/Sneltoetsen/ToetsBron.h"
#include "TolmoKern/Sneltoetsen/ToetsVlaggen.h"
#include "TolmoKern/Sneltoetsen/Toetscombinatie.h"

namespace tolmo {

// The translation between X keys and the vocabulary of the key source: Apple virtual key codes
// and ToetsVlaggen. Keys are named by keysym, as the first level of the first group gives them,
// so right Alt is right Option whether the layout calls it Alt_R or ISO_Level3_Shift (AltGr).
// Fn never reaches X and has no keysym here.

// The key code of a key that has none on the Apple keyboard: still a key, which is all a key-down
// has to tell.
inline constexpr std::uint16_t toetscodeOnbekend = 0xFFFF;

// The Apple virtual key code of a keysym; empty for keys without one.
[[nodiscard]] std::optional<std::uint16_t> appleToetscode(KeySym keysym);

// The flag bits a modifier key sets while it is down (the generic bit of its kind and the bit of
// its side); 0 for any other key.
[[nodiscard]] std::uint64_t modificatieVlaggen(KeySym keysym);

// The toggle combination as an X key grab: a keysym and the core modifier mask (Control,
// Mod1 for Option, Mod4 for Command, Shift), without the lock modifiers.
struct X11Greep {
    KeySym keysym = NoSymbol;
    unsigned int modificaties = 0;

    bool operator==(const X11Greep&) const = default;
};
// Empty when the combination's key has no keysym here.
[[nodiscard]] std::optional<X11Greep> x11Greep(const Toetscombinatie& combinatie);

// Turns the raw presses and releases of one keyboard into key-source events, keeping the
// modifiers down so every event carries the full flags word. Modifier keys are remembered by
// X key code, so a key released after the keyboard map changed still takes away what it set.
class ToetsVolger {
  public:
    // A modifier that changed gives modificatie, any other key going down toetsOmlaag; a
    // release of an ordinary key or a repeat of a modifier gives nothing.
    std::optional<ToetsBron::Gebeurtenis> toets(unsigned int xToetscode, KeySym keysym,
                                                bool omlaag);
    [[nodiscard]] ToetsVlaggen vlaggen() const;

  private:
    std::map<unsigned int, std::uint64_t> modificatiesOmlaag_;
};

}  // namespace tolmo
