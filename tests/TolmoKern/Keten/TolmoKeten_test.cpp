#include "TolmoKern/Keten/TolmoKeten.h"

#include <gtest/gtest.h>

#include "TolmoKern/Draad/Stop.h"

#include "TolmoKern/Keten/Geannuleerd.h"
#include "TolmoKern/Tekst/Tekst.h"
#include "TolmoKern/Transcriptie/CurlTransport.h"
#include "nep/Gevangen.h"
#include "nep/LoopbackServer.h"
#include "nep/NepKluis.h"
#include "nep/NepMotor.h"
#include "nep/NepOpschoner.h"
#include "nep/TijdelijkeOpname.h"

namespace tolmo {
namespace {

using Soort = HerkenningsFout::Soort;
using nep::NepOpschoner;

const std::string achtWoorden = "een twee drie vier vijf zes zeven acht";

Opname opname(double seconden = 2.0) {
    return nep::opnameVan("/tmp/bestaat-niet.wav", seconden);
}

struct Opstelling {
    std::shared_ptr<NepOpschoner::Script> script = std::make_shared<NepOpschoner::Script>();
    TolmoKeten keten;

    explicit Opstelling(std::string transcript, bool metOpschoner = true,
                        Opschoonniveau niveau = Opschoonniveau::strak) {
        keten.transcriptie = std::make_unique<nep::NepMotor>(std::move(transcript));
        if (metOpschoner) {
            keten.opschoner = std::make_unique<NepOpschoner>(niveau, script);
        }
        keten.woorden = {"Tolmo"};
    }
    nep::NepMotor& motor() { return static_cast<nep::NepMotor&>(*keten.transcriptie); }
};

OpschoonUitkomst schoon(std::string tekst) {
    return {std::move(tekst), "snel", 0.25};
}

std::string herhaal(char32_t c, std::size_t n) {
    return Tekst::utf8(std::u32string(n, c));
}

// The recognition error that f throws.
template <class F>
HerkenningsFout gooit(F f) {
    return nep::gevangen<HerkenningsFout>(f).value_or(HerkenningsFout::van(Soort::opnameMislukt));
}

TEST(TolmoKeten, EightCountedWordsAreCleanedSevenAreTidied) {
    struct Geval {
        std::string transcript;
        bool opgeschoond;
    };
    const Geval gevallen[] = {
        {"een twee drie vier vijf zes zeven", false},
        {achtWoorden, true},
        // Punctuation-only pieces do not count as words.
        {"een twee drie - vier vijf … zes zeven", false},
        {"een twee drie vier vijf zes zeven 8", true},
    };
    for (const Geval& g : gevallen) {
        SCOPED_TRACE(g.transcript);
        Opstelling o(g.transcript);
        o.script->strak.push_back(schoon("Opgeschoond 8."));
        o.keten.kortDictaatStap = [](const std::string& t, Stijl) { return "[" + t + "]"; };
        const KetenResultaat r = o.keten.verwerk(opname(), Stijl::neutraal, {});
        EXPECT_EQ(o.script->aanroepen.size(), g.opgeschoond ? 1U : 0U);
        if (g.opgeschoond) {
            // The digit survived: no second call, and the service's details are kept.
            EXPECT_EQ(r.tekst, "Opgeschoond 8.");
            EXPECT_FALSE(r.tijden.opschonenOvergeslagen);
            EXPECT_TRUE(r.tijden.opschonen);
            EXPECT_EQ(r.tijden.opschoonVerwerking, "snel");
            EXPECT_EQ(r.tijden.opschoonDienstTijd, 0.25);
        } else {
            EXPECT_EQ(r.tekst, "[" + g.transcript + "]");
            EXPECT_EQ(r.tijden.opschonenOvergeslagen, "kort dictaat");
            EXPECT_FALSE(r.tijden.opschonen);
        }
        EXPECT_EQ(r.ruw, g.transcript);
    }
}

TEST(TolmoKeten, FailuresOfTheCleanerDeliverTheUncleanedText) {
    // 105 characters (110 bytes): 1.3 × 105 = 136.5, so the answer may have 136 + 30 = 166
    // characters: rounded down, and counted in characters on both sides, not in bytes.
    const std::string tekst = achtWoorden + " " + herhaal(U'é', 5) + std::string(61, 'a');
    ASSERT_EQ(Tekst::aantalTekens(tekst), 105U);
    const std::string te = "opgeschoonde tekst leek niet op het dictaat";
    struct Geval {
        const char* naam;
        NepOpschoner::Antwoord antwoord;
        std::optional<std::string> probleem;
        std::string verwacht;
    };
    const Geval gevallen[] = {
        {"fout van de dienst", HerkenningsFout::timeout(Motor::mistral),
         "Mistral reageert niet. Probeer het opnieuw.", tekst},
        {"geen standaardfout", NepOpschoner::VreemdeFout{}, "onbekende fout", tekst},
        {"leeg antwoord", schoon(""), te, tekst},
        {"166 tekens", schoon(std::string(166, 'b')), std::nullopt, std::string(166, 'b')},
        {"167 tekens: te lang", schoon(std::string(167, 'b')), te, tekst},
        {"166 letters é", schoon(herhaal(U'é', 166)), std::nullopt, herhaal(U'é', 166)},
    };
    for (const Geval& g : gevallen) {
        SCOPED_TRACE(g.naam);
        Opstelling o(tekst);
        o.script->strak.push_back(g.antwoord);
        const KetenResultaat r = o.keten.verwerk(opname(), Stijl::neutraal, {});
        EXPECT_EQ(r.tekst, g.verwacht);
        EXPECT_EQ(r.opschoonProbleem, g.probleem);
        EXPECT_TRUE(r.tijden.opschonen);
    }
}

TEST(TolmoKeten, StrictCleaningThatLosesANumberIsRetriedOnceAtLight) {
    const std::string tekst = "ik wil 3 appels en 12 peren kopen bij de markt vandaag";
    using Rij = std::deque<NepOpschoner::Antwoord>;
    const std::string herhaald = TolmoKeten::strakHerhaald;
    struct Geval {
        const char* naam;
        Opschoonniveau niveau;
        Rij licht;
        bool heeftLicht;
        std::string verwacht;
        std::optional<std::string> probleem;
        std::size_t aanroepen;
    };
    const auto strak = Opschoonniveau::strak;
    const Geval gevallen[] = {
        {"licht houdt de getallen", strak, Rij{schoon("Ik wil 3 appels en 12 peren kopen.")}, true,
         "Ik wil 3 appels en 12 peren kopen.", std::nullopt, 2},
        // The light result is taken even when it too lost a number: no second guard.
        {"licht verliest ook een getal", strak, Rij{schoon("Ik wil appels en 12 peren.")}, true,
         "Ik wil appels en 12 peren.", std::nullopt, 2},
        {"licht faalt", strak, Rij{HerkenningsFout::api(Motor::openAI, 500)}, true, tekst,
         "OpenAI gaf een fout (code 500).", 2},
        {"licht te lang", strak, Rij{schoon(std::string(200, 'x'))}, true, tekst,
         "opgeschoonde tekst leek niet op het dictaat", 2},
        {"geen licht", strak, Rij{}, false, tekst,
         "Strak gaf minder getallen, Licht niet beschikbaar", 1},
        // Light cleaning is never guarded.
        {"licht gekozen", Opschoonniveau::licht, Rij{schoon("Ik wil appels.")}, true,
         "Ik wil appels.", std::nullopt, 1},
    };
    for (const Geval& g : gevallen) {
        SCOPED_TRACE(g.naam);
        Opstelling o(tekst, true, g.niveau);
        o.script->heeftLicht = g.heeftLicht;
        o.script->strak.push_back(schoon("Ik wil appels en peren kopen."));
        o.script->licht = g.licht;
        const KetenResultaat r = o.keten.verwerk(opname(), Stijl::zakelijk, {});
        EXPECT_EQ(r.tekst, g.verwacht);
        EXPECT_EQ(r.opschoonProbleem, g.probleem);
        EXPECT_EQ(r.tijden.opschonenHerhaald,
                  g.niveau == strak ? herhaald : std::optional<std::string>());
        ASSERT_EQ(o.script->aanroepen.size(), g.aanroepen);
        if (g.aanroepen == 2) {
            EXPECT_EQ(o.script->aanroepen[1].niveau, Opschoonniveau::licht);
            EXPECT_EQ(o.script->aanroepen[1].tekst, tekst);
            EXPECT_EQ(o.script->aanroepen[1].stijl, Stijl::zakelijk);
        }
    }
}

TEST(TolmoKeten, RecognitionErrorsAndWhatReachesTheEngine) {
    {
        Opstelling o(achtWoorden);
        Opname kapot = opname();
        kapot.onvolledig = true;
        EXPECT_EQ(gooit([&] { return o.keten.verwerk(kapot, Stijl::neutraal, {}); }).soort(),
                  Soort::opnameMislukt);
        EXPECT_EQ(o.motor().aanroepen, 0) << "an incomplete recording is never sent";
    }
    {
        Opstelling o("");
        EXPECT_EQ(gooit([&] { return o.keten.verwerk(opname(), Stijl::neutraal, {}); }).soort(),
                  Soort::nietsVerstaan);
    }
    {
        Opstelling o(achtWoorden);
        o.motor().fout = HerkenningsFout::api(Motor::openAI, 401);
        EXPECT_EQ(gooit([&] { return o.keten.verwerk(opname(), Stijl::neutraal, {}); }),
                  HerkenningsFout::api(Motor::openAI, 401));
        EXPECT_TRUE(o.script->aanroepen.empty());
    }
    {
        // White space is not "nothing understood": it goes on to the later steps.
        Opstelling o("   ");
        EXPECT_EQ(o.keten.verwerk(opname(), Stijl::neutraal, {}).tekst, "   ");
        EXPECT_EQ(o.motor().woorden, std::vector<std::string>{"Tolmo"});
    }
}

TEST(TolmoKeten, CancellationAtEachCheckpointIsNeverARecognitionError) {
    struct Geval {
        const char* naam;
        std::function<void(Opstelling&, StopBron&)> richtIn;
        int motorAanroepen;
        std::size_t opschoonAanroepen;
    };
    const Geval gevallen[] = {
        {"voor de motor", [](Opstelling&, StopBron& s) { s.vraagStop(); }, 0, 0},
        {"tijdens de motor, voor het opschonen",
         [](Opstelling& o, StopBron& s) { o.motor().tijdensAanroep = [&s] { s.vraagStop(); }; }, 1,
         0},
        {"fout van de opschoner na annuleren",
         [](Opstelling& o, StopBron& s) {
             o.script->tijdensAanroep = [&s] { s.vraagStop(); };
             o.script->strak.push_back(HerkenningsFout::van(Soort::geenNetwerk));
         },
         1, 1},
        {"opschoner gooit Geannuleerd",
         [](Opstelling& o, StopBron&) { o.script->tijdensAanroep = [] { throw Geannuleerd{}; }; },
         1, 1},
        {"voor de tweede (lichte) aanroep",
         [](Opstelling& o, StopBron& s) {
             o.script->tijdensAanroep = [&s] { s.vraagStop(); };
             o.script->strak.push_back(
                 schoon("Zonder getallen, een twee drie vier vijf zes zeven."));
         },
         1, 1},
    };
    for (const Geval& g : gevallen) {
        SCOPED_TRACE(g.naam);
        Opstelling o(achtWoorden + " 42");
        StopBron bron;
        g.richtIn(o, bron);
        EXPECT_THROW(o.keten.verwerk(opname(), Stijl::neutraal, bron.token()), Geannuleerd);
        EXPECT_EQ(o.motor().aanroepen, g.motorAanroepen);
        EXPECT_EQ(o.script->aanroepen.size(), g.opschoonAanroepen);
    }
}

TEST(TolmoKeten, FactoryBuildsTheTestEngineWithoutACleanerAndNeedsKeysForTheOthers) {
    nep::NepKluis kluis;
    TolmoInstellingen s = TolmoInstellingen::standaard();
    s.motor = Motor::test;
    s.woorden = {"Tolmo"};
    s.vervangingen = {{"Proef", {"test"}}};
    s.spraakopdrachten = false;
    TolmoKeten keten = TolmoKeten::bouw(s, kluis, nullptr);
    EXPECT_FALSE(keten.opschoner) << "the test engine never gets a cleaner, though cleanup is on";
    EXPECT_EQ(keten.woorden, s.woorden);
    EXPECT_FALSE(keten.spraakopdrachten);
    EXPECT_FALSE(TolmoKeten::eersteAdres(s)) << "nothing to warm up";
    // The replacements count, and the raw transcript stays as heard.
    const KetenResultaat r = keten.verwerk(opname(2.4), Stijl::neutraal, {});
    EXPECT_EQ(r.tekst, "Proef: 2,4 s audio ontvangen, niveau -46 dB");
    EXPECT_EQ(r.ruw, "Test: 2,4 s audio ontvangen, niveau -46 dB");
    EXPECT_EQ(r.toepassingen, (std::map<std::string, std::int64_t>{{"Proef", 1}}));
    EXPECT_DOUBLE_EQ(r.tijden.opname, 2.4);

    const auto bouw = [&] { return TolmoKeten::bouw(s, kluis, nullptr); };
    for (Motor m : {Motor::openAI, Motor::mistral}) {
        s.motor = m;
        EXPECT_EQ(gooit(bouw), HerkenningsFout::geenSleutel(m));
    }
}

// Counts the requests it passes to the real transport, to show which transport the chain uses.
class TelTransport final : public HTTPTransport {
  public:
    int aantal = 0;
    HTTPAntwoord verstuur(HTTPVerzoek verzoek, StopToken stop) override {
        ++aantal;
        return CurlTransport().verstuur(std::move(verzoek), stop);
    }
};

TEST(TolmoKeten, FactoryWiresTheNetworkEnginesToTheConfiguredServers) {
    nep::LoopbackServer server;
    // One answer that serves as the transcript and as the cleanup.
    server.zetAntwoord(nep::LoopbackServer::Antwoord::json(
        200, R"({"text":" Hallo Tolmo, dit dictaat is lang genoeg om op te schonen ",)"
             R"("choices":[{"message":{"content":"Schoon."}}]})"));
    nep::TijdelijkeMap map;
    const Opname o = nep::opnameVan(map.schrijf("o.wav", "RIFF"), 1.5);
    // Addresses with and without a closing slash.
    const nep::OmgevingsVariabele openAI("TOLMO_OPENAI_URL", server.url() + "openai/");
    const nep::OmgevingsVariabele mistral("TOLMO_MISTRAL_URL", server.url() + "mistral");
    const nep::OmgevingsVariabele relay("TOLMO_SERVER_URL", server.url() + "relay");
    nep::NepKluis kluis;
    kluis.sleutels = {{Aanbieder::openAI, "sk-openai"}, {Aanbieder::mistral, "sk-mistral"}};
    kluis.code = "toegang-123";

    struct Geval {
        Motor motor;
        Aanbieder serverAanbieder;
        bool eigenTransport;  // and the light level, which is not the default
        std::string pad;
        std::string autorisatie;
        std::optional<std::string> aanbiederHeader;
        std::string model;
        std::string chatModel;
    };
    const Geval gevallen[] = {
        {Motor::openAI, Aanbieder::mistral, true, "/openai/", "Bearer sk-openai", std::nullopt,
         "gpt-transcribe", "gpt-6-luna"},
        {Motor::mistral, Aanbieder::openAI, false, "/mistral/", "Bearer sk-mistral", std::nullopt,
         "voxtral-mini-2602", "mistral-small-2603"},
        {Motor::tolmo, Aanbieder::mistral, true, "/relay/", "Bearer toegang-123", "mistral",
         "voxtral-mini-2602", "mistral-small-2603"},
        {Motor::tolmo, Aanbieder::openAI, false, "/relay/", "Bearer toegang-123", "openai",
         "gpt-transcribe", "gpt-6-luna"},
    };
    for (const Geval& g : gevallen) {
        SCOPED_TRACE(::testing::Message() << motorWaarden.naam(g.motor) << " via "
                                          << aanbiederWaarden.naam(g.serverAanbieder));
        TolmoInstellingen s = TolmoInstellingen::standaard();
        s.motor = g.motor;
        s.serverAanbieder = g.serverAanbieder;
        if (g.eigenTransport) {
            s.opschoonNiveau = Opschoonniveau::licht;
        }
        const auto transport = std::make_shared<TelTransport>();
        TolmoKeten keten = TolmoKeten::bouw(s, kluis, g.eigenTransport ? transport : nullptr);
        ASSERT_TRUE(keten.opschoner) << "cleanup is on by default";
        EXPECT_EQ(keten.opschoner->niveau(), s.opschoonNiveau);
        TolmoInstellingen uit = s;
        uit.opschonen = false;
        EXPECT_FALSE(TolmoKeten::bouw(uit, kluis, transport).opschoner);

        // While the user speaks the engine's connection is opened with a GET, and every
        // request after goes out over it, whichever transport object sends it.
        const std::size_t voor = server.aantalVerzoeken();
        TolmoKeten::opwarmen(s);
        EXPECT_EQ(keten.verwerk(o, Stijl::neutraal, {}).tekst, "Schoon.");
        EXPECT_EQ(server.aantalVerbindingen(), 1U);
        EXPECT_EQ(transport->aantal, g.eigenTransport ? 2 : 0);
        const auto v = server.verzoeken();
        ASSERT_EQ(v.size(), voor + 3);
        EXPECT_EQ(v[voor].methode, "GET");
        EXPECT_EQ(v[voor].doel, g.pad + "v1/audio/transcriptions");
        EXPECT_EQ(v[voor + 1].doel, g.pad + "v1/audio/transcriptions");
        EXPECT_NE(v[voor + 1].body.find("name=\"model\"\r\n\r\n" + g.model + "\r\n"),
                  std::string::npos);
        EXPECT_EQ(v[voor + 2].doel, g.pad + "v1/chat/completions");
        EXPECT_EQ(nlohmann::json::parse(v[voor + 2].body)["model"], g.chatModel);
        for (const auto& verzoek : {v[voor + 1], v[voor + 2]}) {
            EXPECT_EQ(verzoek.header("Authorization"), g.autorisatie);
            EXPECT_EQ(verzoek.header("X-Tolmo-Aanbieder"), g.aanbiederHeader);
        }
    }

    // The relay has no built-in address; a missing token is reported first.
    const nep::OmgevingsVariabele geenRelay("TOLMO_SERVER_URL", std::nullopt);
    TolmoInstellingen s = TolmoInstellingen::standaard();
    s.motor = Motor::tolmo;
    const auto bouw = [&] { return TolmoKeten::bouw(s, kluis, nullptr); };
    EXPECT_FALSE(TolmoKeten::eersteAdres(s)) << "nothing to warm up";
    EXPECT_EQ(gooit(bouw), HerkenningsFout::van(Soort::geenServeradres));
    kluis.code.reset();
    EXPECT_EQ(gooit(bouw), HerkenningsFout::van(Soort::geenToegangscode));
}

}  // namespace
}  // namespace tolmo
