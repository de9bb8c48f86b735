// tolmo dicteer as a user runs it: the real binary against a loopback HTTP server, with audio
// files made by sox, each test in its own config and temporary directory.
#include <gtest/gtest.h>
#include <signal.h>

#include <chrono>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "CliTest.h"
#include "TolmoKern/Tekst/Tekst.h"
#include "nep/LoopbackServer.h"
#include "nep/WavLezer.h"

namespace tolmo {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using nep::LoopbackServer;
using Antwoord = LoopbackServer::Antwoord;

// What the test engine says of a recording with this duration and sine amplitude: the mean
// square of a whole number of periods of a sine is half its amplitude squared.
std::string testzin(double seconden, double amplitude) {
    const double db = 10.0 * std::log10(amplitude * amplitude / 2.0);
    return "Test: " + Tekst::getalNL("%.1f", seconden) + " s audio ontvangen, niveau " +
           std::to_string(std::lround(db)) + " dB";
}

// The audio file inside a multipart body, as the engines send it.
std::string bestandsdeel(const LoopbackServer::Verzoek& v) {
    const std::string type = v.header("Content-Type").value_or("");
    const std::string grens = "\r\n--" + type.substr(type.find("boundary=") + 9);
    const auto kop = v.body.find("filename=\"dictaat.wav\"");
    if (kop == std::string::npos) {
        return {};
    }
    const auto begin = v.body.find("\r\n\r\n", kop) + 4;
    return v.body.substr(begin, v.body.find(grens, begin) - begin);
}

class DicteerTest : public CliTest {
  protected:
    // A sine of 440 Hz made by sox, in the format of the file name's extension.
    fs::path sinus(const std::string& naam, int rate, int kanalen, double seconden,
                   double amplitude = 0.1) {
        fs::create_directories(map_ / "audio");
        const fs::path pad = map_ / "audio" / naam;
        const auto r = nep::voerProcesUit(
            "/usr/bin/sox",
            {"-n", "-r", std::to_string(rate), "-c", std::to_string(kanalen), pad.string(), "synth",
             std::to_string(seconden), "sine", "440", "vol", std::to_string(amplitude)});
        EXPECT_EQ(r.status, 0) << r.fout;
        return pad;
    }

    // Nothing of a dictation may stay behind in the temporary directory.
    void verwachtGeenRestanten() {
        EXPECT_TRUE(fs::is_empty(map_ / "tmp")) << fs::directory_iterator(map_ / "tmp")->path();
    }
};

TEST_F(DicteerTest, InputFormatsKeepTheirDurationAndLevel) {
    struct Geval {
        std::string naam;
        int rate;
        int kanalen;
        double seconden;
        double amplitude;
    };
    const Geval gevallen[] = {
        {"stereo.wav", 44100, 2, 2.4, 0.1},
        {"mono.flac", 48000, 1, 2.4, 0.1},
        {"telefoon.wav", 8000, 1, 2.4, 0.5},
        {"al16k.wav", 16000, 1, 2.4, 0.1},
        {"vorbis.ogg", 44100, 2, 3.0, 0.25},
        // Just long enough to be sent at all.
        {"kort.wav", 16000, 1, 0.3, 0.1},
    };
    for (const Geval& g : gevallen) {
        SCOPED_TRACE(g.naam);
        const auto pad = sinus(g.naam, g.rate, g.kanalen, g.seconden, g.amplitude);
        const auto r = tolmo({"dicteer", "--motor", "test", pad.string()});
        EXPECT_EQ(r.status, 0) << r.fout;
        // Vorbis is lossy: its level may drift by a fraction of a dB, never by a whole one.
        EXPECT_EQ(r.uit, testzin(g.seconden, g.amplitude) + "\n");
        EXPECT_EQ(r.fout, "");
        verwachtGeenRestanten();
    }
}

TEST_F(DicteerTest, ProvidersAndTheRelayReceiveA16kHzMonoWav) {
    LoopbackServer server;
    server.zetAntwoord(Antwoord::json(200, R"({"text":"  hallo wereld\n"})"));
    const auto pad = sinus("bron.wav", 44100, 2, 2.4);
    struct Geval {
        std::vector<std::string> opties;
        std::string sleutel;
        std::string model;
        std::optional<std::string> aanbiederHeader;
    };
    const Geval gevallen[] = {
        {{"--motor", "openai"}, "sk-openai-123", "gpt-transcribe", std::nullopt},
        {{"--motor", "mistral"}, "mistral-456", "voxtral-mini-2602", std::nullopt},
        {{"--motor", "tolmo", "--aanbieder", "openai"}, "code-789", "gpt-transcribe", "openai"},
        {{"--motor=tolmo", "--aanbieder=mistral"}, "code-789", "voxtral-mini-2602", "mistral"},
    };
    const Omgeving omg{
        {"OPENAI_API_KEY", "sk-openai-123"}, {"MISTRAL_API_KEY", "mistral-456"},
        {"TOLMO_TOEGANGSCODE", "code-789"},  {"TOLMO_OPENAI_URL", server.url()},
        {"TOLMO_MISTRAL_URL", server.url()}, {"TOLMO_SERVER_URL", server.url() + "relay/"}};
    for (const Geval& g : gevallen) {
        SCOPED_TRACE(g.opties[1]);
        std::vector<std::string> args{"dicteer", "--zonder-opschonen"};
        args.insert(args.end(), g.opties.begin(), g.opties.end());
        args.push_back(pad.string());
        const auto voor = server.aantalVerzoeken();
        const auto r = tolmo(args, omg);
        EXPECT_EQ(r.status, 0) << r.fout;
        EXPECT_EQ(r.uit, "hallo wereld\n");
        EXPECT_EQ(r.fout, "") << "no progress or notes when standard error is not a terminal";
        verwachtGeenRestanten();

        ASSERT_EQ(server.aantalVerzoeken(), voor + 1);
        const auto v = server.verzoeken().back();
        EXPECT_EQ(v.doel, g.aanbiederHeader ? "/relay/v1/audio/transcriptions"
                                            : "/v1/audio/transcriptions");
        EXPECT_EQ(v.header("Authorization"), "Bearer " + g.sleutel);
        EXPECT_EQ(v.header("X-Tolmo-Aanbieder"), g.aanbiederHeader);
        EXPECT_NE(v.body.find("name=\"model\"\r\n\r\n" + g.model + "\r\n"), std::string::npos);

        const auto wav = map_ / "ontvangen.wav";
        const std::string bytes = bestandsdeel(v);
        std::ofstream(wav, std::ios::binary)
            .write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
        std::string fout;
        const auto gelezen = nep::leesWav(wav, fout);
        ASSERT_TRUE(gelezen) << fout;
        EXPECT_EQ(gelezen->sampleRate, 16000U);
        EXPECT_EQ(gelezen->kanalen, 1);
        EXPECT_NEAR(gelezen->duur(), 2.4, 0.01);
        // The downmix of two equal channels keeps the sine's level: RMS of amplitude 0.1.
        EXPECT_NEAR(gelezen->rms(1000), 0.1 / std::sqrt(2.0), 0.005);
    }
}

TEST_F(DicteerTest, JsonCarriesTheWholeResultWithCleanupAndReplacements) {
    LoopbackServer server;
    const std::string transcript =
        "we spreken af met jan de fries over het nieuwe plan voor tolmo volgende week";
    std::string opschoonAntwoord;
    unsigned opschoonStatus = 200;
    server.zetBehandelaar([&](const LoopbackServer::Verzoek& v) {
        if (v.doel == "/v1/audio/transcriptions") {
            return Antwoord::json(200, nlohmann::json{{"text", transcript}}.dump());
        }
        return Antwoord::json(opschoonStatus, opschoonAntwoord, {{"openai-processing-ms", "250"}});
    });
    const Omgeving omg{{"OPENAI_API_KEY", "sk-1"}, {"TOLMO_OPENAI_URL", server.url()}};
    ASSERT_EQ(tolmo({"instellingen", "zet", "vervangingen", R"({"Jan de Vries":["jan de fries"]})"})
                  .status,
              0);
    const auto pad = sinus("bron.flac", 48000, 1, 2.4);

    struct Geval {
        const char* naam;
        unsigned status;
        std::string antwoord;
        std::string tekst;
        nlohmann::json probleem;
    };
    const std::string schoon =
        "We spreken af met Jan de Vries over het nieuwe plan voor Tolmo, volgende week.";
    const std::string ongeschoond =
        "we spreken af met Jan de Vries over het nieuwe plan voor tolmo volgende week";
    const Geval gevallen[] = {
        {"opgeschoond", 200,
         nlohmann::json{{"service_tier", "default"},
                        {"choices", {{{"message", {{"role", "assistant"}, {"content", schoon}}}}}}}
             .dump(),
         schoon, nullptr},
        {"opschonen faalt", 500, R"({"error":"stuk"})", ongeschoond,
         "OpenAI gaf een fout (code 500)."},
    };
    for (const Geval& g : gevallen) {
        SCOPED_TRACE(g.naam);
        opschoonStatus = g.status;
        opschoonAntwoord = g.antwoord;
        const auto r = tolmo({"dicteer", "--json", "--niveau", "licht", pad.string()}, omg);
        ASSERT_EQ(r.status, 0) << r.fout;
        const auto j = nlohmann::json::parse(r.uit);
        EXPECT_EQ(j["tekst"], g.tekst);
        EXPECT_EQ(j["ruw"], transcript);
        EXPECT_EQ(j["opschoonProbleem"], g.probleem);
        EXPECT_EQ(j["toepassingen"], nlohmann::json({{"Jan de Vries", 1}}));
        const auto& t = j["tijden"];
        EXPECT_DOUBLE_EQ(t["opname"].get<double>(), 2.4);
        EXPECT_TRUE(t["transcriptie"].is_number());
        EXPECT_TRUE(t["opschonen"].is_number());
        EXPECT_TRUE(t["opschonenOvergeslagen"].is_null());
        EXPECT_TRUE(t["opschonenHerhaald"].is_null());
        EXPECT_TRUE(t["totaal"].is_null());
        const std::string weergave = t["tekst"];
        EXPECT_EQ(weergave.rfind("Tijden: opname 2,4 s, upload+transcriptie ", 0), 0U) << weergave;
        if (g.status == 200) {
            EXPECT_EQ(t["opschoonVerwerking"], "default");
            EXPECT_DOUBLE_EQ(t["opschoonDienstTijd"].get<double>(), 0.25);
            EXPECT_NE(weergave.find("(tier default, bij dienst 0,25 s)"), std::string::npos);
        } else {
            EXPECT_TRUE(t["opschoonVerwerking"].is_null());
        }
        EXPECT_EQ(r.uit.find('\n'), r.uit.size() - 1) << "one JSON object on one line";
    }
    // The chat request went to the same server with the light prompt, which lacks the strict
    // level's list of what else to remove.
    const std::string strakAlleen = "10. Haal ook weg:";
    const auto chat = server.verzoeken().back();
    EXPECT_EQ(chat.doel, "/v1/chat/completions");
    EXPECT_EQ(chat.body.find(strakAlleen), std::string::npos);

    // Without --json a failed cleanup still delivers the text, with the reason on stderr; the
    // level is then the saved one, strict by default.
    const auto r = tolmo({"dicteer", pad.string()}, omg);
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.uit, ongeschoond + "\n");
    EXPECT_EQ(r.fout, "De tekst is niet opgeschoond (OpenAI gaf een fout (code 500)).\n");
    EXPECT_NE(server.verzoeken().back().body.find(strakAlleen), std::string::npos);
}

TEST_F(DicteerTest, EveryFailureHasItsMessageAndStatus) {
    LoopbackServer server;
    const auto goed = sinus("goed.wav", 44100, 2, 2.4);
    const auto stil = sinus("stil.wav", 16000, 1, 1.0, 0.0);
    const auto tekort = sinus("tekort.wav", 16000, 1, 0.29);
    const auto leeg = map_ / "audio" / "leeg.wav";
    ASSERT_EQ(nep::voerProcesUit("/usr/bin/sox",
                                 {"-n", "-r", "16000", "-c", "1", leeg.string(), "trim", "0", "0"})
                  .status,
              0);
    std::ofstream(map_ / "audio" / "tekst.wav") << "Dit is geen audio, maar tekst.\n";

    struct Geval {
        const char* naam;
        std::vector<std::string> args;
        Omgeving omg;
        int status;
        std::string fout;
    };
    const Omgeving openai{{"OPENAI_API_KEY", "sk-1"}, {"TOLMO_OPENAI_URL", server.url()}};
    const Geval gevallen[] = {
        {"geen sleutel",
         {"--motor", "openai", goed.string()},
         {},
         1,
         "Geen OpenAI-sleutel. Vul hem in bij Instellingen in de Tolmo-app.\n"
         "Bewaar hem hier met: tolmo sleutel zet openai.\n"},
        {"geen toegangscode",
         {"--motor", "tolmo", goed.string()},
         Omgeving{{"TOLMO_SERVER_URL", server.url()}},
         1,
         "Geen toegangscode voor de Tolmo-server. Vul hem in bij Instellingen in de Tolmo-app.\n"
         "Bewaar hem hier met: tolmo sleutel zet server.\n"},
        {"onbekende optie",
         {"--snel", goed.string()},
         {},
         2,
         "Onbekende optie \"--snel\". Zie tolmo dicteer --help.\n"},
        {"ongeldige stijl",
         {"--stijl", "deftig", goed.string()},
         {},
         2,
         "Ongeldige waarde \"deftig\" voor --stijl. Kies zakelijk, neutraal, los of "
         "letterlijk.\n"},
        {"waarde ontbreekt",
         {goed.string(), "--niveau"},
         {},
         2,
         "De optie --niveau heeft een waarde nodig: licht of strak.\n"},
        {"vlag met waarde",
         {"--json=ja", goed.string()},
         {},
         2,
         "De optie --json heeft geen waarde.\n"},
        {"geen bestand",
         {"--motor", "test"},
         {},
         2,
         "Geef een audiobestand of --microfoon. Zie tolmo dicteer --help.\n"},
        {"twee bestanden",
         {goed.string(), goed.string()},
         {},
         2,
         "Geef één audiobestand, niet meer. Zie tolmo dicteer --help.\n"},
        {"bestand en microfoon",
         {"--microfoon", goed.string()},
         {},
         2,
         "Geef een audiobestand of --microfoon, niet allebei.\n"},
        {"ontbrekend bestand",
         {"--motor", "test", (map_ / "weg.wav").string()},
         {},
         1,
         "Het bestand " + (map_ / "weg.wav").string() + " bestaat niet.\n"},
        {"geen audio",
         {"--motor", "test", (map_ / "audio" / "tekst.wav").string()},
         {},
         1,
         "Het bestand " + (map_ / "audio" / "tekst.wav").string() +
             " is geen audiobestand dat tolmo kan lezen.\n"},
        {"map",
         {"--motor", "test", (map_ / "audio").string()},
         {},
         1,
         (map_ / "audio").string() + " is een map, geen audiobestand.\n"},
        {"leeg",
         {"--motor", "test", leeg.string()},
         {},
         1,
         "Het bestand " + leeg.string() + " bevat geen audio.\n"},
        {"te kort",
         {"--motor", "openai", tekort.string()},
         openai,
         1,
         "Het bestand " + tekort.string() +
             " is te kort om te dicteren (0,29 s; minstens 0,3 s nodig).\n"},
        {"stil",
         {"--motor", "openai", stil.string()},
         openai,
         1,
         "Het bestand " + stil.string() + " is helemaal stil.\n"},
    };
    for (const Geval& g : gevallen) {
        SCOPED_TRACE(g.naam);
        std::vector<std::string> args{"dicteer"};
        args.insert(args.end(), g.args.begin(), g.args.end());
        const auto r = tolmo(args, g.omg);
        EXPECT_EQ(r.status, g.status);
        EXPECT_EQ(r.fout, g.fout);
        EXPECT_EQ(r.uit, "");
        EXPECT_EQ(server.aantalVerzoeken(), 0U) << "nothing was sent";
        verwachtGeenRestanten();
    }
}

TEST_F(DicteerTest, StyleComesFromTheOptionTheAppOrTheSettings) {
    LoopbackServer server;
    // Eight words or more would go to the cleaner; this stays a short dictation, which the
    // rule tidy shapes by style: a final full stop goes only in the literal style.
    server.zetAntwoord(Antwoord::json(200, R"({"text":"eh dat is goed."})"));
    const auto pad = sinus("bron.wav", 16000, 1, 1.0);
    const Omgeving omg{{"OPENAI_API_KEY", "sk-1"}, {"TOLMO_OPENAI_URL", server.url()}};
    struct Geval {
        std::vector<std::string> opties;
        std::string uit;
    };
    ASSERT_EQ(tolmo({"instellingen", "zet", "stijlPerApp",
                     R"([{"bundleId":"org.voorbeeld.chat","naam":"Chat","stijl":"letterlijk"}])"})
                  .status,
              0);
    const Geval gevallen[] = {
        {{}, "Dat is goed.\n"},
        {{"--stijl", "letterlijk"}, "dat is goed\n"},
        {{"--app", "ORG.voorbeeld.CHAT"}, "dat is goed\n"},
        {{"--app", "org.voorbeeld.chat", "--stijl", "zakelijk"}, "Dat is goed.\n"},
        {{"--app", "org.onbekend"}, "Dat is goed.\n"},
    };
    for (const Geval& g : gevallen) {
        std::vector<std::string> args{"dicteer", "--motor", "openai"};
        args.insert(args.end(), g.opties.begin(), g.opties.end());
        args.push_back(pad.string());
        const auto r = tolmo(args, omg);
        EXPECT_EQ(r.status, 0) << r.fout;
        EXPECT_EQ(r.uit, g.uit) << ::testing::PrintToString(g.opties);
    }
}

TEST_F(DicteerTest, ProgressOnlyOnATerminalAndCtrlCAbortsTheWait) {
    LoopbackServer server;
    const auto kort = sinus("kort.wav", 48000, 2, 2.4);
    // Twenty minutes: 38,4 MB at 16 kHz mono, far more than the socket buffers hold, so an
    // upload the server does not read yet stalls part of the way.
    const auto lang = sinus("lang.wav", 16000, 1, 1200);
    const Omgeving omg = omgeving({{"OPENAI_API_KEY", "sk-1"}, {"TOLMO_OPENAI_URL", server.url()}});

    Antwoord traag = Antwoord::json(200, R"({"text":"eindelijk"})");
    traag.vertraging = 1500ms;
    Antwoord leestTraag = Antwoord::json(200, R"({"text":"eindelijk"})");
    leestTraag.pauzeVoorBody = 1500ms;
    struct Geval {
        const char* naam;
        fs::path bestand;
        Antwoord antwoord;
        bool terminal;
        std::vector<std::string> verwacht;
    };
    const Geval gevallen[] = {
        {"wachten, geen terminal", kort, traag, false, {}},
        {"wachten op een terminal", kort, traag, true, {"Wachten op de spraakdienst… 1 s"}},
        {"versturen, geen terminal", lang, leestTraag, false, {}},
        {"versturen op een terminal", lang, leestTraag, true, {"Versturen: ", " van 38,4 MB ("}},
    };
    for (const Geval& g : gevallen) {
        SCOPED_TRACE(g.naam);
        server.zetAntwoord(g.antwoord);
        nep::LopendProces p(TOLMO_CLI_PAD, {"dicteer", "--motor", "openai", g.bestand.string()},
                            {omg, g.terminal});
        const auto r = p.wacht();
        EXPECT_EQ(r.status, 0) << r.fout;
        EXPECT_EQ(r.uit, "Eindelijk\n") << "the short-dictation tidy ran";
        if (!g.terminal) {
            EXPECT_EQ(r.fout, "");
            continue;
        }
        for (const std::string& tekst : g.verwacht) {
            EXPECT_NE(r.fout.find(tekst), std::string::npos) << tekst << " in " << r.fout;
        }
        EXPECT_TRUE(r.fout.ends_with("\r\033[K")) << "the progress line is wiped at the end";
    }

    const std::vector<std::string> args{"dicteer", "--motor", "openai", kort.string()};
    traag.vertraging = 20s;
    server.zetAntwoord(traag);
    nep::LopendProces p(TOLMO_CLI_PAD, args, {omg, false});
    const auto voor = server.aantalVerzoeken();
    ASSERT_TRUE(server.wachtOpBegonnen(voor + 1, 10s));
    p.stuurSignaal(SIGINT);
    const auto begin = std::chrono::steady_clock::now();
    const auto r = p.wacht();
    EXPECT_LT(std::chrono::steady_clock::now() - begin, 5s) << "the wait was aborted";
    EXPECT_EQ(r.status, 130);
    EXPECT_EQ(r.fout, "Dicteren geannuleerd.\n");
    EXPECT_EQ(r.uit, "");
    verwachtGeenRestanten();
}

TEST_F(DicteerTest, HelpIsDutchAndListsEveryOption) {
    const auto r = tolmo({"dicteer", "--help"});
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.uit.rfind("Gebruik: tolmo dicteer BESTAND", 0), 0U);
    for (const char* optie : {"--microfoon", "--motor", "--aanbieder", "--stijl", "--app",
                              "--niveau", "--zonder-opschonen", "--json"}) {
        EXPECT_NE(r.uit.find(optie), std::string::npos) << optie;
    }
    EXPECT_NE(tolmo({"--help"}).uit.find("  dicteer "), std::string::npos);
}

}  // namespace
}  // namespace tolmo
