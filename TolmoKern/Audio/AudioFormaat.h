#pragma once

#include <string_view>

#include "TolmoKern/Tekst/RuweWaarden.h"

namespace tolmo {

// File format of a recording; the file extension is the case name.
enum class AudioFormaat { m4a, wav };

inline constexpr RuweWaarden<AudioFormaat, 2> audioFormaatWaarden{
    {{{AudioFormaat::m4a, "m4a"}, {AudioFormaat::wav, "wav"}}}};

constexpr std::string_view extensie(AudioFormaat f) {
    return audioFormaatWaarden.naam(f);
}

}  // namespace tolmo
