#include "Tolmo/linux/InstellingenKeuzes.h"

#include <X11/X.h>
#include <X11/keysym.h>

#include <algorithm>
#include <cctype>
#include <string>

#include "Tolmo/linux/x11/X11Toetsen.h"
#include "TolmoKern/Tekst/Tekst.h"

namespace tolmo {

Motor InstellingenKeuzes::motor(RouteKeuze keuze) {
    switch (keuze) {
        case RouteKeuze::wereldwijd:
            return Motor::openAI;
        case RouteKeuze::europa:
            return Motor::mistral;
        case RouteKeuze::test:
            return Motor::test;
    }
    return Motor::openAI;
}

std::optional<RouteKeuze> InstellingenKeuzes::route(Motor m) {
    switch (m) {
        case Motor::openAI:
            return RouteKeuze::wereldwijd;
        case Motor::mistral:
            return RouteKeuze::europa;
        case Motor::test:
            return RouteKeuze::test;
        case Motor::tolmo:
            break;
    }
    return std::nullopt;
}

std::optional<CombinatieOpname> InstellingenKeuzes::opname(unsigned long keysym,
                                                           unsigned int xModificaties) {
    if (modificatieVlaggen(keysym) != 0) {
        return std::nullopt;
    }
    ToetsVlaggen vlaggen;
    for (const auto& [masker, vlag] :
         {std::pair{ShiftMask, ToetsVlaggen::shift}, std::pair{ControlMask, ToetsVlaggen::control},
          std::pair{Mod1Mask, ToetsVlaggen::option}, std::pair{Mod4Mask, ToetsVlaggen::command}}) {
        if ((xModificaties & static_cast<unsigned int>(masker)) != 0) {
            vlaggen.ruw |= vlag;
        }
    }
    // A key without an Apple key code cannot be grabbed again from the stored combination.
    const auto code = appleToetscode(keysym);
    if (!code) {
        return CombinatieOpname{CombinatieOpname::Uitkomst::ongeldig, std::nullopt};
    }
    // The characters ignoring modifiers: the key's own letter or sign, which Latin-1 keysyms are.
    // Function keys have no characters; their name makes a better label than a key number.
    std::optional<std::string> tekens;
    if (keysym >= XK_space && keysym <= XK_asciitilde) {
        tekens = Tekst::kleineLetters(std::string(1, static_cast<char>(keysym)));
    } else if (keysym >= XK_F1 && keysym <= XK_F20) {
        tekens = "F" + std::to_string(keysym - XK_F1 + 1);
    }
    return CombinatieOpname::uitToetsOmlaag(*code, vlaggen, tekens);
}

InstellingenKeuzes::Sleutelinvoer InstellingenKeuzes::sleutel(const std::string& invoer) {
    if (!Tekst::isGeldigeUtf8(invoer)) {
        return {std::nullopt, "Deze sleutel bevat ongeldige tekens. Er is niets bewaard."};
    }
    const std::string schoon = Tekst::trim(invoer);
    if (schoon.empty()) {
        return {std::nullopt, "Vul eerst een sleutel in."};
    }
    if (Tekst::splitsOpWitruimte(schoon).size() != 1) {
        return {std::nullopt, "Deze sleutel bevat spaties. Er is niets bewaard."};
    }
    return {schoon, {}};
}

std::string InstellingenKeuzes::actieTitel(const MenuStand& stand,
                                           const std::optional<Toetscombinatie>& wisselSneltoets) {
    if (stand.actie == MenuStand::Actie::annuleer || !wisselSneltoets) {
        return stand.actieTitel;
    }
    return stand.actieTitel + " (" + combinatieNaam(*wisselSneltoets) + ")";
}

std::string InstellingenKeuzes::houdToetsNaam(HoudToets toets) {
    switch (toets) {
        case HoudToets::rechterOption:
            return "Rechter Alt (Alt Gr)";
        case HoudToets::rechterCommand:
            return "Rechter Super";
        case HoudToets::rechterControl:
            return "Rechter Ctrl";
        case HoudToets::fn:
        case HoudToets::uit:
            break;
    }
    return std::string(label(toets));
}

std::string InstellingenKeuzes::combinatieNaam(const Toetscombinatie& combinatie) {
    using M = Toetscombinatie::Modificaties;
    std::string naam;
    for (const auto& [bit, deel] :
         {std::pair{M::control, "Ctrl+"}, std::pair{M::option, "Alt+"},
          std::pair{M::shift, "Shift+"}, std::pair{M::command, "Super+"}}) {
        if (combinatie.modificaties.bevat(bit)) {
            naam += deel;
        }
    }
    return naam + combinatie.label;
}

std::optional<InstellingenKeuzes::BindingenKeuze> InstellingenKeuzes::bindingen(
    bool compositorBindt, const OmgevingLezer& omgeving) {
    if (!compositorBindt) {
        return std::nullopt;
    }
    const auto gezet = [&](std::string_view k) {
        const auto w = omgeving(k);
        return w && !w->empty();
    };
    if (gezet("SWAYSOCK")) {
        return BindingenKeuze{Compositor::sway, true};
    }
    if (gezet("HYPRLAND_INSTANCE_SIGNATURE")) {
        return BindingenKeuze{Compositor::hyprland, true};
    }
    // A colon-separated list, in any case ("sway", "Hyprland", "river:wlroots").
    std::string bureaublad = omgeving("XDG_CURRENT_DESKTOP").value_or("");
    std::transform(bureaublad.begin(), bureaublad.end(), bureaublad.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    std::string_view rest = bureaublad;
    while (!rest.empty()) {
        const auto einde = rest.find(':');
        const auto naam = compositorUit(rest.substr(0, einde));
        if (naam) {
            return BindingenKeuze{*naam, true};
        }
        rest = einde == std::string_view::npos ? std::string_view() : rest.substr(einde + 1);
    }
    return BindingenKeuze{Compositor::sway, false};
}

}  // namespace tolmo
