#pragma once

#include <optional>
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

// How the file writer encodes. Every recording is 16 kHz mono whatever the microphone
// delivers: that is what the speech services want and it keeps uploads small.
struct SchrijfInstellingen {
    enum class Codering { aac, lineairPCM };

    Codering codering = Codering::lineairPCM;
    double sampleRate = 16000.0;
    int kanalen = 1;
    std::optional<int> bitRate;     // encoder bit rate (compressed formats)
    std::optional<int> bitDiepte;   // bits per sample (PCM)
    std::optional<bool> isFloat;    // PCM: float samples
    std::optional<bool> bigEndian;  // PCM: byte order

    bool operator==(const SchrijfInstellingen&) const = default;
};

constexpr SchrijfInstellingen schrijfInstellingen(AudioFormaat f) {
    SchrijfInstellingen s;
    switch (f) {
        case AudioFormaat::m4a:
            s.codering = SchrijfInstellingen::Codering::aac;
            s.bitRate = 32000;
            break;
        case AudioFormaat::wav:
            s.codering = SchrijfInstellingen::Codering::lineairPCM;
            s.bitDiepte = 16;
            s.isFloat = false;
            s.bigEndian = false;
            break;
    }
    return s;
}

}  // namespace tolmo
