#pragma once

#include <cstdint>
#include <exception>
#include <optional>
#include <string>

#include "TolmoKern/Transcriptie/Motor.h"
#include "TolmoKern/Transcriptie/ServerLimiet.h"
#include "TolmoKern/Transcriptie/TransportFout.h"

namespace tolmo {

// The one error of the recognition path: a case with its payload, a fixed Dutch message for the
// user and a short code for the log. Thrown as an exception, compared as a value.
class HerkenningsFout : public std::exception {
  public:
    enum class Soort {
        geenSleutel,
        timeout,
        api,
        ongeldigAntwoord,
        limietBereikt,
        serverFout,
        geenNetwerk,
        geenAudio,
        nietsVerstaan,
        opnameMislukt,
        opnameOnderbroken,
        microfoonBezet,
        geenToestemming,
        opToestelNietBeschikbaar,
        geenSpraakToestemming,
        opschonenOpToestelMislukt,
        serverNietBereikbaar,
        dictaatTeLang,
        audioOngeldig,
        aanbiederNietBeschikbaar,
        // The relay server refused the access token (401 or 403).
        toegangGeweigerd,
        // The relay route was chosen but no access token is stored.
        geenToegangscode,
        // The relay route was chosen but no server address is configured.
        geenServeradres,
    };

    static HerkenningsFout geenSleutel(Motor aanbieder) { return {Soort::geenSleutel, aanbieder}; }
    static HerkenningsFout timeout(Motor aanbieder) { return {Soort::timeout, aanbieder}; }
    static HerkenningsFout api(Motor aanbieder, std::int64_t status) {
        return {Soort::api, aanbieder, status};
    }
    static HerkenningsFout ongeldigAntwoord(Motor aanbieder) {
        return {Soort::ongeldigAntwoord, aanbieder};
    }
    static HerkenningsFout limietBereikt(ServerLimiet limiet);
    static HerkenningsFout serverFout(std::int64_t status) {
        return {Soort::serverFout, std::nullopt, status};
    }
    static HerkenningsFout aanbiederNietBeschikbaar(Motor aanbieder) {
        return {Soort::aanbiederNietBeschikbaar, aanbieder};
    }
    static HerkenningsFout toegangGeweigerd(std::int64_t status) {
        return {Soort::toegangGeweigerd, std::nullopt, status};
    }
    // The cases without payload.
    static HerkenningsFout van(Soort soort) { return {soort}; }

    // Error mapping of a failed request made for the given provider: a time-out becomes
    // timeout, a reply that is not (valid) HTTP becomes ongeldigAntwoord, anything else
    // geenNetwerk.
    static HerkenningsFout uitTransportFout(const TransportFout& fout, Motor aanbieder);

    [[nodiscard]] Soort soort() const { return soort_; }
    [[nodiscard]] std::optional<Motor> aanbieder() const { return aanbieder_; }
    [[nodiscard]] std::int64_t status() const { return status_; }
    [[nodiscard]] const std::optional<ServerLimiet>& limiet() const { return limiet_; }

    [[nodiscard]] std::string melding() const;
    [[nodiscard]] std::string code() const;
    [[nodiscard]] const char* what() const noexcept override { return melding_.c_str(); }

    bool operator==(const HerkenningsFout& ander) const {
        return soort_ == ander.soort_ && aanbieder_ == ander.aanbieder_ &&
               status_ == ander.status_ && limiet_ == ander.limiet_;
    }

  private:
    HerkenningsFout(Soort soort, std::optional<Motor> aanbieder = std::nullopt,
                    std::int64_t status = 0, std::optional<ServerLimiet> limiet = std::nullopt);

    Soort soort_;
    std::optional<Motor> aanbieder_;
    std::int64_t status_ = 0;
    std::optional<ServerLimiet> limiet_;
    std::string melding_;
};

}  // namespace tolmo
