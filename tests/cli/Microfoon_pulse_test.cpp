// tolmo dicteer --microfoon against a private PulseAudio daemon whose default source plays
// speech made with espeak-ng: Enter ends the recording, Ctrl-C cancels it. What is sent of a
// recording is pinned with files in Dicteer_test; here the test engine reports what arrived.
#include <gtest/gtest.h>
#include <signal.h>

#include <chrono>
#include <filesystem>
#include <regex>
#include <string>

#include "CliTest.h"
#include "nep/LoopbackServer.h"
#include "nep/PulseDaemon.h"
#include "nep/WavLezer.h"

namespace tolmo {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

constexpr const char* prompt =
    "Opname loopt. Druk op Enter om te stoppen of op Ctrl-C om te annuleren.\n";

class MicrofoonTest : public CliTest {
  protected:
    void SetUp() override { ASSERT_EQ(daemon_.fout(), ""); }

    nep::LopendProces dicteer(const std::string& motor, const Omgeving& extra = {}) {
        return {TOLMO_CLI_PAD,
                {"dicteer", "--microfoon", "--zonder-opschonen", "--motor", motor},
                {omgeving(extra), false}};
    }

    nep::PulseDaemon daemon_;
};

TEST_F(MicrofoonTest, EnterEndsTheRecordingAndTheChainGetsIt) {
    const auto zin = daemon_.spraak("Dit is een korte zin voor de microfoon van Tolmo.");
    ASSERT_FALSE(zin.empty()) << "espeak-ng";
    std::string fout;
    const double zinDuur = nep::leesWav(zin, fout).value_or(nep::WavBestand{}).duur();
    ASSERT_GT(zinDuur, 1.0) << fout;

    auto p = dicteer("test");
    ASSERT_TRUE(p.wachtOpFout(prompt, 10s)) << p.wacht().fout;
    // paplay returns when the sentence has been played into the source.
    ASSERT_EQ(nep::PulseDaemon::voerUit({"paplay", "--device=nul", zin.string()}), 0);
    p.schrijf("\n");
    const auto r = p.wacht();
    ASSERT_EQ(r.status, 0) << r.fout;
    EXPECT_EQ(r.fout, prompt) << "no meter when standard error is not a terminal";
    EXPECT_TRUE(fs::is_empty(map_ / "tmp")) << "the recording is deleted after the dictation";
    std::smatch m;
    const std::regex testzin(R"(Test: (\d+),(\d) s audio ontvangen, niveau (-?\d+) dB\n)");
    ASSERT_TRUE(std::regex_match(r.uit, m, testzin)) << r.uit;
    const double duur = std::stod(m[1].str()) + std::stod(m[2].str()) / 10;
    EXPECT_GE(duur, zinDuur - 0.1) << "the whole sentence was recorded";
    EXPECT_LT(duur, zinDuur + 3.0);
    EXPECT_GT(std::stoi(m[3].str()), -40) << "speech, not silence";
}

TEST_F(MicrofoonTest, CtrlCCancelsAndSendsNothing) {
    nep::LoopbackServer server;
    auto p = dicteer("openai", {{"OPENAI_API_KEY", "sk-1"}, {"TOLMO_OPENAI_URL", server.url()}});
    ASSERT_TRUE(p.wachtOpFout(prompt, 10s)) << p.wacht().fout;
    ASSERT_FALSE(fs::is_empty(map_ / "tmp")) << "the recording is being written";
    p.stuurSignaal(SIGINT);
    const auto r = p.wacht();
    EXPECT_EQ(r.status, 130);
    EXPECT_EQ(r.fout, std::string(prompt) + "Opname geannuleerd. Er is niets verstuurd.\n");
    EXPECT_EQ(r.uit, "");
    EXPECT_EQ(server.aantalVerzoeken(), 0U);
    EXPECT_TRUE(fs::is_empty(map_ / "tmp"));
}

}  // namespace
}  // namespace tolmo
