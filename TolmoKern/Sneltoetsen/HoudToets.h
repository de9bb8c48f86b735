#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

#include "TolmoKern/Tekst/RuweWaarden.h"

namespace tolmo {

// The key held while speaking; uit switches holding off. Right Control comes last because it was
// added for keyboards without a right Super key (many laptops), where Linux has no right Command.
enum class HoudToets { fn, rechterOption, rechterCommand, uit, rechterControl };

inline constexpr RuweWaarden<HoudToets, 5> houdToetsWaarden{
    {{{HoudToets::fn, "fn"},
      {HoudToets::rechterOption, "rechterOption"},
      {HoudToets::rechterCommand, "rechterCommand"},
      {HoudToets::uit, "uit"},
      {HoudToets::rechterControl, "rechterControl"}}}};

// What the Mac offers.
inline constexpr std::array<HoudToets, 4> alleHoudToetsen{
    HoudToets::fn, HoudToets::rechterOption, HoudToets::rechterCommand, HoudToets::uit};

std::string_view label(HoudToets t);
// Virtual key code of the key (none for uit).
std::optional<std::uint16_t> toetscode(HoudToets t);
// The device-dependent bit that is set while exactly this key is down (0 for uit).
std::uint64_t apparaatVlag(HoudToets t);
// The generic bit of the key's kind (0 for uit).
std::uint64_t algemeneVlag(HoudToets t);

}  // namespace tolmo
