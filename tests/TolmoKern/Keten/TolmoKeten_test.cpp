#include "TolmoKern/Keten/TolmoKeten.h"

#include <gtest/gtest.h>

#include "TolmoKern/Draad/Stop.h"

#include "TolmoKern/Keten/Geannuleerd.h"
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

std::string herhaal(const std::string& s, int n) {
    std::string uit;
    for (int i = 0; i < n; ++i) {
        uit += s;
    }
    return uit;
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
        {"  een\ttwee\ndrie  vier vijf zes zeven  ", false},
    };
    for (const Geval& g : gevallen) {
        SCOPED_TRACE(g.transcript);
        Opstelling o(g.transcript);
        o.script->strak.push_back(schoon("Opgeschoond 8."));
        int tidied = 0;
        o.keten.kortDictaatStap = [&](const std::string& t, Stijl) {
            ++tidied;
            return "[" + t + "]";
        };
        const KetenResultaat r = o.keten.verwerk(opname(), Stijl::neutraal, {});
        EXPECT_EQ(o.script->aanroepen.size(), g.opgeschoond ? 1U : 0U);
        if (g.opgeschoond) {
            EXPECT_EQ(r.tekst, "Opgeschoond 8.");
            EXPECT_FALSE(r.tijden.opschonenOvergeslagen);
            EXPECT_TRUE(r.tijden.opschonen);
        } else {
            EXPECT_EQ(tidied, 1);
            EXPECT_EQ(r.tekst, "[" + g.transcript + "]");
            EXPECT_EQ(r.tijden.opschonenOvergeslagen, "kort dictaat");
            EXPECT_FALSE(r.tijden.opschonen);
        }
        EXPECT_EQ(r.ruw, g.transcript);
    }
}

TEST(TolmoKeten, FailuresOfTheCleanerDeliverTheUncleanedText) {
    // 101 characters: 1.3 × 101 = 131.3, so the answer may have 131 + 30 = 161 characters.
    const std::string tekst = achtWoorden + " " + std::string(101 - achtWoorden.size() - 1, 'a');
    ASSERT_EQ(tekst.size(), 101U);
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
        {"andere fout", NepOpschoner::AndereFout{}, "onbekende fout", tekst},
        {"geen standaardfout", NepOpschoner::VreemdeFout{}, "onbekende fout", tekst},
        {"leeg antwoord", schoon(""), te, tekst},
        {"161 tekens: precies goed", schoon(std::string(161, 'b')), std::nullopt,
         std::string(161, 'b')},
        {"162 tekens: te lang", schoon(std::string(162, 'b')), te, tekst},
        // Characters are grapheme clusters, not bytes: 161 two-byte letters still fit.
        {"161 letters é", schoon(herhaal("é", 161)), std::nullopt, herhaal("é", 161)},
    };
    for (const Geval& g : gevallen) {
        SCOPED_TRACE(g.naam);
        Opstelling o(tekst);
        o.script->strak.push_back(g.antwoord);
        const KetenResultaat r = o.keten.verwerk(opname(), Stijl::neutraal, {});
        EXPECT_EQ(r.tekst, g.verwacht);
        EXPECT_EQ(r.opschoonProbleem, g.probleem);
        EXPECT_TRUE(r.tijden.opschonen);
        EXPECT_EQ(r.ruw, tekst);
    }
}

TEST(TolmoKeten, StrictCleaningThatLosesANumberIsRetriedOnceAtLight) {
    const std::string tekst = "ik wil 3 appels en 12 peren kopen bij de markt vandaag";
    using Rij = std::deque<NepOpschoner::Antwoord>;
    struct Geval {
        const char* naam;
        Rij licht;
        bool heeftLicht;
        std::string verwacht;
        std::optional<std::string> probleem;
        std::size_t aanroepen;
    };
    const Geval gevallen[] = {
        {"licht houdt de getallen", Rij{schoon("Ik wil 3 appels en 12 peren kopen.")}, true,
         "Ik wil 3 appels en 12 peren kopen.", std::nullopt, 2},
        // The light result is taken even when it too lost a number: no second guard.
        {"licht verliest ook een getal", Rij{schoon("Ik wil appels en 12 peren.")}, true,
         "Ik wil appels en 12 peren.", std::nullopt, 2},
        {"licht faalt", Rij{HerkenningsFout::api(Motor::openAI, 500)}, true, tekst,
         "OpenAI gaf een fout (code 500).", 2},
        {"licht te lang", Rij{schoon(std::string(200, 'x'))}, true, tekst,
         "opgeschoonde tekst leek niet op het dictaat", 2},
        {"geen licht", Rij{}, false, tekst, "Strak gaf minder getallen, Licht niet beschikbaar", 1},
    };
    for (const Geval& g : gevallen) {
        SCOPED_TRACE(g.naam);
        Opstelling o(tekst);
        o.script->heeftLicht = g.heeftLicht;
        o.script->strak.push_back(
            OpschoonUitkomst{"Ik wil appels en peren kopen.", "strak-tier", 0.5});
        o.script->licht = g.licht;
        const KetenResultaat r = o.keten.verwerk(opname(), Stijl::zakelijk, {});
        EXPECT_EQ(r.tekst, g.verwacht);
        EXPECT_EQ(r.opschoonProbleem, g.probleem);
        EXPECT_EQ(r.tijden.opschonenHerhaald, "Strak gaf minder getallen, opnieuw op Licht");
        ASSERT_EQ(o.script->aanroepen.size(), g.aanroepen);
        if (g.aanroepen == 2) {
            EXPECT_EQ(o.script->aanroepen[1].niveau, Opschoonniveau::licht);
            EXPECT_EQ(o.script->aanroepen[1].tekst, tekst);
            EXPECT_EQ(o.script->aanroepen[1].stijl, Stijl::zakelijk);
        }
    }
}

TEST(TolmoKeten, NoNumberGuardAtLightOrWhenNothingWasLost) {
    const std::string tekst = "ik wil 3 appels en 12 peren kopen bij de markt vandaag";
    {
        Opstelling o(tekst, true, Opschoonniveau::licht);
        o.script->licht.push_back(schoon("Ik wil appels."));
        const KetenResultaat r = o.keten.verwerk(opname(), Stijl::neutraal, {});
        EXPECT_EQ(r.tekst, "Ik wil appels.");
        EXPECT_FALSE(r.tijden.opschonenHerhaald);
        EXPECT_EQ(o.script->aanroepen.size(), 1U);
    }
    {
        Opstelling o(tekst);
        o.script->strak.push_back(OpschoonUitkomst{"Ik wil 3 appels en 12 peren.", "t", 0.42});
        const KetenResultaat r = o.keten.verwerk(opname(), Stijl::neutraal, {});
        EXPECT_EQ(r.tekst, "Ik wil 3 appels en 12 peren.");
        EXPECT_EQ(r.tijden.opschoonVerwerking, "t");
        EXPECT_EQ(r.tijden.opschoonDienstTijd, 0.42);
        EXPECT_FALSE(r.opschoonProbleem);
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
        int tidied = 0;
        o.keten.kortDictaatStap = [&](const std::string& t, Stijl) {
            ++tidied;
            return t;
        };
        const KetenResultaat r = o.keten.verwerk(opname(), Stijl::neutraal, {});
        EXPECT_EQ(r.ruw, "   ");
        EXPECT_EQ(tidied, 1);
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

// Whether commands apply per style is in the command tests; the cleaner is told they were off.
TEST(TolmoKeten, TheCleanerHearsThatCommandsAreOffInTheLiteralStyle) {
    Opstelling o(achtWoorden);
    o.script->strak.push_back(schoon(achtWoorden));
    o.keten.verwerk(opname(), Stijl::letterlijk, {});
    ASSERT_EQ(o.script->aanroepen.size(), 1U);
    EXPECT_FALSE(o.script->aanroepen[0].spraakopdrachtenActief);
}

TEST(TolmoKeten, ReplacementsAreCountedAndRecordingTimeSpansARateChange) {
    Opstelling o("ik sprak met jan de vries en tolmo", false);
    o.keten.vervangingen = {{"Jan de Vries", {"jan de vries"}}, {"Tolmo", {"tolmo", "tol mo"}}};
    Opname op = opname(1.0);
    op.meting.registreerSampleRate(48000);
    op.meting.aantalSamples += 24000;
    const KetenResultaat r = o.keten.verwerk(op, Stijl::neutraal, {});
    EXPECT_EQ(r.tekst, "ik sprak met Jan de Vries en Tolmo");
    EXPECT_EQ(r.ruw, "ik sprak met jan de vries en tolmo");
    EXPECT_EQ(r.toepassingen,
              (std::map<std::string, std::int64_t>{{"Jan de Vries", 1}, {"Tolmo", 1}}));
    EXPECT_DOUBLE_EQ(r.tijden.opname, 1.5);
}

TEST(TolmoKeten, FactoryChoosesEngineAndCleanerFromTheSettings) {
    nep::NepKluis kluis;
    TolmoInstellingen s = TolmoInstellingen::standaard();
    s.motor = Motor::test;
    s.opschonen = true;
    s.woorden = {"Tolmo"};
    s.spraakopdrachten = false;
    TolmoKeten keten = TolmoKeten::bouw(s, kluis, nullptr);
    EXPECT_FALSE(keten.opschoner) << "the test engine never gets a cleaner";
    EXPECT_EQ(keten.woorden, s.woorden);
    EXPECT_FALSE(keten.spraakopdrachten);
    EXPECT_EQ(keten.kortDictaatGrens, 8);
    EXPECT_EQ(keten.verwerk(opname(2.4), Stijl::neutraal, {}).ruw,
              "Test: 2,4 s audio ontvangen, niveau -46 dB");

    const auto bouw = [&] { return TolmoKeten::bouw(s, kluis, nullptr); };
    for (Motor m : {Motor::openAI, Motor::mistral}) {
        s.motor = m;
        EXPECT_EQ(gooit(bouw), HerkenningsFout::geenSleutel(m));
    }
    s.motor = Motor::tolmo;
    EXPECT_EQ(gooit(bouw).soort(), Soort::geenToegangscode);
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
    server.zetAntwoord(nep::LoopbackServer::Antwoord::json(200, R"({"text":" Hallo Tolmo. "})"));
    nep::TijdelijkeMap map;
    const Opname o = nep::opnameVan(map.schrijf("o.wav", "RIFF"), 1.5);
    const nep::OmgevingsVariabele openAI("TOLMO_OPENAI_URL", server.url() + "openai/");
    const nep::OmgevingsVariabele mistral("TOLMO_MISTRAL_URL", server.url() + "mistral");
    const nep::OmgevingsVariabele relay("TOLMO_SERVER_URL", server.url() + "relay/");
    nep::NepKluis kluis;
    kluis.sleutels = {{Aanbieder::openAI, "sk-openai"}, {Aanbieder::mistral, "sk-mistral"}};
    kluis.code = "toegang-123";

    struct Geval {
        Motor motor;
        Aanbieder serverAanbieder;
        std::string doel;
        std::string autorisatie;
        std::optional<std::string> aanbiederHeader;
        std::string model;
    };
    const Geval gevallen[] = {
        {Motor::openAI, Aanbieder::mistral, "/openai/v1/audio/transcriptions", "Bearer sk-openai",
         std::nullopt, "gpt-transcribe"},
        {Motor::mistral, Aanbieder::openAI, "/mistral/v1/audio/transcriptions", "Bearer sk-mistral",
         std::nullopt, "voxtral-mini-2602"},
        {Motor::tolmo, Aanbieder::mistral, "/relay/v1/audio/transcriptions", "Bearer toegang-123",
         "mistral", "voxtral-mini-2602"},
        {Motor::tolmo, Aanbieder::openAI, "/relay/v1/audio/transcriptions", "Bearer toegang-123",
         "openai", "gpt-transcribe"},
    };
    for (const bool eigenTransport : {false, true}) {
        for (const Geval& g : gevallen) {
            SCOPED_TRACE(::testing::Message() << motorWaarden.naam(g.motor) << " via "
                                              << aanbiederWaarden.naam(g.serverAanbieder)
                                              << (eigenTransport ? ", eigen transport" : ""));
            TolmoInstellingen s = TolmoInstellingen::standaard();
            s.motor = g.motor;
            s.serverAanbieder = g.serverAanbieder;
            s.woorden = {"Tolmo"};
            // The chosen level reaches the cleaner; strict is the default.
            s.opschoonNiveau = eigenTransport ? Opschoonniveau::licht : s.opschoonNiveau;
            const auto transport = std::make_shared<TelTransport>();
            TolmoKeten keten = TolmoKeten::bouw(s, kluis, eigenTransport ? transport : nullptr);
            ASSERT_TRUE(keten.opschoner) << "cleanup is on by default";
            EXPECT_EQ(keten.opschoner->niveau(),
                      eigenTransport ? Opschoonniveau::licht : Opschoonniveau::strak);
            EXPECT_FALSE(TolmoKeten::bouw(
                             [&] {
                                 TolmoInstellingen uit = s;
                                 uit.opschonen = false;
                                 return uit;
                             }(),
                             kluis, transport)
                             .opschoner);
            EXPECT_EQ(keten.verwerk(o, Stijl::neutraal, {}).ruw, "Hallo Tolmo.");
            EXPECT_EQ(transport->aantal, eigenTransport ? 1 : 0);

            const auto v = server.verzoeken().back();
            EXPECT_EQ(v.doel, g.doel);
            EXPECT_EQ(v.header("Authorization"), g.autorisatie);
            EXPECT_EQ(v.header("X-Tolmo-Aanbieder"), g.aanbiederHeader);
            EXPECT_NE(v.body.find("\r\n\r\n" + g.model + "\r\n"), std::string::npos);
        }
    }

    // The relay has no built-in address; the missing token is reported first.
    const nep::OmgevingsVariabele geenRelay("TOLMO_SERVER_URL", std::nullopt);
    TolmoInstellingen s = TolmoInstellingen::standaard();
    s.motor = Motor::tolmo;
    const auto bouw = [&] { return TolmoKeten::bouw(s, kluis, nullptr); };
    const HerkenningsFout f = gooit(bouw);
    EXPECT_EQ(f.soort(), Soort::geenServeradres);
    EXPECT_NE(f.melding().find("TOLMO_SERVER_URL"), std::string::npos);
    kluis.code.reset();
    EXPECT_EQ(gooit(bouw).soort(), Soort::geenToegangscode);
}

TEST(TolmoKeten, TheRecordingGoesOutOverTheConnectionOpenedWhileTheUserSpoke) {
    nep::LoopbackServer server;
    server.zetAntwoord(nep::LoopbackServer::Antwoord::json(200, R"({"text":"Hallo"})"));
    const nep::OmgevingsVariabele openAI("TOLMO_OPENAI_URL", server.url());
    const nep::OmgevingsVariabele geenRelay("TOLMO_SERVER_URL", std::nullopt);
    nep::NepKluis kluis;
    kluis.sleutels = {{Aanbieder::openAI, "sk-openai"}};
    nep::TijdelijkeMap map;
    TolmoInstellingen s = TolmoInstellingen::standaard();
    s.opschonen = false;
    for (const Motor m : {Motor::test, Motor::tolmo}) {
        s.motor = m;
        EXPECT_FALSE(TolmoKeten::eersteAdres(s)) << motorWaarden.naam(m);
    }
    s.motor = Motor::openAI;
    TolmoKeten::opwarmen(s);
    ASSERT_EQ(server.aantalVerzoeken(), 1U);
    EXPECT_EQ(server.verzoeken()[0].methode, "GET");
    EXPECT_EQ(server.verzoeken()[0].doel, "/v1/audio/transcriptions");
    TolmoKeten::bouw(s, kluis, nullptr)
        .verwerk(nep::opnameVan(map.schrijf("o.wav", "RIFF"), 1.5), Stijl::neutraal, {});
    EXPECT_EQ(server.aantalVerzoeken(), 2U);
    EXPECT_EQ(server.aantalVerbindingen(), 1U);
}

}  // namespace
}  // namespace tolmo
