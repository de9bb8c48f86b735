#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "TolmoKern/Transcriptie/NetwerkTranscriptie.h"

namespace tolmo {

// Speech to text with Mistral's EU API: field "model", one "context_bias" part per word-list
// term, and the file. Mistral gets no prompt.
class MistralTranscriptie final : public NetwerkTranscriptie {
  public:
    static constexpr std::string_view model = "voxtral-mini-2602";

    // eindpunt: the full transcription URL.
    MistralTranscriptie(std::string sleutel, std::shared_ptr<HTTPTransport> transport,
                        std::string eindpunt = standaardEindpunt(),
                        std::chrono::milliseconds timeout = standaardTimeout);

    // Mistral's transcription URL, or the one TOLMO_MISTRAL_URL points at.
    static std::string standaardEindpunt();
    // A term as context bias takes one token: commas dropped, white-space runs become "_"
    // ("Jan de Vries" -> "Jan_de_Vries", "A, B" -> "A_B").
    static std::string contextBias(std::string_view term);

  protected:
    void voegVeldenToe(MultipartFormulier& formulier,
                       const std::vector<std::string>& woorden) const override;
};

}  // namespace tolmo
