#include <gtest/gtest.h>

#include <chrono>
#include <cmath>

#include "TolmoKern/Keten/Geannuleerd.h"
#include "TolmoKern/Opschonen/ChatOpschoner.h"
#include "TolmoKern/Transcriptie/CurlTransport.h"
#include "TolmoKern/Transcriptie/HerkenningsFout.h"
#include "TolmoKern/Transcriptie/MistralTranscriptie.h"
#include "TolmoKern/Transcriptie/OpenAITranscriptie.h"
#include "TolmoKern/Transcriptie/TestTranscriptie.h"
#include "TolmoKern/Transcriptie/TolmoServerTransport.h"
#include "TolmoKern/Transcriptie/TransportFout.h"
#include "nep/Gevangen.h"
#include "nep/LoopbackServer.h"
#include "nep/TijdelijkeOpname.h"

namespace tolmo {
namespace {

using namespace std::chrono_literals;
using namespace std::string_literals;
using nep::LoopbackServer;
using Antwoord = LoopbackServer::Antwoord;
using HF = HerkenningsFout;
using Soort = HF::Soort;

const std::string audio = "RIFF\x24\0\0\0WAVEfmt \r\n--\0\xff"s;
const std::string pad = "v1/audio/transcriptions";

enum class Route { direct, relay };

// One engine for a provider and route, sending through t, or else a fresh CurlTransport.
std::unique_ptr<NetwerkTranscriptie> motor(Aanbieder aanbieder, Route route,
                                           const std::string& basis,
                                           std::shared_ptr<HTTPTransport> t = nullptr) {
    if (!t) {
        t = std::make_shared<CurlTransport>();
    }
    if (route == Route::relay) {
        t = std::make_shared<TolmoServerTransport>(t, aanbieder);
    }
    const std::string sleutel = route == Route::relay ? "toegangscode" : "sk-test";
    if (aanbieder == Aanbieder::mistral) {
        return std::make_unique<MistralTranscriptie>(sleutel, t, basis + pad);
    }
    return std::make_unique<OpenAITranscriptie>(sleutel, t, basis + pad);
}

struct Opstelling {
    LoopbackServer server;
    nep::TijdelijkeMap map;
    Opname opname = nep::opnameVan(map.schrijf("opname.wav", audio), 2.0);
};

TEST(Transcriptie, RequestBytesForBothProvidersWithAndWithoutTerms) {
    const std::string basis =
        "Dictated speech, possibly in more than one language mixed together. Transcribe each "
        "part in the language spoken; do not translate.";
    const std::vector<std::string> termen = {"Jan de Vries", "A, B", "  Zoë\t van  Dijk ,"};
    using Velden = std::vector<std::pair<std::string, std::string>>;
    struct Geval {
        Aanbieder aanbieder;
        Route route;
        std::vector<std::string> woorden;
        AudioFormaat formaat;
        Velden velden;
    };
    const Geval gevallen[] = {
        {Aanbieder::openAI,
         Route::direct,
         {},
         AudioFormaat::wav,
         Velden{{"model", "gpt-transcribe"}, {"prompt", basis}}},
        {Aanbieder::openAI, Route::relay, termen, AudioFormaat::m4a,
         Velden{{"model", "gpt-transcribe"},
                {"prompt", basis + " Namen en termen die kunnen voorkomen, alleen als ze echt "
                                   "gezegd worden: Jan de Vries, A, B,   Zoë\t van  Dijk ,."}}},
        {Aanbieder::mistral,
         Route::relay,
         {},
         AudioFormaat::wav,
         Velden{{"model", "voxtral-mini-2602"}}},
        {Aanbieder::mistral, Route::direct, termen, AudioFormaat::m4a,
         Velden{{"model", "voxtral-mini-2602"},
                {"context_bias", "Jan_de_Vries"},
                {"context_bias", "A_B"},
                {"context_bias", "Zoë_van_Dijk"}}},
    };
    for (const Geval& g : gevallen) {
        const bool relay = g.route == Route::relay;
        SCOPED_TRACE(::testing::Message()
                     << (relay ? "relay " : "direct ") << aanbiederWaarden.naam(g.aanbieder));
        Opstelling o;
        o.opname.formaat = g.formaat;
        o.server.zetAntwoord(Antwoord::json(200, R"({"text":"Hallo.","taal":"nl"})"));
        EXPECT_EQ(
            motor(g.aanbieder, g.route, o.server.url())->transcribeer(o.opname, g.woorden, {}),
            "Hallo.");

        const auto verzoeken = o.server.verzoeken();
        ASSERT_EQ(verzoeken.size(), 1U);
        const auto& v = verzoeken[0];
        EXPECT_TRUE(v.ruw.starts_with("POST /v1/audio/transcriptions HTTP/1.1\r\n"));
        EXPECT_EQ(v.header("Authorization"), relay ? "Bearer toegangscode" : "Bearer sk-test");
        EXPECT_EQ(
            v.header("X-Tolmo-Aanbieder"),
            relay ? std::optional<std::string>(aanbiederWaarden.naam(g.aanbieder)) : std::nullopt);
        const std::string type = v.header("Content-Type").value_or("");
        const std::string voorGrens = "multipart/form-data; boundary=";
        ASSERT_TRUE(type.starts_with(voorGrens)) << type;
        const std::string grens = type.substr(voorGrens.size());

        std::string verwacht;
        for (const auto& [naam, waarde] : g.velden) {
            verwacht += "--" + grens + "\r\nContent-Disposition: form-data; name=\"" + naam +
                        "\"\r\n\r\n" + waarde + "\r\n";
        }
        const bool wav = g.formaat == AudioFormaat::wav;
        verwacht += "--" + grens +
                    "\r\nContent-Disposition: form-data; name=\"file\"; filename=\"" +
                    (wav ? "dictaat.wav" : "dictaat.m4a") +
                    "\"\r\nContent-Type: " + (wav ? "audio/wav" : "audio/mp4") + "\r\n\r\n" +
                    audio + "\r\n--" + grens + "--\r\n";
        EXPECT_EQ(v.body, verwacht);
        EXPECT_TRUE(v.ruw.ends_with("\r\n\r\n" + verwacht)) << "no other bytes after it";
    }
}

// Files that cannot be read are refused by the form (MultipartFormulier's test); an empty one
// stands for them here.
TEST(Transcriptie, RecordingsWithoutUsableAudioAreRefusedBeforeSending) {
    Opstelling o;
    const std::pair<Opname, bool> gevallen[] = {
        {nep::opnameVan(o.opname.bestand, 0.29), false},
        {nep::opnameVan(o.opname.bestand, 0.3), true},
        {nep::opnameVan({}, 2.0), false},
        {nep::opnameVan(o.map.schrijf("leeg.wav", ""), 2.0), false},
    };
    for (const auto& [opname, verstuurd] : gevallen) {
        SCOPED_TRACE(::testing::Message() << opname.bestand << " " << opname.meting.duur());
        const auto voor = o.server.aantalVerzoeken();
        try {
            (void)motor(Aanbieder::mistral, Route::direct, o.server.url())
                ->transcribeer(opname, {}, {});
            EXPECT_TRUE(verstuurd);
        } catch (const HerkenningsFout& f) {
            EXPECT_FALSE(verstuurd);
            EXPECT_EQ(f, HF::van(Soort::geenAudio));
        }
        EXPECT_EQ(o.server.aantalVerzoeken() - voor, verstuurd ? 1U : 0U);
    }
}

// Keeps the requests and gives its answer (by default one with a transcript and a cleanup), or
// fails below HTTP.
struct VastTransport final : HTTPTransport {
    std::optional<UrlFout> fout;
    HTTPAntwoord antwoord{200, {}, R"({"text":"ja","choices":[{"message":{"content":"Ja."}}]})"};
    std::vector<HTTPVerzoek> verzoeken;
    HTTPAntwoord verstuur(HTTPVerzoek v, StopToken) override {
        verzoeken.push_back(std::move(v));
        if (fout) {
            throw TransportFout(*fout, "nep");
        }
        return antwoord;
    }
};

// What the engines make of a reply: a 2xx reply's text, trimmed (an empty one is returned as it
// is: the chain reports it), or the error, by its code, which names its case, provider, status
// or limit.
TEST(Transcriptie, TheReplyBecomesTheTextOrAnError) {
    const struct {
        Route route;
        Aanbieder aanbieder;
        long status;
        std::string body;
        std::string uitkomst;
    } gevallen[] = {
        {Route::direct, Aanbieder::openAI, 200, R"({"text":"  hallo\n"})", "tekst: hallo"},
        {Route::relay, Aanbieder::mistral, 201, R"({"text":"\u00a0\tZoë zegt: ja. \r\n"})",
         "tekst: Zoë zegt: ja."},
        {Route::direct, Aanbieder::mistral, 200, R"({"text":"   "})", "tekst: "},
        // Without a text, on either route, the provider's answer is bad.
        {Route::direct, Aanbieder::openAI, 200, R"({"text": "hal)",
         "fout: ongeldig-antwoord-openai"},
        {Route::relay, Aanbieder::mistral, 200, R"({"text": 12})",
         "fout: ongeldig-antwoord-mistral"},
        {Route::relay, Aanbieder::openAI, 201, R"({"tekst":"hallo"})",
         "fout: ongeldig-antwoord-openai"},
        {Route::direct, Aanbieder::mistral, 500, "kapot", "fout: api-mistral-500"},
        {Route::direct, Aanbieder::openAI, 413, "", "fout: api-openai-413"},
        {Route::relay, Aanbieder::mistral, 413, "", "fout: dictaat-te-lang"},
        {Route::relay, Aanbieder::openAI, 429, R"({"fout":"limiet","soort":"dag"})",
         "fout: limiet-dag"},
        {Route::relay, Aanbieder::mistral, 429, R"({"fout":"limiet-minuut"})",
         "fout: limiet-minuut"},
        {Route::relay, Aanbieder::openAI, 429, "", "fout: limiet-plafond"},
        {Route::relay, Aanbieder::mistral, 503, R"({"fout":"aanbieder-niet-beschikbaar"})",
         "fout: aanbieder-niet-beschikbaar-mistral"},
        {Route::relay, Aanbieder::openAI, 503, R"({"fout":"aanbieder-niet-beschikbaar"})",
         "fout: aanbieder-niet-beschikbaar-openai"},
        {Route::relay, Aanbieder::openAI, 503, R"({"fout":"onderhoud"})", "fout: server-503"},
        {Route::relay, Aanbieder::mistral, 400, R"({"fout":"audio"})", "fout: audio-ongeldig"},
        {Route::relay, Aanbieder::openAI, 400, R"({"fout":"veld"})", "fout: server-400"},
        {Route::relay, Aanbieder::mistral, 400, "audio", "fout: server-400"},
        {Route::relay, Aanbieder::openAI, 502, "<html>Bad Gateway</html>", "fout: server-502"},
        {Route::relay, Aanbieder::mistral, 401, "", "fout: toegang-geweigerd-401"},
        {Route::relay, Aanbieder::openAI, 403, R"({"fout":"toegang"})",
         "fout: toegang-geweigerd-403"},
    };
    Opstelling o;
    for (const auto& g : gevallen) {
        SCOPED_TRACE(::testing::Message() << g.status << " " << g.body);
        const auto vast = std::make_shared<VastTransport>();
        vast->antwoord = {g.status, {{"Retry-After", "60"}, {"X-Verzoek", "7"}}, g.body};
        const auto voor = std::chrono::system_clock::now();
        std::string uitkomst;
        try {
            uitkomst = "tekst: " + motor(g.aanbieder, g.route, "http://x.invalid/", vast)
                                       ->transcribeer(o.opname, {}, {});
        } catch (const HerkenningsFout& f) {
            uitkomst = "fout: " + f.code();
            if (f.limiet()) {
                // A limit also carries the reply's headers and when it arrived.
                EXPECT_GE(f.limiet()->ontvangen, voor);
                EXPECT_LE(f.limiet()->ontvangen, std::chrono::system_clock::now());
                EXPECT_EQ(f.limiet()->headers, vast->antwoord.headers);
            }
        }
        EXPECT_EQ(uitkomst, g.uitkomst);
    }
}

// Directly, a failure below HTTP is a time-out, a bad reply or no network. Through the relay,
// failing to reach it is the relay's problem, whatever the provider; other failures keep the
// meaning they have on the direct route.
TEST(Transcriptie, FailuresBelowHttpOnBothRoutes) {
    using Verwacht = HF (*)(Motor);
    const Verwacht tijd = [](Motor m) { return HF::timeout(m); };
    const Verwacht ongeldig = [](Motor m) { return HF::ongeldigAntwoord(m); };
    const Verwacht netwerk = [](Motor) { return HF::van(Soort::geenNetwerk); };
    const struct {
        UrlFout code;
        Verwacht direct;
        bool relayOnbereikbaar;
    } gevallen[] = {
        {UrlFout::timedOut, tijd, true},
        {UrlFout::cannotFindHost, netwerk, true},
        {UrlFout::cannotConnectToHost, netwerk, true},
        {UrlFout::dnsLookupFailed, netwerk, true},
        {UrlFout::secureConnectionFailed, netwerk, true},
        {UrlFout::notConnectedToInternet, netwerk, false},
        {UrlFout::overig, netwerk, false},
        {UrlFout::badServerResponse, ongeldig, false},
        {UrlFout::cannotParseResponse, ongeldig, false},
        {UrlFout::badURL, ongeldig, false},
    };
    Opstelling o;
    for (Aanbieder a : {Aanbieder::openAI, Aanbieder::mistral}) {
        for (const auto& g : gevallen) {
            for (Route route : {Route::direct, Route::relay}) {
                SCOPED_TRACE(::testing::Message()
                             << (route == Route::relay ? "relay " : "direct ")
                             << aanbiederWaarden.naam(a) << " " << static_cast<int>(g.code));
                const auto vast = std::make_shared<VastTransport>();
                vast->fout = g.code;
                const HF verwacht = route == Route::relay && g.relayOnbereikbaar
                                        ? HF::van(Soort::serverNietBereikbaar)
                                        : g.direct(alsMotor(a));
                EXPECT_EQ(nep::gevangen<HerkenningsFout>([&] {
                              return motor(a, route, "http://x.invalid/", vast)
                                  ->transcribeer(o.opname, {}, {});
                          }),
                          verwacht);
            }
        }
    }
}

TEST(Transcriptie, RequestsCarryTheGivenTimeOutOrTheDefault) {
    Opstelling o;
    const auto vast = std::make_shared<VastTransport>();
    (void)OpenAITranscriptie("sk", vast, o.server.url()).transcribeer(o.opname, {}, {});
    (void)MistralTranscriptie("sk", vast, o.server.url()).transcribeer(o.opname, {}, {});
    (void)ChatOpschoner(ChatOpschoner::Model::voor(Motor::openAI), {}, Opschoonniveau::licht, "sk",
                        vast)
        .schoonOp("ja", {}, Stijl::neutraal, false, {});
    (void)OpenAITranscriptie("sk", vast, o.server.url(), 7s).transcribeer(o.opname, {}, {});
    (void)MistralTranscriptie("sk", vast, o.server.url(), 8s).transcribeer(o.opname, {}, {});
    (void)ChatOpschoner(ChatOpschoner::Model::voor(Motor::openAI), {}, Opschoonniveau::licht, "sk",
                        vast, 9s)
        .schoonOp("ja", {}, Stijl::neutraal, false, {});
    std::vector<std::chrono::milliseconds> tijden;
    for (const HTTPVerzoek& v : vast->verzoeken) {
        tijden.push_back(v.timeout);
    }
    EXPECT_EQ(tijden, (std::vector<std::chrono::milliseconds>{30s, 30s, 15s, 7s, 8s, 9s}));
}

// Aborting a transfer in flight is the transport's; the engines and the relay pass the stop on
// and let the cancellation through as it is.
TEST(Transcriptie, AStopReachesTheTransportOnBothRoutes) {
    Opstelling o;
    StopBron stop;
    stop.vraagStop();
    for (Route route : {Route::direct, Route::relay}) {
        EXPECT_THROW((void)motor(Aanbieder::mistral, route, o.server.url())
                         ->transcribeer(o.opname, {}, stop.token()),
                     Geannuleerd);
    }
    EXPECT_EQ(o.server.aantalVerbindingen(), 0U);
}

TEST(Transcriptie, TestEngineReportsDurationAndLevel) {
    struct Geval {
        double seconden;
        double niveauDB;
        std::string verwacht;
    };
    const Geval gevallen[] = {
        {0.04, -0.4, "Test: 0,0 s audio ontvangen, niveau 0 dB"},
        {12.26, -60.6, "Test: 12,3 s audio ontvangen, niveau -61 dB"},
    };
    for (const Geval& g : gevallen) {
        SCOPED_TRACE(g.verwacht);
        const double n = g.seconden * 16000;
        const Opname o =
            nep::opnameVan({}, g.seconden, AudioFormaat::wav, n * std::pow(10.0, g.niveauDB / 10));
        EXPECT_EQ(TestTranscriptie().transcribeer(o, {"Tolmo"}, {}), g.verwacht);
    }
    EXPECT_EQ(TestTranscriptie().transcribeer(Opname{}, {}, {}),
              "Test: 0,0 s audio ontvangen, niveau -160 dB");
}

}  // namespace
}  // namespace tolmo
