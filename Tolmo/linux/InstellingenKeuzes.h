#pragma once

#include <array>
#include <optional>
#include <string>

#include "Tolmo/MacVertaling/MenuStand.h"
#include "Tolmo/linux/SessieKeuze.h"
#include "Tolmo/linux/wayland/WaylandBindingen.h"
#include "TolmoKern/Sneltoetsen/CombinatieOpname.h"
#include "TolmoKern/Sneltoetsen/HoudToets.h"
#include "TolmoKern/Sneltoetsen/Toetscombinatie.h"
#include "TolmoKern/Transcriptie/Motor.h"
#include "TolmoKern/Transcriptie/RouteKeuze.h"

namespace tolmo {

// The decisions behind the Linux settings window and tray menu, kept out of the widgets so they
// can be checked without a display.
struct InstellingenKeuzes {
    // Fn never reaches X, so it is not offered; right Control stands in on keyboards without a
    // right Super key.
    static constexpr std::array<HoudToets, 4> houdToetsen{
        HoudToets::rechterOption, HoudToets::rechterCommand, HoudToets::rechterControl,
        HoudToets::uit};

    // The route choices in the order the window and the menu show them; the relay server is the
    // fourth route, which RouteKeuze does not name.
    static constexpr std::array<RouteKeuze, 3> routes{RouteKeuze::wereldwijd, RouteKeuze::europa,
                                                      RouteKeuze::test};
    static Motor motor(RouteKeuze keuze);
    // Empty for the relay server.
    static std::optional<RouteKeuze> route(Motor motor);

    // One key press while the window records a new toggle combination: an X keysym and the core
    // modifier mask of the event (ShiftMask, ControlMask, Mod1Mask for Alt, Mod4Mask for Super).
    // Empty for a modifier key on its own: the user is still building the combination. (The
    // keysym's type is Xlib's KeySym, spelled out so that this header brings in no X macros.)
    static std::optional<CombinatieOpname> opname(unsigned long keysym, unsigned int xModificaties);

    // A secret the user typed: surrounding white space goes; one with white space inside or that
    // is not valid UTF-8 is refused with a message (fout), so a key pasted with its label or a
    // line break never reaches a request header.
    struct Sleutelinvoer {
        std::optional<std::string> sleutel;
        std::string fout;
    };
    static Sleutelinvoer sleutel(const std::string& invoer);

    // Keys as a PC keyboard names them, not as a Mac does: "Rechter Alt (Alt Gr)" for right
    // Option, Super for Command, Ctrl for Control; a combination as "Ctrl+Alt+D".
    static std::string houdToetsNaam(HoudToets toets);
    static std::string combinatieNaam(const Toetscombinatie& combinatie);

    // The menu's dictation item names the toggle combination that does the same: "Start dicteren
    // (Ctrl+Alt+D)". Cancelling is not what the combination does, so that title stays bare.
    static std::string actieTitel(const MenuStand& stand,
                                  const std::optional<Toetscombinatie>& wisselSneltoets);

    // Where only the compositor's own bindings reach the keys (a wlroots compositor: no portal,
    // no global shortcuts), the window shows the lines for them. compositorBindt: the session
    // runs the Wayland set on such a compositor. The compositor is the one the session names
    // (sway's IPC socket, Hyprland's instance, XDG_CURRENT_DESKTOP); herkend is false when it
    // names neither, and the window then starts with sway's lines and lets the user switch.
    struct BindingenKeuze {
        Compositor compositor = Compositor::sway;
        bool herkend = false;
        bool operator==(const BindingenKeuze&) const = default;
    };
    static std::optional<BindingenKeuze> bindingen(bool compositorBindt,
                                                   const OmgevingLezer& omgeving);
};

}  // namespace tolmo
