// tolmo dicteer as a user runs it: the real binary against a loopback HTTP server, with audio
// files made by sox, each test in its own config and temporary directory. What the chain does
// with a recording is the chain's own tests' business; here: the options, the file reading and
// conversion, the output and the exit status.
#include <gtest/gtest.h>
#include <signal.h>

#include <chrono>
#include <cmath>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include <nlohmann/json.hpp>

#include "CliTest.h"
#include "TolmoKern/Tekst/Tekst.h"
#include "nep/LoopbackServer.h"
#include "nep/M4aLezer.h"

namespace tolmo {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using nep::LoopbackServer;
using Antwoord = LoopbackServer::Antwoord;

// The audio file inside a multipart body, as the engines send it; empty when the body holds no
// part with this file name and type.
std::string bestandsdeel(const LoopbackServer::Verzoek& v, const std::string& naam,
                         const std::string& soort) {
    const std::string type = v.header("Content-Type").value_or("");
    const std::string grens = "\r\n--" + type.substr(type.find("boundary=") + 9);
    const std::string kop = "filename=\"" + naam + "\"\r\nContent-Type: " + soort + "\r\n\r\n";
    const auto plek = v.body.find(kop);
    if (plek == std::string::npos) {
        return {};
    }
    const auto begin = plek + kop.size();
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
        {"stereo.wav", 44100, 2, 2.4, 0.1},  {"mono.flac", 48000, 1, 2.4, 0.1},
        {"telefoon.wav", 8000, 1, 2.4, 0.5}, {"al16k.wav", 16000, 1, 2.4, 0.1},
        {"vorbis.ogg", 44100, 2, 3.0, 0.25}, {"kort.wav", 16000, 1, 0.3, 0.1},  // just enough
    };
    for (const Geval& g : gevallen) {
        SCOPED_TRACE(g.naam);
        const auto pad = sinus(g.naam, g.rate, g.kanalen, g.seconden, g.amplitude);
        const auto r = tolmo({"dicteer", "--motor", "test", pad.string()});
        EXPECT_EQ(r.status, 0);
        // The test engine reports duration and level; the mean square of a whole number of
        // periods of a sine is half its amplitude squared. Vorbis is lossy: its level may drift
        // by a fraction of a dB, never by a whole one.
        const double db = 10.0 * std::log10(g.amplitude * g.amplitude / 2.0);
        EXPECT_EQ(r.uit, "Test: " + Tekst::getalNL("%.1f", g.seconden) +
                             " s audio ontvangen, niveau " + std::to_string(std::lround(db)) +
                             " dB\n");
        EXPECT_EQ(r.fout, "");
        verwachtGeenRestanten();
    }
}

// The options choose the route and the style; every route gets the file as 16 kHz mono AAC.
TEST_F(DicteerTest, OptionsChooseRouteAndStyle) {
    LoopbackServer server;
    // Eight words or more would go to the cleaner; this stays a short dictation, which the rule
    // tidy shapes by style: a final full stop goes only in the literal style.
    server.zetAntwoord(Antwoord::json(200, R"({"text":"  eh dat is goed.\n"})"));
    ASSERT_EQ(tolmo({"instellingen", "zet", "stijlPerApp",
                     R"([{"bundleId":"org.voorbeeld.chat","naam":"Chat","stijl":"letterlijk"}])"})
                  .status,
              0);
    const auto pad = sinus("bron.wav", 44100, 2, 2.4);
    struct Geval {
        Args opties;
        std::string sleutel;
        std::optional<std::string> aanbiederHeader;
        std::string uit;
    };
    const Geval gevallen[] = {
        {{"--zonder-opschonen", "--motor", "mistral"},
         "mistral-456",
         std::nullopt,
         "eh dat is goed.\n"},
        {{"--motor", "tolmo", "--aanbieder", "openai"}, "code-789", "openai", "Dat is goed.\n"},
        {{"--motor=tolmo", "--aanbieder=mistral", "--stijl", "letterlijk"},
         "code-789",
         "mistral",
         "dat is goed\n"},
        {{"--app", "org.voorbeeld.chat"}, "sk-openai-123", std::nullopt, "dat is goed\n"},
        {{"--app", "org.voorbeeld.chat", "--stijl", "zakelijk"},
         "sk-openai-123",
         std::nullopt,
         "Dat is goed.\n"},
    };
    const Omgeving omg{
        {"OPENAI_API_KEY", "sk-openai-123"}, {"MISTRAL_API_KEY", "mistral-456"},
        {"TOLMO_TOEGANGSCODE", "code-789"},  {"TOLMO_OPENAI_URL", server.url()},
        {"TOLMO_MISTRAL_URL", server.url()}, {"TOLMO_SERVER_URL", server.url() + "relay/"}};
    for (const Geval& g : gevallen) {
        Args args{"dicteer"};
        args.insert(args.end(), g.opties.begin(), g.opties.end());
        args.push_back(pad.string());
        SCOPED_TRACE(::testing::PrintToString(args));
        const auto voor = server.aantalVerzoeken();
        const auto r = tolmo(args, omg);
        EXPECT_EQ(r.status, 0);
        EXPECT_EQ(r.uit, g.uit);
        EXPECT_EQ(r.fout, "") << "no progress or notes when standard error is not a terminal";
        verwachtGeenRestanten();

        ASSERT_EQ(server.aantalVerzoeken(), voor + 1);
        const auto v = server.verzoeken().back();
        EXPECT_EQ(v.doel, g.aanbiederHeader ? "/relay/v1/audio/transcriptions"
                                            : "/v1/audio/transcriptions");
        EXPECT_EQ(v.header("Authorization"), "Bearer " + g.sleutel);
        EXPECT_EQ(v.header("X-Tolmo-Aanbieder"), g.aanbiederHeader);

        std::string fout;
        const auto m4a = nep::leesAudio(
            tijdelijk_.schrijf("ontvangen.m4a", bestandsdeel(v, "dictaat.m4a", "audio/mp4")), fout);
        ASSERT_TRUE(m4a) << fout;
        EXPECT_EQ(m4a->codec, "aac");
        EXPECT_EQ(m4a->sampleRate, 16000);
        EXPECT_EQ(m4a->kanalen, 1);
        // Longer only by the encoder's delay (one 64 ms frame) and the last frame's padding.
        EXPECT_NEAR(m4a->containerDuur, 2.4 + 0.064, 0.065);
        // The downmix of two equal channels keeps the sine's level: RMS of amplitude 0.1.
        EXPECT_NEAR(m4a->rms(), 0.1 / std::sqrt(2.0), 0.01);
    }
}

TEST_F(DicteerTest, JsonCarriesTheWholeResultAndAFailedCleanupIsReported) {
    LoopbackServer server;
    const std::string transcript =
        "we spreken af met jan de fries over het nieuwe plan voor tolmo volgende week";
    const std::string ongeschoond =
        "we spreken af met Jan de Vries over het nieuwe plan voor tolmo volgende week";
    const std::string schoon =
        "We spreken af met Jan de Vries over het nieuwe plan voor Tolmo, volgende week.";
    unsigned opschoonStatus = 200;
    server.zetBehandelaar([&](const LoopbackServer::Verzoek& v) {
        if (v.doel == "/v1/audio/transcriptions") {
            return Antwoord::json(200, nlohmann::json{{"text", transcript}}.dump());
        }
        const nlohmann::json keuze = {{"message", {{"role", "assistant"}, {"content", schoon}}}};
        return Antwoord::json(
            opschoonStatus,
            nlohmann::json{{"service_tier", "default"}, {"choices", {keuze}}}.dump(),
            {{"openai-processing-ms", "250"}});
    });
    const Omgeving omg{{"OPENAI_API_KEY", "sk-1"}, {"TOLMO_OPENAI_URL", server.url()}};
    ASSERT_EQ(tolmo({"instellingen", "zet", "vervangingen", R"({"Jan de Vries":["jan de fries"]})"})
                  .status,
              0);
    const auto pad = sinus("bron.flac", 48000, 1, 2.4);
    const Args json{"dicteer", "--json", "--niveau", "licht", pad.string()};

    auto r = tolmo(json, omg);
    ASSERT_EQ(r.status, 0) << r.fout;
    EXPECT_EQ(r.uit.find('\n'), r.uit.size() - 1) << "one JSON object on one line";
    auto j = nlohmann::json::parse(r.uit);
    // The times that vary from run to run are checked for their kind and then left out.
    auto& t = j["tijden"];
    EXPECT_TRUE(t["transcriptie"].is_number() && t["opschonen"].is_number()) << t;
    EXPECT_TRUE(t["tekst"].get<std::string>().starts_with("Tijden: opname 2,4 s, upload+")) << t;
    for (const char* wisselend : {"transcriptie", "opschonen", "tekst"}) {
        t.erase(wisselend);
    }
    auto verwacht = nlohmann::json::parse(R"({
        "opschoonProbleem": null, "toepassingen": {"Jan de Vries": 1},
        "tijden": {"opname": 2.4, "opschonenOvergeslagen": null, "opschonenHerhaald": null,
                   "opschoonVerwerking": "default", "opschoonDienstTijd": 0.25, "totaal": null}})");
    verwacht["tekst"] = schoon;
    verwacht["ruw"] = transcript;
    EXPECT_EQ(j, verwacht);
    // The light prompt lacks the strict level's list of what else to remove.
    const std::string strakAlleen = "10. Haal ook weg:";
    EXPECT_EQ(server.verzoeken().back().doel, "/v1/chat/completions");
    EXPECT_EQ(server.verzoeken().back().body.find(strakAlleen), std::string::npos);

    opschoonStatus = 500;
    r = tolmo(json, omg);
    j = nlohmann::json::parse(r.uit);
    EXPECT_EQ(j["tekst"], ongeschoond);
    EXPECT_EQ(j["opschoonProbleem"], "OpenAI gaf een fout (code 500).");
    EXPECT_EQ(j["tijden"]["opschoonVerwerking"], nullptr);

    // Without --json a failed cleanup still delivers the text, with the reason on stderr; the
    // level is then the saved one, strict by default.
    r = tolmo({"dicteer", pad.string()}, omg);
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.uit, ongeschoond + "\n");
    EXPECT_EQ(r.fout, "De tekst is niet opgeschoond (OpenAI gaf een fout (code 500)).\n");
    EXPECT_NE(server.verzoeken().back().body.find(strakAlleen), std::string::npos);
}

TEST_F(DicteerTest, EveryFailureHasItsMessageAndStatus) {
    LoopbackServer server;
    const auto goed = sinus("goed.wav", 44100, 2, 2.4).string();
    const auto stil = sinus("stil.wav", 16000, 1, 1.0, 0.0).string();
    const auto tekort = sinus("tekort.wav", 16000, 1, 0.29).string();
    const auto leeg = (map_ / "audio" / "leeg.wav").string();
    ASSERT_EQ(
        nep::voerProcesUit("/usr/bin/sox", {"-n", "-r", "16000", "-c", "1", leeg, "trim", "0", "0"})
            .status,
        0);
    const auto tekst = tijdelijk_.schrijf("tekst.wav", "Dit is geen audio, maar tekst.\n").string();
    const auto weg = (map_ / "weg.wav").string();
    const auto audioMap = (map_ / "audio").string();

    struct Geval {
        Args args;
        int status;
        std::string fout;
    };
    const Geval gevallen[] = {
        {Args{"--motor", "mistral", goed}, 1,
         "Geen Mistral-sleutel. Vul hem in bij Instellingen in de Tolmo-app.\n"
         "Bewaar hem hier met: tolmo sleutel zet mistral.\n"},
        {Args{"--motor", "tolmo", goed}, 1,
         "Geen toegangscode voor de Tolmo-server. Vul hem in bij Instellingen in de Tolmo-app.\n"
         "Bewaar hem hier met: tolmo sleutel zet server.\n"},
        {Args{"--snel", goed}, 2, "Onbekende optie \"--snel\". Zie tolmo dicteer --help.\n"},
        {Args{"--stijl", "deftig", goed}, 2,
         "Ongeldige waarde \"deftig\" voor --stijl. Kies zakelijk, neutraal, los of letterlijk.\n"},
        {Args{goed, "--niveau"}, 2, "De optie --niveau heeft een waarde nodig: licht of strak.\n"},
        {Args{"--json=ja", goed}, 2, "De optie --json heeft geen waarde.\n"},
        {Args{}, 2, "Geef een audiobestand of --microfoon. Zie tolmo dicteer --help.\n"},
        {Args{goed, goed}, 2, "Geef één audiobestand, niet meer. Zie tolmo dicteer --help.\n"},
        {Args{"--microfoon", goed}, 2, "Geef een audiobestand of --microfoon, niet allebei.\n"},
        {Args{"--microfoon"}, 1,
         "Er is geen verbinding met de geluidsserver (pa_context_connect: Connection refused). "
         "Controleer of PulseAudio of PipeWire draait.\n"},
        {Args{weg}, 1, "Het bestand " + weg + " bestaat niet.\n"},
        {Args{tekst}, 1, "Het bestand " + tekst + " is geen audiobestand dat tolmo kan lezen.\n"},
        {Args{audioMap}, 1, audioMap + " is een map, geen audiobestand.\n"},
        {Args{leeg}, 1, "Het bestand " + leeg + " bevat geen audio.\n"},
        {Args{tekort}, 1,
         "Het bestand " + tekort + " is te kort om te dicteren (0,29 s; minstens 0,3 s nodig).\n"},
        {Args{stil}, 1, "Het bestand " + stil + " is helemaal stil.\n"},
    };
    const Omgeving omg{{"OPENAI_API_KEY", "sk-1"},
                       {"TOLMO_OPENAI_URL", server.url()},
                       {"TOLMO_SERVER_URL", server.url()},
                       {"PULSE_SERVER", "unix:" + (map_ / "geen-geluidsserver").string()}};
    for (const Geval& g : gevallen) {
        Args args = g.args;
        args.insert(args.begin(), "dicteer");
        SCOPED_TRACE(::testing::PrintToString(args));
        const auto r = tolmo(args, omg);
        EXPECT_EQ(r.status, g.status);
        EXPECT_EQ(r.fout, g.fout);
        EXPECT_EQ(r.uit, "");
        verwachtGeenRestanten();
    }
    EXPECT_EQ(server.aantalVerzoeken(), 0U) << "nothing was sent";
}

TEST_F(DicteerTest, ProgressOnlyOnATerminalAndCtrlCAbortsTheWait) {
    LoopbackServer server;
    const Omgeving omg = omgeving({{"OPENAI_API_KEY", "sk-1"}, {"TOLMO_OPENAI_URL", server.url()}});
    // Twenty minutes sent as WAV: 38,4 MB at 16 kHz mono, far more than the socket buffers hold, so
    // an upload the server does not read yet stalls part of the way; then the answer waits too.
    const auto lang = sinus("lang.wav", 16000, 1, 1200);
    Antwoord traag = Antwoord::json(200, R"({"text":"eindelijk"})");
    traag.pauzeVoorBody = 1500ms;
    traag.vertraging = 1500ms;
    server.zetAntwoord(traag);
    auto r = nep::LopendProces(TOLMO_CLI_PAD,
                               {"dicteer", "--motor", "openai", "--formaat", "wav", lang.string()},
                               {omg, true})
                 .wacht();
    EXPECT_EQ(r.status, 0) << r.fout;
    EXPECT_EQ(r.uit, "Eindelijk\n") << "the short-dictation tidy ran";
    for (const char* tekst : {"\rVersturen: ", " van 38,4 MB (", " Wachten op de spraakdienst… "}) {
        EXPECT_NE(r.fout.find(tekst), std::string::npos) << tekst << " in " << r.fout;
    }
    EXPECT_TRUE(r.fout.ends_with("\r\033[K")) << "the progress line is wiped at the end";

    // Not a terminal: the same long wait shows nothing.
    traag = Antwoord::json(200, R"({"text":"eindelijk"})");
    traag.vertraging = 20s;
    server.zetAntwoord(traag);
    nep::LopendProces p(TOLMO_CLI_PAD,
                        {"dicteer", "--motor", "openai", sinus("kort.wav", 48000, 2, 2.4).string()},
                        {omg, false});
    ASSERT_TRUE(server.wachtOpBegonnen(2, 10s));
    std::this_thread::sleep_for(600ms);  // past the moment a terminal would show progress
    p.stuurSignaal(SIGINT);
    const auto begin = std::chrono::steady_clock::now();
    r = p.wacht();
    EXPECT_LT(std::chrono::steady_clock::now() - begin, 5s) << "the wait was aborted";
    EXPECT_EQ(r.status, 130);
    EXPECT_EQ(r.fout, "Dicteren geannuleerd.\n");
    EXPECT_EQ(r.uit, "");
    verwachtGeenRestanten();
}

}  // namespace
}  // namespace tolmo
