#include "TolmoKern/Transcriptie/OpenAITranscriptie.h"

#include "TolmoKern/Transcriptie/Eindpunten.h"

namespace tolmo {

OpenAITranscriptie::OpenAITranscriptie(std::string sleutel,
                                       std::shared_ptr<HTTPTransport> transport,
                                       std::string eindpunt, std::chrono::milliseconds timeout)
    : NetwerkTranscriptie(Aanbieder::openAI, std::move(sleutel), std::move(transport),
                          std::move(eindpunt), timeout) {}

std::string OpenAITranscriptie::standaardEindpunt() {
    return Eindpunten::uitOmgeving().transcriptie(Aanbieder::openAI);
}

std::string OpenAITranscriptie::prompt(const std::vector<std::string>& woorden) {
    std::string uit(basisPrompt);
    if (woorden.empty()) {
        return uit;
    }
    uit += termenInleiding;
    for (std::size_t i = 0; i < woorden.size(); ++i) {
        if (i > 0) {
            uit += ", ";
        }
        uit += woorden[i];
    }
    uit += '.';
    return uit;
}

void OpenAITranscriptie::voegVeldenToe(MultipartFormulier& formulier,
                                       const std::vector<std::string>& woorden) const {
    formulier.voegTekstToe("model", model);
    formulier.voegTekstToe("prompt", prompt(woorden));
}

}  // namespace tolmo
