#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "TolmoKern/Transcriptie/Motor.h"

namespace tolmo {

// Where the remote calls go. Each provider and the relay server have a base URL, to which the
// fixed paths are appended. The providers have built-in defaults; the environment variables
// TOLMO_OPENAI_URL, TOLMO_MISTRAL_URL and TOLMO_SERVER_URL override them (a test server, a
// self-hosted relay). The relay has no built-in host.
class Eindpunten {
  public:
    static constexpr std::string_view openAIStandaard = "https://api.openai.com/";
    static constexpr std::string_view mistralStandaard = "https://api.mistral.ai/";
    static constexpr std::string_view transcriptiePad = "v1/audio/transcriptions";
    static constexpr std::string_view chatPad = "v1/chat/completions";

    static constexpr const char* openAIVariabele = "TOLMO_OPENAI_URL";
    static constexpr const char* mistralVariabele = "TOLMO_MISTRAL_URL";
    static constexpr const char* serverVariabele = "TOLMO_SERVER_URL";

    // Looks up one variable; nothing when it is not set.
    using Omgeving = std::function<std::optional<std::string>(const char* naam)>;

    // Base URLs as given; a missing final "/" is added. An empty server means none.
    Eindpunten(std::string openAI, std::string mistral, std::optional<std::string> server);
    // The defaults, overridden by the variables that are set and not empty.
    explicit Eindpunten(const Omgeving& omgeving);
    // From the process environment.
    static Eindpunten uitOmgeving();

    [[nodiscard]] const std::string& basis(Aanbieder aanbieder) const;
    [[nodiscard]] const std::optional<std::string>& server() const { return server_; }

    [[nodiscard]] std::string transcriptie(Aanbieder aanbieder) const;
    [[nodiscard]] std::string chat(Aanbieder aanbieder) const;
    // The relay's URLs; throw HerkenningsFout geenServeradres when no relay is configured.
    [[nodiscard]] std::string serverTranscriptie() const;
    [[nodiscard]] std::string serverChat() const;

  private:
    std::string openAI_;
    std::string mistral_;
    std::optional<std::string> server_;
};

}  // namespace tolmo
