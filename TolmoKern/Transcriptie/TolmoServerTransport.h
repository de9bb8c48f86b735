#pragma once

#include <memory>
#include <string_view>

#include "TolmoKern/Transcriptie/HTTPTransport.h"
#include "TolmoKern/Transcriptie/Motor.h"

namespace tolmo {

// The relay server's side of a request: names the provider in "X-Tolmo-Aanbieder", passes a
// 2xx reply on unchanged and turns any other reply into a HerkenningsFout:
//   401/403 -> toegangGeweigerd, 413 -> dictaatTeLang, 429 -> limietBereikt,
//   503 {"fout":"aanbieder-niet-beschikbaar"} -> aanbiederNietBeschikbaar,
//   400 {"fout":"audio"} -> audioOngeldig, anything else -> serverFout.
// A server that cannot be reached (host unknown, connection refused, DNS, time-out, TLS) is
// serverNietBereikbaar: on this route a time-out is the server's, not the provider's. Other
// transport errors pass on for the engine to map.
//
// The relay's error body is {"fout": code}. With a 429 it names the kind of limit in
// "soort" (or as "limiet-<soort>" in "fout"); without one the limit is the server's own
// ceiling, "plafond".
class TolmoServerTransport final : public HTTPTransport {
  public:
    static constexpr std::string_view aanbiederHeader = "X-Tolmo-Aanbieder";
    static constexpr std::string_view plafond = "plafond";

    TolmoServerTransport(std::shared_ptr<HTTPTransport> binnen, Aanbieder aanbieder);

    [[nodiscard]] Aanbieder aanbieder() const { return aanbieder_; }

    HTTPAntwoord verstuur(HTTPVerzoek verzoek, StopToken stop) override;

  private:
    std::shared_ptr<HTTPTransport> binnen_;
    Aanbieder aanbieder_;
};

}  // namespace tolmo
