#include "TolmoKern/Transcriptie/Eindpunten.h"

#include <gtest/gtest.h>

#include <optional>

#include "TolmoKern/Transcriptie/HerkenningsFout.h"
#include "nep/Gevangen.h"

namespace tolmo {
namespace {

// Set variables, with or without a closing slash, are the chain's wiring test, against a
// loopback server.
TEST(Eindpunten, UnsetOrEmptyVariablesGiveTheProvidersAndNoRelay) {
    for (const std::optional<std::string>& waarde :
         {std::optional<std::string>(), std::optional<std::string>("")}) {
        const Eindpunten e([&](const char*) { return waarde; });
        EXPECT_EQ(e.transcriptie(Aanbieder::openAI),
                  "https://api.openai.com/v1/audio/transcriptions");
        EXPECT_EQ(e.chat(Aanbieder::openAI), "https://api.openai.com/v1/chat/completions");
        EXPECT_EQ(e.transcriptie(Aanbieder::mistral),
                  "https://api.mistral.ai/v1/audio/transcriptions");
        EXPECT_EQ(e.chat(Aanbieder::mistral), "https://api.mistral.ai/v1/chat/completions");
        for (const auto& url : {&Eindpunten::serverTranscriptie, &Eindpunten::serverChat}) {
            EXPECT_EQ(nep::gevangen<HerkenningsFout>([&] { return (e.*url)(); }),
                      HerkenningsFout::van(HerkenningsFout::Soort::geenServeradres));
        }
    }
}

}  // namespace
}  // namespace tolmo
