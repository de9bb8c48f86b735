#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include <nlohmann/json.hpp>

#include "CliTest.h"

namespace tolmo {
namespace {

namespace fs = std::filesystem;

std::string document(const fs::path& map) {
    std::ifstream in(map / "config" / "tolmo" / "group.app.tolmo.json");
    std::stringstream s;
    s << in.rdbuf();
    return s.str();
}

TEST_F(CliTest, SettingsRoundTripAndRefusals) {
    auto r = tolmo({"instellingen"});
    ASSERT_EQ(r.status, 0) << r.fout;
    EXPECT_EQ(nlohmann::json::parse(r.uit)["motor"], "openai");

    struct Geval {
        std::vector<std::string> args;
        int status;
        std::string uitOfFout;
    };
    const Geval gevallen[] = {
        {{"instellingen", "zet", "motor", "mistral"}, 0, "motor is nu \"mistral\".\n"},
        {{"instellingen", "zet", "opschonen", "uit"}, 0, "opschonen is nu false.\n"},
        {{"instellingen", "zet", "woorden", R"(["Tolmo","Jan de Vries"])"}, 0, ""},
        {{"instellingen", "zet", "motor", "whisper"},
         1,
         "Ongeldige waarde \"whisper\" voor motor. Toegestaan voor motor: openai, mistral, test, "
         "tolmo.\n"},
        {{"instellingen", "zet", "kleur", "rood"}, 1, "Onbekende instelling \"kleur\"."},
        {{"instellingen", "zet", "houdToets", "hyper"}, 1, "rechterCommand, uit, rechterControl."},
        {{"instellingen", "zet", "woorden", "[1,2]"},
         1,
         "Ongeldige waarde \"[1,2]\" voor woorden."},
        {{"instellingen", "zet", "opschonen", "misschien"}, 1, "aan, uit, true, false."},
        {{"instellingen", "zet", "motor"}, 2, "Gebruik: tolmo instellingen"},
    };
    for (const Geval& g : gevallen) {
        SCOPED_TRACE(g.args.back());
        const std::string voor = document(map_);
        r = tolmo(g.args);
        EXPECT_EQ(r.status, g.status) << r.fout;
        if (g.status == 0) {
            EXPECT_EQ(r.uit.substr(0, g.uitOfFout.size()), g.uitOfFout);
            EXPECT_TRUE(r.fout.empty()) << r.fout;
        } else {
            EXPECT_NE(r.fout.find(g.uitOfFout), std::string::npos) << r.fout;
            EXPECT_TRUE(r.uit.empty());
            EXPECT_EQ(document(map_), voor) << "a refused change leaves the document as it was";
        }
    }
    const auto doc = nlohmann::json::parse(tolmo({"instellingen"}).uit);
    EXPECT_EQ(doc["motor"], "mistral");
    EXPECT_EQ(doc["opschonen"], false);
    EXPECT_EQ(doc["woorden"], nlohmann::json::parse(R"(["Tolmo","Jan de Vries"])"));

    r = tolmo({"instellingen", "standaard"});
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(nlohmann::json::parse(tolmo({"instellingen"}).uit)["motor"], "openai");
}

TEST_F(CliTest, KeysAreReadFromStandardInputAndKeptPrivate) {
    auto r = tolmo({"sleutel", "zet", "openai"}, {}, "sk-geheim-1234567890\n");
    ASSERT_EQ(r.status, 0) << r.fout;
    const fs::path bestand = map_ / "config" / "tolmo" / "sleutels.json";
    struct stat st {};
    ASSERT_EQ(::stat(bestand.c_str(), &st), 0);
    EXPECT_EQ(st.st_mode & 0777, 0600U) << "only the owner may read the keys";

    r = tolmo({"sleutel"}, {{"TOLMO_TOEGANGSCODE", "code-uit-omgeving-42"}});
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.uit,
              "openai: sk-…7890 (bestand)\n"
              "mistral: niet ingesteld\n"
              "server: cod…g-42 (TOLMO_TOEGANGSCODE)\n");
    EXPECT_EQ(r.uit.find("geheim"), std::string::npos);

    // The environment wins over the file.
    r = tolmo({"sleutel"}, {{"OPENAI_API_KEY", "sk-omgeving-abcdefgh"}});
    EXPECT_NE(r.uit.find("openai: sk-…efgh (OPENAI_API_KEY)"), std::string::npos) << r.uit;

    struct Geval {
        std::vector<std::string> args;
        std::string invoer;
        int status;
        std::string fout;
    };
    const Geval fouten[] = {
        {{"sleutel", "zet", "mistral"}, "\n", 1, "Geen sleutel gelezen van standaardinvoer."},
        {{"sleutel", "zet", "mistral"}, "twee woorden\n", 1, "Deze sleutel bevat spaties"},
        {{"sleutel", "zet", "google"}, "x\n", 2, "Onbekende soort sleutel \"google\"."},
        {{"sleutel", "zet", "openai", "sk-op-de-regel"}, "", 2, "Gebruik: tolmo sleutel"},
    };
    for (const Geval& g : fouten) {
        r = tolmo(g.args, {}, g.invoer);
        EXPECT_EQ(r.status, g.status);
        EXPECT_NE(r.fout.find(g.fout), std::string::npos) << r.fout;
    }

    r = tolmo({"sleutel", "wis", "openai"});
    EXPECT_EQ(r.uit, "De sleutel voor openai is gewist.\n");
    EXPECT_NE(tolmo({"sleutel"}).uit.find("openai: niet ingesteld"), std::string::npos);
}

TEST_F(CliTest, HelpVersionAndUsage) {
    struct Geval {
        std::vector<std::string> args;
        int status;
        std::string uit;
        std::string fout;
    };
    const Geval gevallen[] = {
        {{"--help"}, 0, "Gebruik: tolmo OPDRACHT", ""},
        {{"sleutel", "--help"}, 0, "Gebruik: tolmo sleutel", ""},
        {{"instellingen", "--help"}, 0, "Gebruik: tolmo instellingen", ""},
        {{"--versie"}, 0, "tolmo ", ""},
        {{}, 2, "", "Geef een opdracht. Zie tolmo --help.\n"},
        {{"vlieg"}, 2, "", "Onbekende opdracht \"vlieg\". Zie tolmo --help.\n"},
    };
    for (const Geval& g : gevallen) {
        const auto r = tolmo(g.args);
        EXPECT_EQ(r.status, g.status);
        EXPECT_EQ(r.uit.substr(0, g.uit.size()), g.uit);
        EXPECT_EQ(r.fout, g.fout);
    }
}

}  // namespace
}  // namespace tolmo
