#include "TolmoKern/Sneltoetsen/CombinatieOpname.h"

#include <utility>

namespace tolmo {

Toetscombinatie::Modificaties CombinatieOpname::modificatiesUit(ToetsVlaggen vlaggen) {
    using M = Toetscombinatie::Modificaties;
    Toetscombinatie::Modificaties m;
    if (vlaggen.bevat(ToetsVlaggen::control)) {
        m.ruw |= M::control;
    }
    if (vlaggen.bevat(ToetsVlaggen::option)) {
        m.ruw |= M::option;
    }
    if (vlaggen.bevat(ToetsVlaggen::shift)) {
        m.ruw |= M::shift;
    }
    if (vlaggen.bevat(ToetsVlaggen::command)) {
        m.ruw |= M::command;
    }
    return m;
}

CombinatieOpname CombinatieOpname::uitToetsOmlaag(std::uint16_t toetscode, ToetsVlaggen vlaggen,
                                                  const std::optional<std::string>& tekens) {
    if (toetscode == escape) {
        return {Uitkomst::afgebroken, std::nullopt};
    }
    Toetscombinatie c{toetscode, modificatiesUit(vlaggen),
                      Toetscombinatie::toetsLabel(toetscode, tekens)};
    if (!c.isGeldig()) {
        return {Uitkomst::ongeldig, std::nullopt};
    }
    return {Uitkomst::geldig, std::move(c)};
}

}  // namespace tolmo
