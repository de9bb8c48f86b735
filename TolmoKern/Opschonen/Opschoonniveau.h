#pragma once

#include "TolmoKern/Tekst/RuweWaarden.h"

namespace tolmo {

// How firmly the language model may rewrite: licht keeps the wording, strak tidies more.
enum class Opschoonniveau { licht, strak };

inline constexpr RuweWaarden<Opschoonniveau, 2> opschoonniveauWaarden{
    {{{Opschoonniveau::licht, "licht"}, {Opschoonniveau::strak, "strak"}}}};

}  // namespace tolmo
