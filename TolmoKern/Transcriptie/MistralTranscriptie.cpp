#include "TolmoKern/Transcriptie/MistralTranscriptie.h"

#include "TolmoKern/Tekst/Tekst.h"
#include "TolmoKern/Transcriptie/Eindpunten.h"

namespace tolmo {

MistralTranscriptie::MistralTranscriptie(std::string sleutel,
                                         std::shared_ptr<HTTPTransport> transport,
                                         std::string eindpunt, std::chrono::milliseconds timeout)
    : NetwerkTranscriptie(Aanbieder::mistral, std::move(sleutel), std::move(transport),
                          std::move(eindpunt), timeout) {}

std::string MistralTranscriptie::standaardEindpunt() {
    return Eindpunten::uitOmgeving().transcriptie(Aanbieder::mistral);
}

std::string MistralTranscriptie::contextBias(std::string_view term) {
    std::string zonderKomma;
    for (char c : term) {
        if (c != ',') {
            zonderKomma += c;
        }
    }
    std::string uit;
    for (const std::string& stuk : Tekst::splitsOpWitruimte(zonderKomma)) {
        if (stuk.empty()) {
            continue;
        }
        if (!uit.empty()) {
            uit += '_';
        }
        uit += stuk;
    }
    return uit;
}

void MistralTranscriptie::voegVeldenToe(MultipartFormulier& formulier,
                                        const std::vector<std::string>& woorden) const {
    formulier.voegTekstToe("model", model);
    for (const std::string& term : woorden) {
        // A term of only commas and spaces has nothing to bias towards.
        if (const std::string bias = contextBias(term); !bias.empty()) {
            formulier.voegTekstToe("context_bias", bias);
        }
    }
}

}  // namespace tolmo
