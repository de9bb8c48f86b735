#include "TolmoKern/Sneltoetsen/Toetscombinatie.h"

#include <limits>

#include "TolmoKern/Tekst/Tekst.h"

namespace tolmo {

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
    if (code == j.end() || mod == j.end() || lab == j.end() || !code->is_number_unsigned() ||
        !mod->is_number_integer() || !lab->is_string()) {
        return std::nullopt;
    }
    const auto c = code->get<std::uint64_t>();
    const auto m = mod->get<std::int64_t>();
    if (c > std::numeric_limits<std::uint32_t>::max() || m < 0 ||
        m > std::numeric_limits<std::uint32_t>::max()) {
        return std::nullopt;
    }
    return Toetscombinatie{
        static_cast<std::uint32_t>(c), {static_cast<std::uint32_t>(m)}, lab->get<std::string>()};
}

}  // namespace tolmo
