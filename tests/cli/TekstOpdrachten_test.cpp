#include <gtest/gtest.h>

#include "CliTest.h"

namespace tolmo {
namespace {

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
