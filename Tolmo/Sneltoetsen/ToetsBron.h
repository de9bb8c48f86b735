#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string_view>

#include "TolmoKern/Sneltoetsen/ToetsVlaggen.h"
#include "TolmoKern/Sneltoetsen/Toetscombinatie.h"

namespace tolmo {

// Where the hotkey monitor gets its keys from. It offers the means the platform has and decides
// nothing: which of them to use, when to trust them and what the keys mean is the monitor's.
//
// Events are translated into one vocabulary before they get here: key codes are the virtual key
// codes of the Apple keyboard layout (61 right Option, 54 right Command, 63 Fn, ...) and flags
// are ToetsVlaggen bits, so an X11 adapter maps X key codes and modifier state onto those. Every
// callback runs on the main thread. Destroying a returned handle undoes what it stands for; the
// handles never outlive the source that made them.
//
// macOS: a listen-only CGEventTap at the session tap (its run-loop source in the common modes of
// the main run loop), NSEvent global and local monitors, Carbon RegisterEventHotKey with one
// application event handler, CGEventSourceFlagsState of the combined session state.
// X11: XInput2 raw key events on the root window for the tap, XGrabKey with a handler on the
// main loop for the toggle combination, the keys down (XQueryKeymap) for the session flags, which
// unlike the modifier state tell left from right.
class ToetsBron {
  public:
    // The two kinds of key event that are watched (their Quartz event type numbers).
    enum class Soort { toetsOmlaag = 10, modificatie = 12 };

    struct Gebeurtenis {
        Soort soort = Soort::modificatie;
        // The key that went down, or the modifier key that changed.
        std::uint16_t toetscode = 0;
        // The event's full flags word: every modifier down after this change.
        ToetsVlaggen vlaggen;
        // Posted by Tolmo itself (it carried eigenMerk): the paste keystroke, never the user's.
        bool eigen = false;

        bool operator==(const Gebeurtenis&) const = default;
    };

    // Why the system switched a tap off.
    enum class TapUit { timeOut, gebruikersInvoer };

    using OpGebeurtenis = std::function<void(const Gebeurtenis&)>;

    // A created tap. Destroying it disables it, takes its source off the main loop and
    // releases it.
    class Tap {
      public:
        virtual ~Tap() = default;
        virtual void zetAan() = 0;
        [[nodiscard]] virtual bool isAan() const = 0;
    };

    // A monitor, hot-key handler or hot key; destroying it removes or unregisters it.
    class Registratie {
      public:
        virtual ~Registratie() = default;
    };

    // Key-down plus flags-changed: the mask given to the tap and to the monitors.
    static constexpr std::uint64_t gebeurtenisMasker = 0x1400;
    // The mark on every key event Tolmo posts itself, so that its own tap and monitors can tell
    // those from the user's keys. macOS carries it in the event's source user data
    // (kCGEventSourceUserData); an X11 source that knows its own XTest events sets `eigen` alike.
    static constexpr std::int64_t eigenMerk = 0x546F6C6D6F;  // "Tolmo"
    // The toggle combination's hot-key id: signature 'TOLM', id 1.
    static constexpr std::uint32_t hotKeySignatuur = 0x544F4C4D;
    static constexpr std::uint32_t hotKeyId = 1;

    // How the platform's means appear in log lines. The defaults name the macOS ones.
    struct Teksten {
        std::string_view tap = "CGEventTap";
        // Followed by "aan)" or "uit)".
        std::string_view tapGemaakt = "CGEventTap gemaakt (main run loop, common modes, ";
        std::string_view viaTap = "CGEventTap (Invoermonitoring)";
        std::string_view viaMonitor = "NSEvent-monitor (Toegankelijkheid)";
        std::string_view geen = "niets (geen Invoermonitoring en geen Toegankelijkheid)";
        std::string_view nietActief =
            "Houdtoets niet actief: geen Invoermonitoring en geen Toegankelijkheid";
        std::string_view tapLevertNiets =
            "CGEventTap ontvangt geen toetsen terwijl de NSEvent-monitor ze wel ziet: "
            "Invoermonitoring werkt niet voor deze versie";
    };

    virtual ~ToetsBron() = default;

    [[nodiscard]] virtual const Teksten& teksten() const {
        static const Teksten mac;
        return mac;
    }

    // Creates a listen-only tap for gebeurtenisMasker that passes every event on untouched,
    // with its source on the main loop but not yet enabled. Empty when the system refuses (on
    // macOS: no Input Monitoring). opUitgezet reports that the system switched the tap off.
    [[nodiscard]] virtual std::unique_ptr<Tap> maakTap(OpGebeurtenis opGebeurtenis,
                                                       std::function<void(TapUit)> opUitgezet) = 0;

    // A monitor of events aimed at other applications. Empty when the system gives none.
    [[nodiscard]] virtual std::unique_ptr<Registratie> installeerGlobaleMonitor(
        OpGebeurtenis opGebeurtenis) = 0;
    // A monitor of events aimed at this application itself. Empty when the system gives none.
    [[nodiscard]] virtual std::unique_ptr<Registratie> installeerLokaleMonitor(
        OpGebeurtenis opGebeurtenis) = 0;

    // The one handler through which presses of a registered hot key arrive. Empty on failure.
    [[nodiscard]] virtual std::unique_ptr<Registratie> installeerWisselHandler(
        std::function<void()> opIngedrukt) = 0;
    // Registers the combination system-wide under hotKeySignatuur/hotKeyId; empty when the
    // system refuses it (already taken). The combination is valid; the adapter only translates
    // it (Carbon: toetscode and carbonModificaties()).
    [[nodiscard]] virtual std::unique_ptr<Registratie> registreerWissel(
        const Toetscombinatie& combinatie) = 0;

    // The modifiers down right now in the whole session (all keyboards), whatever any event
    // said.
    [[nodiscard]] virtual ToetsVlaggen sessieVlaggen() const = 0;
};

}  // namespace tolmo
