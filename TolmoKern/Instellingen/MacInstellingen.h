#pragma once

#include <optional>

#include <nlohmann/json.hpp>

#include "TolmoKern/Sneltoetsen/HoudToets.h"
#include "TolmoKern/Sneltoetsen/Toetscombinatie.h"

namespace tolmo {

// The desktop app's own choices: the hold key and the toggle combination. Read as a whole: a
// document that does not decode completely gives the defaults.
struct MacInstellingen {
    HoudToets houdToets = HoudToets::rechterOption;
    // Control+Option+D (key code 2 is D).
    std::optional<Toetscombinatie> wisselSneltoets = Toetscombinatie{
        2, {Toetscombinatie::Modificaties::control | Toetscombinatie::Modificaties::option}, "D"};

    static const MacInstellingen& standaard();

    [[nodiscard]] nlohmann::json naarJson() const;
    static MacInstellingen uitJson(const nlohmann::json& j);

    bool operator==(const MacInstellingen&) const = default;
};

}  // namespace tolmo
