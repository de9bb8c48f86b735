#include "cli/VoortgangTransport.h"

#include "TolmoKern/Transcriptie/Eindpunten.h"

namespace tolmo::cli {

HTTPAntwoord VoortgangTransport::verstuur(HTTPVerzoek verzoek, StopToken stop) {
    verstuurd_ = 0;
    totaal_ = static_cast<std::int64_t>(verzoek.body.size());
    opschonen_ = verzoek.url.find(Eindpunten::chatPad) != std::string::npos;
    bezig_ = true;
    verzoek.voortgang = [this, eerder = std::move(verzoek.voortgang)](std::int64_t verstuurd,
                                                                      std::int64_t totaal) {
        verstuurd_.store(verstuurd, std::memory_order_relaxed);
        if (totaal > 0) {
            totaal_.store(totaal, std::memory_order_relaxed);
        }
        if (eerder) {
            eerder(verstuurd, totaal);
        }
    };
    struct Klaar {
        std::atomic<bool>& bezig;
        ~Klaar() { bezig = false; }
    } klaar{bezig_};
    return binnen_->verstuur(std::move(verzoek), std::move(stop));
}

VoortgangTransport::Stand VoortgangTransport::stand() const {
    return {bezig_.load(), opschonen_.load(), verstuurd_.load(std::memory_order_relaxed),
            totaal_.load(std::memory_order_relaxed)};
}

}  // namespace tolmo::cli
