// The tool's commands other than dicteer, through the real binary: settings, keys, help and
// the text commands.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <fstream>

#include <nlohmann/json.hpp>

#include "CliTest.h"

namespace tolmo {
namespace {

namespace fs = std::filesystem;

std::string document(const fs::path& map) {
    std::ifstream in(map / "config" / "tolmo" / "group.app.tolmo.json");
    return {std::istreambuf_iterator<char>(in), {}};
}

TEST_F(CliTest, SettingsRoundTripAndRefusals) {
    struct Geval {
        Args args;
        int status;
        std::string uitOfFout;
    };
    const Geval gevallen[] = {
        {Args{"instellingen", "zet", "motor", "mistral"}, 0, "motor is nu \"mistral\".\n"},
        {Args{"instellingen", "zet", "opschonen", "uit"}, 0, "opschonen is nu false.\n"},
        {Args{"instellingen", "zet", "woorden", R"(["Tolmo","Jan de Vries"])"}, 0,
         "woorden is nu [\"Tolmo\",\"Jan de Vries\"].\n"},
        {Args{"instellingen", "zet", "motor", "whisper"}, 1,
         "Ongeldige waarde \"whisper\" voor motor. Toegestaan voor motor: openai, mistral, test, "
         "tolmo.\n"},
        {Args{"instellingen", "zet", "kleur", "rood"}, 1,
         "Onbekende instelling \"kleur\". Bekende instellingen: abcKnop, automatischOffline, "
         "herkomst, houdToets, koptelefoonMicrofoon, langeDictatenBekijken, microfoonKlaar, motor, "
         "opToestel, opschonen, opschoonNiveau, ruisonderdrukking, serverAanbieder, "
         "spraakopdrachten, standaardStijl, stijlPerApp, stijlVoorbeelden, syncBijgewerkt, "
         "toepassingen, vervangingen, weergave, wisselSneltoets, woorden.\n"},
        {Args{"instellingen", "zet", "houdToets", "hyper"}, 1,
         "Ongeldige waarde \"hyper\" voor houdToets. Toegestaan voor houdToets: fn, rechterOption, "
         "rechterCommand, uit, rechterControl.\n"},
        // Valid JSON, but not a list of texts: the settings would drop it at the next load.
        {Args{"instellingen", "zet", "woorden", "[1,2]"}, 1,
         "Ongeldige waarde \"[1,2]\" voor woorden. Geef voor woorden een JSON-lijst van teksten, "
         "bijvoorbeeld [\"Tolmo\", \"Jan de Vries\"].\n"},
        {Args{"instellingen", "zet", "opschonen", "misschien"}, 1,
         "Ongeldige waarde \"misschien\" voor opschonen. Toegestaan voor opschonen: aan, uit, "
         "true, false.\n"},
        {Args{"instellingen", "zet", "motor"}, 2,
         "Gebruik: tolmo instellingen [zet SLEUTEL WAARDE | standaard].\n"},
    };
    for (const Geval& g : gevallen) {
        SCOPED_TRACE(g.args[2]);
        const std::string voor = document(map_);
        const auto r = tolmo(g.args);
        EXPECT_EQ(r.status, g.status);
        EXPECT_EQ(g.status == 0 ? r.uit : r.fout, g.uitOfFout);
        EXPECT_EQ(g.status == 0 ? r.fout : r.uit, "");
        if (g.status != 0) {
            EXPECT_EQ(document(map_), voor) << "a refused change leaves the document as it was";
        }
    }
    // What was accepted is in the document the settings print.
    const auto doc = nlohmann::json::parse(tolmo({"instellingen"}).uit);
    EXPECT_EQ(doc["motor"], "mistral");
    EXPECT_EQ(doc["opschonen"], false);
    EXPECT_EQ(doc["woorden"], nlohmann::json::parse(R"(["Tolmo","Jan de Vries"])"));

    EXPECT_EQ(tolmo({"instellingen", "standaard"}).uit,
              "De standaardinstellingen zijn teruggezet.\n");
    EXPECT_EQ(nlohmann::json::parse(tolmo({"instellingen"}).uit)["motor"], "openai");
}

TEST_F(CliTest, KeysAreReadFromStandardInputAndKeptPrivate) {
    const fs::path bestand = map_ / "config" / "tolmo" / "sleutels.json";
    auto r = tolmo({"sleutel", "zet", "openai"}, {}, "sk-geheim-1234567890\n");
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.uit, "De sleutel voor openai is bewaard in " + bestand.string() + ".\n");
    struct stat st {};
    ASSERT_EQ(::stat(bestand.c_str(), &st), 0);
    EXPECT_EQ(st.st_mode & 0777, 0600U) << "only the owner may read the keys";

    r = tolmo({"sleutel"}, {{"TOLMO_TOEGANGSCODE", "code-uit-omgeving-42"}});
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.uit,
              "openai: sk-…7890 (bestand)\n"
              "mistral: niet ingesteld\n"
              "server: cod…g-42 (TOLMO_TOEGANGSCODE)\n");
    // The environment wins over the file.
    r = tolmo({"sleutel"}, {{"OPENAI_API_KEY", "sk-omgeving-abcdefgh"}});
    EXPECT_EQ(
        r.uit,
        "openai: sk-…efgh (OPENAI_API_KEY)\nmistral: niet ingesteld\nserver: niet ingesteld\n");

    struct Geval {
        Args args;
        std::string invoer;
        int status;
        std::string uitOfFout;
    };
    const Geval gevallen[] = {
        {Args{"sleutel", "zet", "mistral"}, "\n", 1,
         "Geen sleutel gelezen van standaardinvoer. Geef hem op de eerste regel.\n"},
        {Args{"sleutel", "zet", "mistral"}, "twee woorden\n", 1,
         "Deze sleutel bevat spaties of ongeldige tekens. Er is niets bewaard.\n"},
        {Args{"sleutel", "zet", "google"}, "x\n", 2,
         "Onbekende soort sleutel \"google\". Kies openai, mistral of server.\n"},
        {Args{"sleutel", "zet", "openai", "sk-op-de-regel"}, "", 2,
         "Gebruik: tolmo sleutel [zet SOORT | wis SOORT].\n"},
        {Args{"sleutel", "wis", "mistral"}, "", 0, "Er was geen sleutel voor mistral bewaard.\n"},
        {Args{"sleutel", "wis", "openai"}, "", 0, "De sleutel voor openai is gewist.\n"},
    };
    for (const Geval& g : gevallen) {
        r = tolmo(g.args, {}, g.invoer);
        EXPECT_EQ(r.status, g.status);
        EXPECT_EQ(g.status == 0 ? r.uit : r.fout, g.uitOfFout);
    }
    EXPECT_EQ(tolmo({"sleutel"}).uit,
              "openai: niet ingesteld\nmistral: niet ingesteld\nserver: niet ingesteld\n");
}

TEST_F(CliTest, HelpVersionAndUsage) {
    struct Geval {
        Args args;
        int status;
        std::string uit;
        std::string fout;
    };
    const Geval gevallen[] = {
        {{"--help"}, 0, "Gebruik: tolmo OPDRACHT", ""},
        {{"dicteer", "--help"}, 0, "Gebruik: tolmo dicteer BESTAND", ""},
        {{"sleutel", "-h"}, 0, "Gebruik: tolmo sleutel", ""},
        {{"instellingen", "--help"}, 0, "Gebruik: tolmo instellingen", ""},
        {{"--versie"}, 0, "tolmo ", ""},
        {{}, 2, "", "Geef een opdracht. Zie tolmo --help.\n"},
        {{"vlieg"}, 2, "", "Onbekende opdracht \"vlieg\". Zie tolmo --help.\n"},
    };
    for (const Geval& g : gevallen) {
        const auto r = tolmo(g.args);
        EXPECT_EQ(r.status, g.status);
        EXPECT_TRUE(r.uit.starts_with(g.uit)) << r.uit;
        EXPECT_EQ(r.fout, g.fout);
    }
}

TEST_F(CliTest, CleanCommandsAndStyleThroughTheBinary) {
    struct Geval {
        Args args;
        std::string invoer;
        int status;
        std::string uit;
        std::string fout;
    };
    const Geval gevallen[] = {
        {Args{"opschonen"}, "eh ik ik wil eh naar huis", 0, "Ik wil naar huis.\n", ""},
        {Args{"opschonen", "--stijl", "letterlijk"}, "git status.", 0, "git status\n", ""},
        {Args{"opschonen", "--kort"}, "eh, ok.", 0, "Ok.\n", ""},
        // A listed word keeps its spelling where a sentence begins.
        {Args{"opschonen", "--woord", "git"}, "ik gebruik git. git is fijn", 0,
         "Ik gebruik git. git is fijn.\n", ""},
        {Args{"opschonen", "--stijl", "chic"}, "", 2, "",
         "Onbekende stijl \"chic\". Kies zakelijk, neutraal, los of letterlijk.\n"},
        {Args{"opschonen", "--woord"}, "", 2, "",
         "Na --woord hoort een waarde. Zie tolmo opschonen --help.\n"},
        {Args{"opschonen", "--lang"}, "", 2, "",
         "Onbekende optie \"--lang\". Zie tolmo opschonen --help.\n"},
        {Args{"spraakopdrachten"}, "hallo komma hoe gaat het vraagteken nieuwe regel tot zo punt",
         0, "hallo, hoe gaat het?\nTot zo.\n", ""},
        {Args{"spraakopdrachten", "extra"}, "", 2, "",
         "tolmo spraakopdrachten neemt geen argumenten; de tekst komt van standaardinvoer.\n"},
        {Args{"stijl", "COM.APPLE.MAIL"}, "", 0, "zakelijk\n", ""},
        {Args{"stijl"}, "", 2, "", "Gebruik: tolmo stijl BUNDLEID.\n"},
    };
    for (const Geval& g : gevallen) {
        SCOPED_TRACE(g.args.front() + " / " + g.invoer);
        const auto r = tolmo(g.args, {}, g.invoer);
        EXPECT_EQ(r.status, g.status);
        EXPECT_EQ(r.uit, g.uit);
        EXPECT_EQ(r.fout, g.fout);
    }

    // The saved default style and word list are used when no option says otherwise.
    ASSERT_EQ(tolmo({"instellingen", "zet", "standaardStijl", "letterlijk"}).status, 0);
    ASSERT_EQ(tolmo({"instellingen", "zet", "stijlPerApp", "[]"}).status, 0);
    ASSERT_EQ(tolmo({"instellingen", "zet", "woorden", R"(["git"])"}).status, 0);
    EXPECT_EQ(tolmo({"stijl", "com.apple.mail"}).uit, "letterlijk\n");
    EXPECT_EQ(tolmo({"opschonen"}, {}, "ls -la.").uit, "ls -la\n");
    EXPECT_EQ(tolmo({"opschonen", "--stijl", "zakelijk"}, {}, "ik gebruik git. git is fijn").uit,
              "Ik gebruik git. git is fijn.\n");
}

}  // namespace
}  // namespace tolmo
