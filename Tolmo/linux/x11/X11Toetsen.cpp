#include "Tolmo/linux/x11/X11Toetsen.h"

#include <X11/keysym.h>

#include <array>

namespace tolmo {
namespace {

// The device bits macOS sets for Shift. Nothing reads them, but the flags word is meant to be the
// one a Mac would give for the same keys.
constexpr std::uint64_t linkerShift = 0x2;
constexpr std::uint64_t rechterShift = 0x4;

struct Paar {
    KeySym keysym;
    std::uint16_t toetscode;
};

// Apple key codes are positions on the ANSI keyboard, hence no order in them.
constexpr std::array<std::uint16_t, 26> letters{0,  11, 8,  2,  14, 3, 5,  4,  34, 38, 40, 37, 46,
                                                45, 31, 35, 12, 15, 1, 17, 32, 9,  13, 7,  16, 6};
constexpr std::array<std::uint16_t, 10> cijfers{29, 18, 19, 20, 21, 23, 22, 26, 28, 25};

constexpr Paar overige[] = {
    {XK_space, 49},
    {XK_Return, 36},
    {XK_KP_Enter, 76},
    {XK_Escape, 53},
    {XK_Tab, 48},
    {XK_BackSpace, 51},
    {XK_Delete, 117},
    {XK_Home, 115},
    {XK_End, 119},
    {XK_Prior, 116},
    {XK_Next, 121},
    {XK_Left, 123},
    {XK_Right, 124},
    {XK_Down, 125},
    {XK_Up, 126},
    {XK_minus, 27},
    {XK_equal, 24},
    {XK_bracketleft, 33},
    {XK_bracketright, 30},
    {XK_semicolon, 41},
    {XK_apostrophe, 39},
    {XK_backslash, 42},
    {XK_comma, 43},
    {XK_period, 47},
    {XK_slash, 44},
    {XK_grave, 50},
    {XK_F1, 122},
    {XK_F2, 120},
    {XK_F3, 99},
    {XK_F4, 118},
    {XK_F5, 96},
    {XK_F6, 97},
    {XK_F7, 98},
    {XK_F8, 100},
    {XK_F9, 101},
    {XK_F10, 109},
    {XK_F11, 103},
    {XK_F12, 111},
    {XK_F13, 105},
    {XK_F14, 107},
    {XK_F15, 113},
    {XK_F16, 106},
    {XK_F17, 64},
    {XK_F18, 79},
    {XK_F19, 80},
    {XK_F20, 90},
    {XK_Shift_L, 56},
    {XK_Shift_R, 60},
    {XK_Control_L, 59},
    {XK_Control_R, 62},
    {XK_Alt_L, 58},
    {XK_Alt_R, 61},
    // Right Alt is AltGr on most layouts outside the US, and Mode_switch on some older ones:
    // still the key where right Option sits.
    {XK_ISO_Level3_Shift, 61},
    {XK_Mode_switch, 61},
    {XK_Super_L, 55},
    {XK_Meta_L, 55},
    {XK_Super_R, 54},
    {XK_Meta_R, 54},
};

// The keysym of an Apple key code: the unshifted one, so a letter is grabbed on its key whatever
// else the combination holds.
KeySym keysymVan(std::uint32_t toetscode) {
    for (std::size_t i = 0; i < letters.size(); ++i) {
        if (letters[i] == toetscode) {
            return XK_a + i;
        }
    }
    for (std::size_t i = 0; i < cijfers.size(); ++i) {
        if (cijfers[i] == toetscode) {
            return XK_0 + i;
        }
    }
    for (const Paar& p : overige) {
        if (p.toetscode == toetscode) {
            return p.keysym;
        }
    }
    return NoSymbol;
}

}  // namespace

std::optional<std::uint16_t> appleToetscode(KeySym keysym) {
    if (keysym >= XK_A && keysym <= XK_Z) {
        keysym += XK_a - XK_A;
    }
    if (keysym >= XK_a && keysym <= XK_z) {
        return letters[keysym - XK_a];
    }
    if (keysym >= XK_0 && keysym <= XK_9) {
        return cijfers[keysym - XK_0];
    }
    for (const Paar& p : overige) {
        if (p.keysym == keysym) {
            return p.toetscode;
        }
    }
    return std::nullopt;
}

std::uint64_t modificatieVlaggen(KeySym keysym) {
    switch (keysym) {
        case XK_Shift_L:
            return ToetsVlaggen::shift | linkerShift;
        case XK_Shift_R:
            return ToetsVlaggen::shift | rechterShift;
        case XK_Control_L:
            return ToetsVlaggen::control | ToetsVlaggen::linkerControl;
        case XK_Control_R:
            return ToetsVlaggen::control | ToetsVlaggen::rechterControl;
        case XK_Alt_L:
            return ToetsVlaggen::option | ToetsVlaggen::linkerOption;
        case XK_Alt_R:
        case XK_ISO_Level3_Shift:
        case XK_Mode_switch:
            return ToetsVlaggen::option | ToetsVlaggen::rechterOption;
        case XK_Super_L:
        case XK_Meta_L:
            return ToetsVlaggen::command | ToetsVlaggen::linkerCommand;
        case XK_Super_R:
        case XK_Meta_R:
            return ToetsVlaggen::command | ToetsVlaggen::rechterCommand;
        default:
            return 0;
    }
}

std::optional<X11Greep> x11Greep(const Toetscombinatie& combinatie) {
    X11Greep greep;
    greep.keysym = keysymVan(combinatie.toetscode);
    if (greep.keysym == NoSymbol) {
        return std::nullopt;
    }
    using M = Toetscombinatie::Modificaties;
    const M m = combinatie.modificaties;
    greep.modificaties =
        (m.bevat(M::control) ? ControlMask : 0U) | (m.bevat(M::option) ? Mod1Mask : 0U) |
        (m.bevat(M::command) ? Mod4Mask : 0U) | (m.bevat(M::shift) ? ShiftMask : 0U);
    return greep;
}

std::optional<ToetsBron::Gebeurtenis> ToetsVolger::toets(unsigned int xToetscode, KeySym keysym,
                                                         bool omlaag) {
    using Soort = ToetsBron::Soort;
    const std::uint64_t bits = modificatieVlaggen(keysym);
    if (bits == 0 && !modificatiesOmlaag_.contains(xToetscode)) {
        if (!omlaag) {
            return std::nullopt;
        }
        return ToetsBron::Gebeurtenis{
            Soort::toetsOmlaag, appleToetscode(keysym).value_or(toetscodeOnbekend), vlaggen()};
    }
    const ToetsVlaggen voor = vlaggen();
    if (omlaag) {
        modificatiesOmlaag_[xToetscode] = bits;
    } else {
        modificatiesOmlaag_.erase(xToetscode);
    }
    if (omlaag && vlaggen() == voor) {
        return std::nullopt;
    }
    return ToetsBron::Gebeurtenis{Soort::modificatie,
                                  appleToetscode(keysym).value_or(toetscodeOnbekend), vlaggen()};
}

ToetsVlaggen ToetsVolger::vlaggen() const {
    ToetsVlaggen v;
    for (const auto& [code, bits] : modificatiesOmlaag_) {
        v.ruw |= bits;
    }
    return v;
}

}  // namespace tolmo
