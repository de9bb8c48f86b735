#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "TolmoKern/Transcriptie/NetwerkTranscriptie.h"

namespace tolmo {

// Speech to text with OpenAI's API: fields "model", "prompt" (naming the word-list terms) and
// the file.
class OpenAITranscriptie final : public NetwerkTranscriptie {
  public:
    static constexpr std::string_view model = "gpt-transcribe";
    static constexpr std::string_view basisPrompt =
        "Dictated speech, possibly in more than one language mixed together. Transcribe each "
        "part in the language spoken; do not translate.";
    static constexpr std::string_view termenInleiding =
        " Namen en termen die kunnen voorkomen, alleen als ze echt gezegd worden: ";

    // eindpunt: the full transcription URL.
    OpenAITranscriptie(std::string sleutel, std::shared_ptr<HTTPTransport> transport,
                       std::string eindpunt = standaardEindpunt(),
                       std::chrono::milliseconds timeout = standaardTimeout);

    // OpenAI's transcription URL, or the one TOLMO_OPENAI_URL points at.
    static std::string standaardEindpunt();
    static std::string prompt(const std::vector<std::string>& woorden);

  protected:
    void voegVeldenToe(MultipartFormulier& formulier,
                       const std::vector<std::string>& woorden) const override;
};

}  // namespace tolmo
