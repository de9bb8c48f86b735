#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json.hpp>

#include "TolmoKern/Opschonen/Opschoner.h"
#include "TolmoKern/Transcriptie/HTTPTransport.h"
#include "TolmoKern/Transcriptie/Motor.h"

namespace tolmo {

// Cleans a transcript with a small language model through a chat-completions endpoint: the same
// words back, tidied, in the target app's style, with the word list and the user's writing
// samples in the prompt. Used directly against a provider or through the relay server, depending
// on the transport it is given.
class ChatOpschoner final : public Opschoner {
  public:
    struct Model {
        Motor aanbieder = Motor::openAI;
        std::string adres;  // the chat-completions URL
        std::string naam;
        std::optional<double> temperatuur;
        std::optional<std::string> dienstklasse;  // sent as "service_tier"

        // The built-in models, addressed at the providers' own APIs (created once).
        static const Model& openAI();
        static const Model& mistral();
        // mistral takes the Mistral model, every other provider the OpenAI one.
        static const Model& voor(Motor aanbieder);

        bool operator==(const Model&) const = default;
    };

    struct Bericht {
        std::string role;
        std::string content;
    };

    struct Body {
        std::string model;
        std::vector<Bericht> messages;
        std::optional<std::string> reasoningEffort;
        std::optional<double> temperature;
        std::optional<std::string> serviceTier;
        std::optional<std::int64_t> maxCompletionTokens;
        std::optional<std::int64_t> maxTokens;

        // Sorted keys, absent values left out, slashes not escaped.
        [[nodiscard]] std::string naarJson() const;
    };

    struct Inhoud {
        std::optional<std::string> content;
    };
    struct Keuze {
        Inhoud message;
        std::optional<std::string> finishReason;
    };
    struct Antwoord {
        std::vector<Keuze> choices;
        std::optional<std::string> serviceTier;
        // Empty when the body is not a chat-completions answer.
        static std::optional<Antwoord> decodeer(std::string_view body);
    };

    static constexpr std::chrono::milliseconds standaardTimeout{15000};

    ChatOpschoner(Model model, std::vector<std::string> voorbeelden, Opschoonniveau niveau,
                  std::string sleutel, std::shared_ptr<HTTPTransport> transport,
                  std::chrono::milliseconds timeout = standaardTimeout);

    [[nodiscard]] Opschoonniveau niveau() const override { return niveau_; }
    [[nodiscard]] std::unique_ptr<Opschoner> opNiveau(Opschoonniveau niveau) const override;
    OpschoonUitkomst schoonOp(const std::string& tekst, const std::vector<std::string>& woorden,
                              Stijl stijl, bool spraakopdrachtenActief, StopToken stop) override;
    [[nodiscard]] std::int64_t telGetallen(const std::string& tekst) const override {
        return telHoeveelheden(tekst);
    }

    [[nodiscard]] const Model& model() const { return model_; }

    // The request this cleaner sends for a text.
    [[nodiscard]] Body body(const std::string& tekst, const std::vector<std::string>& woorden,
                            Stijl stijl, bool spraakopdrachtenActief) const;

    static std::string systeemprompt(const std::vector<std::string>& woorden, Stijl stijl,
                                     bool spraakopdrachten,
                                     const std::vector<std::string>& voorbeelden,
                                     Opschoonniveau niveau);
    // The base prompt with the voice-commands-on rule, ready made.
    static const std::string& vasteSysteemprompt();
    static std::string gebruikersbericht(const std::string& tekst);
    // Characters × 1.3, truncated, + 30: the answer's token budget.
    static std::int64_t tokenBudget(const std::string& tekst);
    // Numbers and quantities: tokens with a digit, unit and time words, "een" before a unit
    // word, and Dutch number words.
    static std::int64_t telHoeveelheden(const std::string& tekst);

  private:
    Model model_;
    std::vector<std::string> voorbeelden_;
    Opschoonniveau niveau_;
    std::string sleutel_;
    std::shared_ptr<HTTPTransport> transport_;
    std::chrono::milliseconds timeout_;
};

}  // namespace tolmo
