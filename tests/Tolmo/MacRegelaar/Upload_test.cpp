// The controller with an upload that runs while the user speaks.
#include <gtest/gtest.h>

#include "Opstelling.h"

namespace tolmo::test {
namespace {

struct Spoor {
    std::filesystem::path bestand;
    bool afgerond = false;
    bool weg = false;
};

class NepUpload final : public LopendeUpload {
  public:
    explicit NepUpload(Spoor& s) : s_(s) {}
    ~NepUpload() override { s_.weg = true; }
    NepUpload(const NepUpload&) = delete;
    NepUpload& operator=(const NepUpload&) = delete;
    void rondAf(const Opname&) override { s_.afgerond = true; }
    std::string transcribeer(const Opname&, const std::vector<std::string>&, StopToken) override {
        return "via de upload";
    }

  private:
    Spoor& s_;
};

// The upload begins with the file being recorded; at release it gets the finished recording
// before the chain is even built and then answers as the engine (the chain's own engine sends
// nothing). Cancelled, or when no chain can be built, it is dropped without being finished.
TEST(DictaatRegelaar, DeUploadLooptMetDeOpnameMee) {
    struct Geval {
        const char* naam;
        std::function<void(Opstelling&)> einde;
        bool afgerond;
        std::optional<std::string> ruw;  // the transcript that was pasted
    };
    const std::vector<Geval> gevallen{
        {"losgelaten", [](Opstelling& o) { o.regelaar->stop(); }, true, "via de upload"},
        {"Esc", [](Opstelling& o) { o.regelaar->annuleer(); }, false, std::nullopt},
        {"geen toegangscode",
         [](Opstelling& o) {
             o.bouwFout = HerkenningsFout::van(HerkenningsFout::Soort::geenToegangscode);
             o.regelaar->stop();
         },
         true, std::nullopt},
    };
    for (const auto& g : gevallen) {
        SCOPED_TRACE(g.naam);
        Opstelling o;
        Spoor spoor;
        o.upload = [&](const TolmoInstellingen&, const std::filesystem::path& bestand,
                       AudioFormaat) -> std::unique_ptr<LopendeUpload> {
            spoor.bestand = bestand;
            return std::make_unique<NepUpload>(spoor);
        };
        o.maak();
        o.neemOp(2.0);
        EXPECT_EQ(spoor.bestand, o.schrijvers.paden.back());
        EXPECT_FALSE(spoor.weg);
        g.einde(o);
        EXPECT_EQ(spoor.afgerond, g.afgerond);
        if (g.ruw) {
            o.verwerk();
        }
        EXPECT_TRUE(spoor.weg);
        const auto& laatste = o.regelaar->laatsteDictaat();
        EXPECT_EQ(laatste ? std::optional(laatste->ruw) : std::nullopt, g.ruw);
    }
}

// The shell's format goes to every engine that uploads, to the writer and to the upload alike;
// the test engine gets WAV.
TEST(DictaatRegelaar, HetFormaatVolgtDeMotor) {
    struct Geval {
        Motor motor;
        AudioFormaat platform;
        AudioFormaat verwacht;
    };
    const std::vector<Geval> gevallen{
        {Motor::openAI, AudioFormaat::m4a, AudioFormaat::m4a},
        {Motor::tolmo, AudioFormaat::m4a, AudioFormaat::m4a},
        {Motor::test, AudioFormaat::m4a, AudioFormaat::wav},
        {Motor::mistral, AudioFormaat::wav, AudioFormaat::wav},
    };
    for (const auto& g : gevallen) {
        SCOPED_TRACE(std::string(audioFormaatWaarden.naam(g.verwacht)) + " voor " +
                     std::string(motorWaarden.naam(g.motor)));
        Opstelling o;
        o.altijdViaServer = false;
        o.formaat = g.platform;
        TolmoInstellingen opgeslagen;
        opgeslagen.motor = g.motor;
        o.groep.zet("instellingen", opgeslagen.naarJson().dump());
        std::optional<AudioFormaat> naarUpload;
        o.upload = [&](const TolmoInstellingen&, const std::filesystem::path&,
                       AudioFormaat f) -> std::unique_ptr<LopendeUpload> {
            naarUpload = f;
            return nullptr;
        };
        o.maak();
        o.neemOp(1.0);
        EXPECT_EQ(o.schrijvers.paden.back().extension(), "." + std::string(extensie(g.verwacht)));
        EXPECT_EQ(naarUpload, g.verwacht);
        o.regelaar->annuleer();
    }
}

}  // namespace
}  // namespace tolmo::test
