#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>
#include "TolmoKern/Draad/Stop.h"

#include "TolmoKern/Audio/Opname.h"
#include "TolmoKern/Instellingen/SleutelKluis.h"
#include "TolmoKern/Instellingen/TolmoInstellingen.h"
#include "TolmoKern/Keten/KetenResultaat.h"
#include "TolmoKern/Opschonen/Opschoner.h"
#include "TolmoKern/Opschonen/Stijl.h"
#include "TolmoKern/Transcriptie/HTTPTransport.h"
#include "TolmoKern/Transcriptie/TranscriptieMotor.h"

namespace tolmo {

// Turns one finished recording into the text to paste: transcription, the word list's
// replacements, spoken commands, then either the short-dictation tidy or the language-model
// cleaner inside its guards. Built afresh from the settings for every dictation; holds no state
// between dictations.
class TolmoKeten {
  public:
    using TekstStap = std::function<std::string(const std::string&)>;
    using KortDictaatStap = std::function<std::string(const std::string&, Stijl)>;

    static constexpr const char* kortDictaat = "kort dictaat";
    static constexpr const char* strakHerhaald = "Strak gaf minder getallen, opnieuw op Licht";
    static constexpr const char* lichtNietBeschikbaar =
        "Strak gaf minder getallen, Licht niet beschikbaar";
    static constexpr const char* nietGelijkend = "opgeschoonde tekst leek niet op het dictaat";
    static constexpr const char* onbekendeFout = "onbekende fout";

    std::unique_ptr<TranscriptieMotor> transcriptie;
    std::unique_ptr<Opschoner> opschoner;
    std::vector<std::string> woorden;
    std::map<std::string, std::vector<std::string>> vervangingen;
    bool spraakopdrachten = true;
    std::int64_t kortDictaatGrens = 8;
    // Spoken commands and the short-dictation tidy; an empty stage passes the text through.
    TekstStap spraakopdrachtenStap;
    KortDictaatStap kortDictaatStap;

    // Builds the chain the settings ask for. Throws HerkenningsFout when a key or the relay's
    // access token is missing, or the relay route is chosen without a server address
    // (TOLMO_SERVER_URL). Network engines send through transport, or through the shared
    // CurlTransport when it is null; the relay route wraps it in a TolmoServerTransport.
    static TolmoKeten bouw(const TolmoInstellingen& instellingen, const SleutelKluis& sleutels,
                           std::shared_ptr<HTTPTransport> transport);

    // Where the chain the settings ask for sends the recording; empty for the test engine and
    // for the relay route without a server address.
    static std::optional<std::string> eersteAdres(const TolmoInstellingen& instellingen);
    // Opens that connection now, with a GET whose answer does not matter, through the shared
    // transport: the recording that follows then finds DNS, TCP and TLS done. opwarmen waits
    // for it; verwarm leaves it to a thread of its own and returns at once. A failure costs
    // nothing: the recording connects by itself.
    static void opwarmen(const TolmoInstellingen& instellingen);
    static void verwarm(const TolmoInstellingen& instellingen);

    // Throws HerkenningsFout, or Geannuleerd when stop is requested at a checkpoint.
    KetenResultaat verwerk(const Opname& opname, Stijl stijl, StopToken stop);

    // Words that count toward the short-dictation limit: pieces between white space that hold
    // at least one letter or digit.
    static std::int64_t telWoorden(const std::string& tekst);
};

}  // namespace tolmo
