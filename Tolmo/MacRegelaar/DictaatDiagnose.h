#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "TolmoKern/Instellingen/SleutelWaardeOpslag.h"
#include "TolmoKern/Instellingen/TolmoInstellingen.h"
#include "TolmoKern/Keten/Tijden.h"

namespace tolmo {

// One record per dictation for support: what started it, how it was routed, how long each stage
// took, how big the audio and the result were, how it ended and why. Never the text itself, so
// a user can hand it over without reading it first. The newest records are kept in the shared
// store, rewritten once per dictation (a few kilobytes); a store that holds something unreadable
// starts an empty list rather than failing the app. Main thread.
class DictaatDiagnose {
  public:
    static constexpr std::size_t maximum = 50;
    static constexpr std::string_view sleutel = "diagnose.dictaten";

    struct Dictaat {
        // Wall-clock milliseconds since 1970 at the start.
        std::int64_t begin = 0;
        std::string bron;
        std::string stijl;
        std::string motor;
        std::string route;
        std::string ruisonderdrukking;
        // Stage and seconds, in the order they ran.
        std::vector<std::pair<std::string, double>> stappen;
        // Sizes by name: audio bytes, milliseconds of audio, characters of raw and final text.
        std::map<std::string, std::int64_t> maten;
        // "afgeleverd", "fout", "geannuleerd"; reden says what happened in the log's words.
        std::string uitkomst;
        std::string reden;

        // A record's start: what started the dictation, its style, and where its audio goes
        // (through the relay the provider behind it is the engine).
        static Dictaat begonnen(std::int64_t begin, std::string_view bron, std::string_view stijl,
                                const TolmoInstellingen& instellingen, bool altijdViaServer,
                                std::string_view ruisonderdrukking);
        // The chain's stages that ran, with their seconds.
        void voegTijdenToe(const Tijden& tijden);

        bool operator==(const Dictaat&) const = default;
    };

    explicit DictaatDiagnose(SleutelWaardeOpslag& opslag) : opslag_(opslag) {}

    void laad();
    // Stored before it returns; the oldest record goes once there are more than `maximum`.
    void bewaar(Dictaat dictaat);

    [[nodiscard]] const std::deque<Dictaat>& dictaten() const { return dictaten_; }
    // What the user copies for support: the records as indented JSON, oldest first.
    [[nodiscard]] std::string tekst() const;

  private:
    [[nodiscard]] std::string alsJson(int inspringen) const;

    SleutelWaardeOpslag& opslag_;
    std::deque<Dictaat> dictaten_;
};

}  // namespace tolmo
