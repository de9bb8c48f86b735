// The chat cleaner through the real libcurl transport against a loopback server, inside the
// chain's guards.
#include <gtest/gtest.h>

#include "TolmoKern/Keten/TolmoKeten.h"
#include "TolmoKern/Opschonen/ChatOpschoner.h"
#include "TolmoKern/Transcriptie/CurlTransport.h"
#include "TolmoKern/Transcriptie/TolmoServerTransport.h"
#include "nep/LoopbackServer.h"
#include "nep/NepMotor.h"
#include "nep/TijdelijkeOpname.h"

namespace tolmo {
namespace {

using nep::LoopbackServer;
using A = LoopbackServer::Antwoord;
using nlohmann::json;

const std::string dictaat = "ik wil drie appels en 12 peren kopen bij de markt vandaag";

std::string antwoordMet(const json& inhoud) {
    return json{{"choices", json::array({{{"message", {{"role", "assistant"}, {"content", inhoud}}},
                                          {"finish_reason", "stop"}}})},
                {"service_tier", "default"}}
        .dump();
}

struct Opstelling {
    LoopbackServer server;
    std::shared_ptr<HTTPTransport> transport = std::make_shared<CurlTransport>();

    TolmoKeten keten(Motor aanbieder, Opschoonniveau niveau,
                     std::chrono::milliseconds timeout = std::chrono::seconds(15)) {
        TolmoKeten k;
        k.transcriptie = std::make_unique<nep::NepMotor>(dictaat);
        ChatOpschoner::Model model = ChatOpschoner::Model::voor(aanbieder);
        model.adres = server.url() + "v1/chat/completions";
        k.opschoner =
            std::make_unique<ChatOpschoner>(model, std::vector<std::string>{"Hoi! Tot straks."},
                                            niveau, "sk-test", transport, timeout);
        k.woorden = {"Tolmo"};
        return k;
    }
};

TEST(ChatOpschonerServer, TheRequestEachProviderReceives) {
    struct Geval {
        Motor aanbieder;
        Opschoonniveau niveau;
        Stijl stijl;
        json eigen;  // the model and the provider's own fields
    };
    // The budget: 57 characters, 57 × 1.3 = 74.1, so 74 + 30.
    const json openAI = {
        {"model", "gpt-6-luna"}, {"max_completion_tokens", 104}, {"service_tier", "fast"}};
    const json mistral = {
        {"model", "mistral-small-2603"}, {"max_tokens", 104}, {"temperature", 0.2}};
    // The light level with a style that would not tell the levels apart is the retry test's.
    const Geval gevallen[] = {
        {Motor::openAI, Opschoonniveau::licht, Stijl::letterlijk, openAI},
        {Motor::mistral, Opschoonniveau::strak, Stijl::zakelijk, mistral},
    };
    for (const Geval& g : gevallen) {
        SCOPED_TRACE(g.eigen.dump() + " " + std::string(opschoonniveauWaarden.naam(g.niveau)));
        Opstelling o;
        const std::string schoon = "Ik wil vandaag drie appels en 12 peren kopen.";
        o.server.zetAntwoord(A::json(200, antwoordMet(schoon)));
        TolmoKeten k = o.keten(g.aanbieder, g.niveau);
        const KetenResultaat r = k.verwerk(nep::opnameVan({}, 2.0), g.stijl, {});
        EXPECT_EQ(r.tekst, schoon);
        EXPECT_EQ(r.tijden.opschoonVerwerking, "default");
        ASSERT_EQ(o.server.aantalVerzoeken(), 1U);
        const auto v = o.server.verzoeken().front();
        EXPECT_EQ(v.methode, "POST");
        EXPECT_EQ(v.doel, "/v1/chat/completions");
        EXPECT_EQ(v.header("Authorization"), "Bearer sk-test");
        EXPECT_EQ(v.header("Content-Type"), "application/json");
        // Compact, keys sorted, slashes not escaped; the literal style hears no commands.
        json verwacht = g.eigen;
        verwacht["reasoning_effort"] = "none";
        verwacht["messages"] = json::array(
            {{{"role", "system"},
              {"content",
               ChatOpschoner::systeemprompt({"Tolmo"}, g.stijl, g.stijl != Stijl::letterlijk,
                                            {"Hoi! Tot straks."}, g.niveau)}},
             {{"role", "user"}, {"content", "<transcriptie>\n" + dictaat + "\n</transcriptie>"}}});
        EXPECT_EQ(v.body, verwacht.dump());
    }
}

TEST(ChatOpschonerServer, BadAnswersDeliverTheUncleanedText) {
    struct Geval {
        const char* naam;
        A antwoord;
        std::string tekst;
        std::optional<std::string> probleem;
        bool viaRelay = false;
    };
    A traag = A::json(200, antwoordMet("te laat"));
    traag.vertraging = std::chrono::milliseconds(3000);
    const Geval gevallen[] = {
        {"tekst met tags",
         A::json(200, antwoordMet(
                          "  <transcriptie>\nIk wil drie appels en 12 peren.\n</transcriptie> ")),
         "Ik wil drie appels en 12 peren.", std::nullopt},
        {"stukken",
         A::json(200,
                 antwoordMet(json::array({{{"type", "text"}, {"text", "Ik wil drie "}},
                                          {{"type", "thinking"}, {"thinking", json::array()}},
                                          {{"type", "text"}, {"text", "appels en 12 peren."}}}))),
         "Ik wil drie appels en 12 peren.", std::nullopt},
        {"null", A::json(200, antwoordMet(nullptr)), dictaat, "Onverwacht antwoord van OpenAI."},
        {"getal", A::json(200, antwoordMet(42)), dictaat, "Onverwacht antwoord van OpenAI."},
        {"geen keuzes", A::json(200, R"({"choices":[]})"), dictaat,
         "Onverwacht antwoord van OpenAI."},
        {"ongeldige JSON", A::json(200, "{niet"), dictaat, "Onverwacht antwoord van OpenAI."},
        {"HTTP 500", A::json(500, R"({"error":"x"})"), dictaat, "OpenAI gaf een fout (code 500)."},
        {"blijft hangen", traag, dictaat, "OpenAI reageert niet. Probeer het opnieuw."},
        // The relay's own errors reach the chain as they are.
        {"relay aan zijn limiet", A::json(429, R"({"soort":"dag"})"), dictaat,
         "De Tolmo-server zit tijdelijk aan zijn limiet. Probeer het later opnieuw.", true},
    };
    for (const Geval& g : gevallen) {
        SCOPED_TRACE(g.naam);
        Opstelling o;
        o.server.zetAntwoord(g.antwoord);
        if (g.viaRelay) {
            o.transport = std::make_shared<TolmoServerTransport>(o.transport, Aanbieder::openAI);
        }
        // A short time-out stands in for the 15 seconds of real use; long enough that a loaded
        // CI machine does not miss a prompt answer.
        TolmoKeten k =
            o.keten(Motor::openAI, Opschoonniveau::licht, std::chrono::milliseconds(1000));
        const KetenResultaat r = k.verwerk(nep::opnameVan({}, 2.0), Stijl::neutraal, {});
        EXPECT_EQ(r.tekst, g.tekst);
        EXPECT_EQ(r.opschoonProbleem, g.probleem);
        EXPECT_TRUE(r.tijden.opschonen);
    }
}

TEST(ChatOpschonerServer, StrictLosingANumberIsAskedOnceMoreAtLight) {
    Opstelling o;
    o.server.zetAntwoorden({A::json(200, antwoordMet("Ik wil appels en peren kopen.")),
                            A::json(200, antwoordMet("Ik wil appels en 12 peren kopen."))});
    TolmoKeten k = o.keten(Motor::mistral, Opschoonniveau::strak);
    const KetenResultaat r = k.verwerk(nep::opnameVan({}, 2.0), Stijl::neutraal, {});
    // The light answer is taken even though it also lost a number: there is no third call.
    EXPECT_EQ(r.tekst, "Ik wil appels en 12 peren kopen.");
    EXPECT_EQ(r.tijden.opschonenHerhaald, "Strak gaf minder getallen, opnieuw op Licht");
    ASSERT_EQ(o.server.aantalVerzoeken(), 2U);
    // The second request is the first at the light level: model, words, samples and key kept.
    const auto verzoeken = o.server.verzoeken();
    const auto prompt = [](Opschoonniveau n) {
        return ChatOpschoner::systeemprompt({"Tolmo"}, Stijl::neutraal, true, {"Hoi! Tot straks."},
                                            n);
    };
    json licht = json::parse(verzoeken[0].body);
    EXPECT_EQ(licht["messages"][0]["content"], prompt(Opschoonniveau::strak));
    licht["messages"][0]["content"] = prompt(Opschoonniveau::licht);
    EXPECT_EQ(json::parse(verzoeken[1].body), licht);
    EXPECT_EQ(verzoeken[1].header("Authorization"), "Bearer sk-test");
}

}  // namespace
}  // namespace tolmo
