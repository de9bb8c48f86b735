// tolmo dicteer --microfoon against a private PulseAudio daemon whose default source plays
// speech made with espeak-ng: Enter ends the recording, Ctrl-C cancels it.
#include <gtest/gtest.h>
#include <signal.h>
#include <sndfile.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <map>
#include <regex>
#include <string>

#include "CliTest.h"
#include "nep/LoopbackServer.h"
#include "nep/PulseDaemon.h"

namespace tolmo {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

constexpr const char* prompt =
    "Opname loopt. Druk op Enter om te stoppen of op Ctrl-C om te annuleren.\n";

double duurVan(const fs::path& pad) {
    SF_INFO info{};
    SNDFILE* f = sf_open(pad.c_str(), SFM_READ, &info);
    if (f == nullptr) {
        return 0;
    }
    sf_close(f);
    return static_cast<double>(info.frames) / info.samplerate;
}

class MicrofoonTest : public ::testing::Test {
  protected:
    void SetUp() override {
        ASSERT_TRUE(daemon_.fout().empty()) << daemon_.fout();
        tmp_ = daemon_.map() / "tmp";
        fs::create_directories(tmp_);
    }

    [[nodiscard]] Omgeving omgeving(const Omgeving& extra) const {
        return cliOmgeving(daemon_.map(), extra);
    }

    nep::PulseDaemon daemon_;
    fs::path tmp_;
};

TEST_F(MicrofoonTest, EnterEndsTheRecordingAndTheChainGetsIt) {
    const auto zin = daemon_.spraak("Dit is een korte zin voor de microfoon van Tolmo.");
    ASSERT_FALSE(zin.empty()) << "espeak-ng";
    const double zinDuur = duurVan(zin);
    ASSERT_GT(zinDuur, 1.0);

    // Once with the test engine, once through OpenAI's route to a loopback server, to see
    // what is sent.
    nep::LoopbackServer server;
    server.zetAntwoord(nep::LoopbackServer::Antwoord::json(200, R"({"text":"dit is een zin"})"));
    for (const bool netwerk : {false, true}) {
        SCOPED_TRACE(netwerk);
        const std::vector<std::string> args{"dicteer", "--microfoon", "--zonder-opschonen",
                                            "--motor", netwerk ? "openai" : "test"};
        nep::LopendProces p(
            TOLMO_CLI_PAD, args,
            {omgeving({{"OPENAI_API_KEY", "sk-1"}, {"TOLMO_OPENAI_URL", server.url()}}), false});
        ASSERT_TRUE(p.wachtOpFout(prompt, 10s)) << p.wacht().fout;
        // paplay returns when the sentence has been played into the source.
        ASSERT_EQ(nep::PulseDaemon::voerUit({"paplay", "--device=nul", zin.string()}), 0);
        p.schrijf("\n");
        const auto r = p.wacht();
        ASSERT_EQ(r.status, 0) << r.fout;
        EXPECT_EQ(r.fout, prompt) << "no meter when standard error is not a terminal";
        EXPECT_TRUE(fs::is_empty(tmp_)) << "the recording is deleted after the dictation";
        if (!netwerk) {
            std::smatch m;
            const std::regex testzin(R"(Test: (\d+),(\d) s audio ontvangen, niveau (-?\d+) dB\n)");
            ASSERT_TRUE(std::regex_match(r.uit, m, testzin)) << r.uit;
            const double duur = std::stod(m[1].str()) + std::stod(m[2].str()) / 10;
            EXPECT_GE(duur, zinDuur - 0.1) << "the whole sentence was recorded";
            EXPECT_LT(duur, zinDuur + 3.0);
            EXPECT_GT(std::stoi(m[3].str()), -40) << "speech, not silence";
        } else {
            EXPECT_EQ(r.uit, "dit is een zin\n");
            ASSERT_EQ(server.aantalVerzoeken(), 1U);
            const auto v = server.verzoeken().front();
            EXPECT_NE(v.body.find("filename=\"dictaat.wav\""), std::string::npos);
            // 16 kHz mono 16-bit: 32000 bytes a second, at least the sentence's length.
            EXPECT_GT(v.body.size(), static_cast<std::size_t>(zinDuur * 32000));
        }
    }
}

TEST_F(MicrofoonTest, CtrlCCancelsAndSendsNothing) {
    nep::LoopbackServer server;
    nep::LopendProces p(
        TOLMO_CLI_PAD, {"dicteer", "--microfoon", "--motor", "openai"},
        {omgeving({{"OPENAI_API_KEY", "sk-1"}, {"TOLMO_OPENAI_URL", server.url()}}), false});
    ASSERT_TRUE(p.wachtOpFout(prompt, 10s)) << p.wacht().fout;
    ASSERT_FALSE(fs::is_empty(tmp_)) << "the recording is being written";
    p.stuurSignaal(SIGINT);
    const auto r = p.wacht();
    EXPECT_EQ(r.status, 130);
    EXPECT_EQ(r.fout, std::string(prompt) + "Opname geannuleerd. Er is niets verstuurd.\n");
    EXPECT_EQ(r.uit, "");
    EXPECT_EQ(server.aantalVerzoeken(), 0U);
    EXPECT_TRUE(fs::is_empty(tmp_));
}

TEST_F(MicrofoonTest, WithoutASoundServerTheMessageSaysSo) {
    nep::LopendProces p(TOLMO_CLI_PAD, {"dicteer", "--microfoon", "--motor", "test"},
                        {omgeving({{"PULSE_SERVER", "unix:" + (tmp_ / "geen").string()}}), false});
    const auto r = p.wacht();
    EXPECT_EQ(r.status, 1);
    EXPECT_EQ(r.fout.rfind("Er is geen verbinding met de geluidsserver (", 0), 0U) << r.fout;
    EXPECT_TRUE(r.fout.ends_with("). Controleer of PulseAudio of PipeWire draait.\n")) << r.fout;
    EXPECT_TRUE(fs::is_empty(tmp_));
}

}  // namespace
}  // namespace tolmo
