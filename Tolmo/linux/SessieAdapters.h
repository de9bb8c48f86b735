#pragma once

#include <chrono>
#include <string>
#include <string_view>
#include <vector>

#include "Tolmo/Plakker/KlembordPoort.h"
#include "Tolmo/Poorten/EscBron.h"
#include "Tolmo/Poorten/Focus.h"
#include "Tolmo/Sneltoetsen/ToetsBron.h"
#include "TolmoKern/Sneltoetsen/HoudToets.h"

namespace tolmo {

// One capability the app needs of the desktop, and what serves it on this one.
struct Vermogen {
    enum class Soort { houdToets, wisselSneltoets, klembord, plakken, focus, indicator };
    Soort soort;
    // The mechanism, as the user may look it up ("XInput2", "ext-data-control-v1"); empty when
    // nothing on this desktop serves the capability.
    std::string mechanisme;
    // What the user can do: set something up, or what works instead. Empty when all is well.
    std::string advies;

    bool operator==(const Vermogen&) const = default;
};

// The label of a capability's row, in the settings window and the log.
[[nodiscard]] std::string_view label(Vermogen::Soort soort);

// The adapters that depend on the display system, one set per kind of session and chosen at
// launch (SessieKeuze). Everything else (audio, settings, keys, the log, AT-SPI for the field)
// is the same in every session. Main thread only.
class SessieAdapters {
  public:
    virtual ~SessieAdapters() = default;

    [[nodiscard]] virtual ToetsBron& toetsen() = 0;
    // Esc while recording; null when the session offers no way to see it.
    [[nodiscard]] virtual EscBron* esc() = 0;
    [[nodiscard]] virtual KlembordPoort& klembord() = 0;
    // The app in front and its window; AT-SPI puts the field in.
    [[nodiscard]] virtual const Focus& vensterFocus() const = 0;

    // Whether the hold key can be watched and the paste keystroke sent: the two permissions the
    // controller asks of the platform.
    [[nodiscard]] virtual bool houdToetsMogelijk() const = 0;
    [[nodiscard]] virtual bool plakToetsMogelijk() const = 0;
    // Every capability with what serves it here, in the order of Vermogen::Soort.
    [[nodiscard]] virtual std::vector<Vermogen> vermogens() const = 0;

    // The set's own display connection: the loop calls verwerk when descriptor is readable and
    // before it goes to sleep.
    [[nodiscard]] virtual int descriptor() const = 0;
    virtual void verwerk() = 0;

    // The hold key the user chose, now and after every change: X11 masks an Alt hold key so
    // that its release opens no app's menu.
    virtual void zetHoudToets(HoudToets /*houdToets*/) {}

    // Before the app quits: what we own on the clipboard goes to a clipboard manager when one
    // runs, within termijn. True when one took it.
    virtual bool geefKlembordAf(std::chrono::milliseconds termijn) = 0;
};

}  // namespace tolmo
