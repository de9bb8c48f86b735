#include "TolmoKern/Sneltoetsen/Toetscombinatie.h"

#include <limits>

#include "TolmoKern/Tekst/Tekst.h"

namespace tolmo {

namespace {

// A whole number in the range of an unsigned 32-bit integer. nlohmann keeps a number built in
// code from a signed integer as signed, so a non-negative signed number counts too.
std::optional<std::uint32_t> alsUint32(const nlohmann::json& j) {
    std::uint64_t waarde = 0;
    if (j.is_number_unsigned()) {
        waarde = j.get<std::uint64_t>();
    } else if (j.is_number_integer()) {
        const auto s = j.get<std::int64_t>();
        if (s < 0) {
            return std::nullopt;
        }
        waarde = static_cast<std::uint64_t>(s);
    } else {
        return std::nullopt;
    }
    if (waarde > std::numeric_limits<std::uint32_t>::max()) {
        return std::nullopt;
    }
    return static_cast<std::uint32_t>(waarde);
}

}  // namespace

std::string Toetscombinatie::weergave() const {
    std::string s;
    if (modificaties.bevat(Modificaties::control)) {
        s += "⌃";
    }
    if (modificaties.bevat(Modificaties::option)) {
        s += "⌥";
    }
    if (modificaties.bevat(Modificaties::shift)) {
        s += "⇧";
    }
    if (modificaties.bevat(Modificaties::command)) {
        s += "⌘";
    }
    return s + label;
}

bool Toetscombinatie::isGeldig() const {
    constexpr std::uint32_t nodig =
        Modificaties::control | Modificaties::option | Modificaties::command;
    return (modificaties.ruw & nodig) != 0 && !label.empty();
}

std::uint32_t Toetscombinatie::carbonModificaties() const {
    std::uint32_t c = 0;
    if (modificaties.bevat(Modificaties::command)) {
        c |= 0x100;
    }
    if (modificaties.bevat(Modificaties::shift)) {
        c |= 0x200;
    }
    if (modificaties.bevat(Modificaties::option)) {
        c |= 0x800;
    }
    if (modificaties.bevat(Modificaties::control)) {
        c |= 0x1000;
    }
    return c;
}

std::string Toetscombinatie::toetsLabel(std::uint32_t toetscode,
                                        const std::optional<std::string>& tekens) {
    switch (toetscode) {
        case 36:
            return "↩";
        case 48:
            return "⇥";
        case 49:
            return "Spatie";
        case 53:
            return "Esc";
        default:
            break;
    }
    const std::string schoon = Tekst::trim(tekens.value_or(""));
    if (schoon.empty()) {
        return "#" + std::to_string(toetscode);
    }
    return Tekst::hoofdletters(schoon);
}

nlohmann::json Toetscombinatie::naarJson() const {
    return {{"toetscode", toetscode}, {"modificaties", modificaties.ruw}, {"label", label}};
}

std::optional<Toetscombinatie> Toetscombinatie::uitJson(const nlohmann::json& j) {
    if (!j.is_object()) {
        return std::nullopt;
    }
    const auto code = j.find("toetscode");
    const auto mod = j.find("modificaties");
    const auto lab = j.find("label");
    if (code == j.end() || mod == j.end() || lab == j.end() || !lab->is_string()) {
        return std::nullopt;
    }
    const auto c = alsUint32(*code);
    const auto m = alsUint32(*mod);
    if (!c || !m) {
        return std::nullopt;
    }
    return Toetscombinatie{*c, {*m}, lab->get<std::string>()};
}

}  // namespace tolmo
