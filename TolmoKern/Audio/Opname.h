#pragma once

#include <filesystem>

#include "TolmoKern/Audio/AudioFormaat.h"
#include "TolmoKern/Audio/AudioMeting.h"

namespace tolmo {

// A finished recording. onvolledig: a write or conversion error happened while recording, so
// the file may hold less than was spoken; such a recording is never sent.
struct Opname {
    std::filesystem::path bestand;
    AudioFormaat formaat = AudioFormaat::wav;
    AudioMeting meting;
    bool onvolledig = false;

    bool operator==(const Opname&) const = default;
};

}  // namespace tolmo
