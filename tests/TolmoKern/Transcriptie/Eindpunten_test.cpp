#include "TolmoKern/Transcriptie/Eindpunten.h"

#include <gtest/gtest.h>

#include <map>

#include "TolmoKern/Transcriptie/HerkenningsFout.h"
#include "nep/Gevangen.h"

namespace tolmo {
namespace {

TEST(Eindpunten, VariablesOverrideTheDefaultsAndThePathsAreAppended) {
    using Omgeving = std::map<std::string, std::string>;
    struct Geval {
        const char* naam;
        Omgeving omgeving;
        std::string openAI;
        std::string mistral;
        std::optional<std::string> server;  // transcription URL of the relay
    };
    const Geval gevallen[] = {
        {"niets gezet", {}, "https://api.openai.com/", "https://api.mistral.ai/", std::nullopt},
        {"alles gezet, zonder slash",
         Omgeving{{"TOLMO_OPENAI_URL", "http://127.0.0.1:8080"},
                  {"TOLMO_MISTRAL_URL", "http://127.0.0.1:8081/"},
                  {"TOLMO_SERVER_URL", "https://relay.example/tolmo"}},
         "http://127.0.0.1:8080/", "http://127.0.0.1:8081/",
         "https://relay.example/tolmo/v1/audio/transcriptions"},
        {"lege waarden tellen als niet gezet",
         Omgeving{{"TOLMO_OPENAI_URL", ""}, {"TOLMO_MISTRAL_URL", ""}, {"TOLMO_SERVER_URL", ""}},
         "https://api.openai.com/", "https://api.mistral.ai/", std::nullopt},
    };
    for (const Geval& g : gevallen) {
        SCOPED_TRACE(g.naam);
        const Eindpunten e([&](const char* naam) -> std::optional<std::string> {
            const auto it = g.omgeving.find(naam);
            return it == g.omgeving.end() ? std::nullopt : std::optional(it->second);
        });
        EXPECT_EQ(e.transcriptie(Aanbieder::openAI), g.openAI + "v1/audio/transcriptions");
        EXPECT_EQ(e.chat(Aanbieder::openAI), g.openAI + "v1/chat/completions");
        EXPECT_EQ(e.transcriptie(Aanbieder::mistral), g.mistral + "v1/audio/transcriptions");
        EXPECT_EQ(e.chat(Aanbieder::mistral), g.mistral + "v1/chat/completions");
        if (g.server) {
            EXPECT_EQ(e.serverTranscriptie(), *g.server);
            EXPECT_EQ(e.serverChat(), "https://relay.example/tolmo/v1/chat/completions");
        } else {
            for (const auto& url : {&Eindpunten::serverTranscriptie, &Eindpunten::serverChat}) {
                EXPECT_EQ(nep::gevangen<HerkenningsFout>([&] { return (e.*url)(); }),
                          HerkenningsFout::van(HerkenningsFout::Soort::geenServeradres));
            }
        }
    }
}

}  // namespace
}  // namespace tolmo
