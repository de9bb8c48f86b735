#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "TolmoKern/Opschonen/Opschoonniveau.h"
#include "TolmoKern/Opschonen/Stijl.h"
#include "TolmoKern/Tekst/RuweWaarden.h"
#include "TolmoKern/Transcriptie/Motor.h"

namespace tolmo {

enum class Weergave { automatisch, licht, donker };
inline constexpr RuweWaarden<Weergave, 3> weergaveWaarden{{{{Weergave::automatisch, "automatisch"},
                                                            {Weergave::licht, "licht"},
                                                            {Weergave::donker, "donker"}}}};

// How long the phone keeps the microphone ready after a dictation.
enum class MicrofoonKlaar {
    directUit,
    eenMinuut,
    tweeMinuten,
    vijfMinuten,
    tienMinuten,
    halfUur,
    eenUur
};
inline constexpr RuweWaarden<MicrofoonKlaar, 7> microfoonKlaarWaarden{
    {{{MicrofoonKlaar::directUit, "directUit"},
      {MicrofoonKlaar::eenMinuut, "eenMinuut"},
      {MicrofoonKlaar::tweeMinuten, "tweeMinuten"},
      {MicrofoonKlaar::vijfMinuten, "vijfMinuten"},
      {MicrofoonKlaar::tienMinuten, "tienMinuten"},
      {MicrofoonKlaar::halfUur, "halfUur"},
      {MicrofoonKlaar::eenUur, "eenUur"}}}};

// The phone keyboard's ABC key.
enum class AbcKnop { iosToetsenbord, ingebouwd };
inline constexpr RuweWaarden<AbcKnop, 2> abcKnopWaarden{
    {{{AbcKnop::iosToetsenbord, "iosToetsenbord"}, {AbcKnop::ingebouwd, "ingebouwd"}}}};

// Milliseconds since 1970, the way dates are persisted.
using DatumMs = std::int64_t;

// Where a word-list entry came from.
struct WoordHerkomst {
    std::string bron;
    DatumMs datum = 0;

    bool operator==(const WoordHerkomst&) const = default;
};

// Every user choice a dictation depends on; persisted as one JSON document whose keys are the
// field names. Reading is per key: a key that is absent, null, mistyped or holds an unknown
// value keeps its default, and the other keys are still read, so a document from an older or
// newer version always loads.
struct TolmoInstellingen {
    Motor motor = Motor::openAI;
    bool opschonen = true;
    std::vector<std::string> woorden;
    std::map<std::string, std::vector<std::string>> vervangingen;
    std::map<std::string, WoordHerkomst> herkomst;
    std::map<std::string, std::int64_t> toepassingen;
    Stijl standaardStijl = Stijl::neutraal;
    std::vector<AppStijl> stijlPerApp = standaardApps();
    std::optional<DatumMs> syncBijgewerkt;
    Weergave weergave = Weergave::automatisch;
    bool ruisonderdrukking = true;
    MicrofoonKlaar microfoonKlaar = MicrofoonKlaar::tweeMinuten;
    AbcKnop abcKnop = AbcKnop::ingebouwd;
    bool spraakopdrachten = true;
    bool koptelefoonMicrofoon = false;
    bool opToestel = true;
    bool automatischOffline = true;
    std::vector<std::string> stijlVoorbeelden;
    Opschoonniveau opschoonNiveau = Opschoonniveau::strak;
    bool langeDictatenBekijken = true;
    Aanbieder serverAanbieder = Aanbieder::mistral;

    // The defaults, built once.
    static const TolmoInstellingen& standaard();

    [[nodiscard]] nlohmann::json naarJson() const;
    // Starts from standaard and takes every key of the object that decodes.
    static TolmoInstellingen uitJson(const nlohmann::json& j);

    bool operator==(const TolmoInstellingen&) const = default;
};

}  // namespace tolmo
