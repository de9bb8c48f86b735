#include "Tolmo/linux/wayland/WaylandBindingen.h"

#include <cctype>

namespace tolmo {
namespace {

// The xkb key name of the hold key as compositors take it. A keyboard reports the key before
// the modifier it sets, so its press comes without modifiers. Sway matches the release of a
// lone modifier without its own bit too (a binding with Mod1+Alt_R never fires on release);
// Hyprland's release binding names the modifier the key holds down by then.
struct HoudNaam {
    const char* sym;
    const char* hyprMod;
};

std::optional<HoudNaam> houdNaam(HoudToets houd) {
    switch (houd) {
        case HoudToets::rechterOption:
            return HoudNaam{"Alt_R", "ALT"};
        case HoudToets::rechterControl:
            return HoudNaam{"Control_R", "CTRL"};
        case HoudToets::rechterCommand:
            return HoudNaam{"Super_R", "SUPER"};
        case HoudToets::fn:
        case HoudToets::uit:
            return std::nullopt;
    }
    return std::nullopt;
}

// The combination's key as an xkb name: letters and digits only, which is what the settings
// window lets the user pick for it.
std::optional<std::string> combinatieToets(const Toetscombinatie& c) {
    if (c.label.size() != 1 || std::isalnum(static_cast<unsigned char>(c.label[0])) == 0) {
        return std::nullopt;
    }
    return std::string(1, static_cast<char>(std::tolower(static_cast<unsigned char>(c.label[0]))));
}

}  // namespace

std::optional<Compositor> compositorUit(std::string_view naam) {
    if (naam == "sway") {
        return Compositor::sway;
    }
    if (naam == "hyprland") {
        return Compositor::hyprland;
    }
    return std::nullopt;
}

std::string bindingen(Compositor compositor, const MacInstellingen& toetsen,
                      std::string_view programma) {
    const std::string p(programma);
    const bool sway = compositor == Compositor::sway;
    std::string uit = sway ? "# Tolmo: in ~/.config/sway/config, daarna swaymsg reload\n"
                           : "# Tolmo: in ~/.config/hypr/hyprland.conf\n";
    if (const auto h = houdNaam(toetsen.houdToets)) {
        const std::string sym = h->sym;
        uit += "# Houdtoets: ingedrukt houden om te dicteren, loslaten om te stoppen\n";
        if (sway) {
            uit += "bindsym --no-repeat " + sym + " exec " + p + " --start\n";
            uit += "bindsym --release " + sym + " exec " + p + " --stop\n";
        } else {
            uit += "bind = , " + sym + ", exec, " + p + " --start\n";
            uit += "bindr = " + std::string(h->hyprMod) + ", " + sym + ", exec, " + p + " --stop\n";
        }
    } else if (toetsen.houdToets == HoudToets::fn) {
        uit += "# Houdtoets Fn: de compositor ziet deze toets niet; kies een andere houdtoets\n";
    }
    // Without XWayland the indicator is a Wayland window of Qt's, which the compositor would
    // tile and focus like any other; these rules keep it floating and the focus where it is.
    // They match nothing while the indicator is an X11 window.
    uit += "# Opnamebalk: zwevend en zonder focus, zodat je tekst in je eigen venster blijft\n";
    if (sway) {
        uit +=
            "for_window [app_id=\"app.tolmo.Tolmo\" title=\"^Tolmo$\"] floating enable, sticky "
            "enable\n"
            "no_focus [app_id=\"app.tolmo.Tolmo\" title=\"^Tolmo$\"]\n";
    } else {
        uit +=
            "windowrulev2 = float, class:^(app\\.tolmo\\.Tolmo)$, title:^(Tolmo)$\n"
            "windowrulev2 = nofocus, class:^(app\\.tolmo\\.Tolmo)$, title:^(Tolmo)$\n";
    }
    if (toetsen.wisselSneltoets) {
        const Toetscombinatie& c = *toetsen.wisselSneltoets;
        const auto toets = combinatieToets(c);
        if (!toets) {
            uit += "# Wisselsneltoets " + c.weergave() + ": deze toets kan Tolmo hier niet " +
                   "benoemen; bind hem zelf aan " + p + " --wissel\n";
            return uit;
        }
        using M = Toetscombinatie::Modificaties;
        std::string mods;
        const auto voeg = [&](std::uint32_t bit, const char* swayNaam, const char* hyprNaam) {
            if (c.modificaties.bevat(bit)) {
                mods += sway ? std::string(swayNaam) + "+"
                             : (mods.empty() ? "" : " ") + std::string(hyprNaam);
            }
        };
        voeg(M::control, "Ctrl", "CTRL");
        voeg(M::option, "Mod1", "ALT");
        voeg(M::shift, "Shift", "SHIFT");
        voeg(M::command, "Mod4", "SUPER");
        uit += "# Wisselsneltoets " + c.weergave() + ": starten en stoppen\n";
        uit += sway ? "bindsym --no-repeat " + mods + *toets + " exec " + p + " --wissel\n"
                    : "bind = " + mods + ", " + *toets + ", exec, " + p + " --wissel\n";
    }
    return uit;
}

PortaalTriggers portaalTriggers(const MacInstellingen& toetsen) {
    PortaalTriggers t;
    if (const auto h = houdNaam(toetsen.houdToets)) {
        t.houd = h->sym;
    }
    if (toetsen.wisselSneltoets) {
        const Toetscombinatie& c = *toetsen.wisselSneltoets;
        if (const auto toets = combinatieToets(c)) {
            using M = Toetscombinatie::Modificaties;
            std::string trigger;
            for (const auto& [bit, naam] : {std::pair{M::control, "CTRL+"},
                                            {M::option, "ALT+"},
                                            {M::shift, "SHIFT+"},
                                            {M::command, "LOGO+"}}) {
                if (c.modificaties.bevat(bit)) {
                    trigger += naam;
                }
            }
            t.wissel = trigger + *toets;
        }
    }
    return t;
}

}  // namespace tolmo
