#include <gtest/gtest.h>

#include "nep/LopendProces.h"
#include "nep/TijdelijkeOpname.h"

namespace tolmo {
namespace {

TEST(TekstOpdrachten, CleanCommandsAndStyleThroughTheBinary) {
    const nep::TijdelijkeMap map;
    const std::map<std::string, std::string> omgeving{{"XDG_CONFIG_HOME", map.pad().string()}};
    using Args = std::vector<std::string>;
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
        {Args{"opschonen", "--woord", "iPhone"}, "ik wil een iPhone. iPhone is duur", 0,
         "Ik wil een iPhone. iPhone is duur.\n", ""},
        {Args{"opschonen", "--stijl", "chic"}, "", 2, "",
         "Onbekende stijl \"chic\". Kies zakelijk, neutraal, los of letterlijk.\n"},
        {Args{"opschonen", "--woord"}, "", 2, "",
         "Na --woord hoort een waarde. Zie tolmo opschonen --help.\n"},
        {Args{"spraakopdrachten"}, "hallo komma hoe gaat het vraagteken nieuwe regel tot zo punt",
         0, "hallo, hoe gaat het?\nTot zo.\n", ""},
        {Args{"spraakopdrachten", "extra"}, "", 2, "",
         "tolmo spraakopdrachten neemt geen argumenten; de tekst komt van standaardinvoer.\n"},
        {Args{"stijl", "COM.APPLE.MAIL"}, "", 0, "zakelijk\n", ""},
        {Args{"stijl", "com.googlecode.iterm2"}, "", 0, "letterlijk\n", ""},
        {Args{"stijl", "org.onbekend.app"}, "", 0, "neutraal\n", ""},
        {Args{"stijl"}, "", 2, "", "Gebruik: tolmo stijl BUNDLEID.\n"},
    };
    for (const Geval& g : gevallen) {
        SCOPED_TRACE(g.args.front() + " / " + g.invoer);
        const auto r = nep::voerProcesUit(TOLMO_CLI_PAD, g.args, omgeving, g.invoer);
        EXPECT_EQ(r.status, g.status);
        EXPECT_EQ(r.uit, g.uit);
        EXPECT_EQ(r.fout, g.fout);
    }

    // The saved default style and word list are used when no option says otherwise.
    ASSERT_EQ(nep::voerProcesUit(TOLMO_CLI_PAD,
                                 {"instellingen", "zet", "standaardStijl", "letterlijk"}, omgeving)
                  .status,
              0);
    ASSERT_EQ(
        nep::voerProcesUit(TOLMO_CLI_PAD, {"instellingen", "zet", "stijlPerApp", "[]"}, omgeving)
            .status,
        0);
    EXPECT_EQ(nep::voerProcesUit(TOLMO_CLI_PAD, {"stijl", "com.apple.mail"}, omgeving).uit,
              "letterlijk\n");
    EXPECT_EQ(nep::voerProcesUit(TOLMO_CLI_PAD, {"opschonen"}, omgeving, "ls -la.").uit,
              "ls -la\n");
}

}  // namespace
}  // namespace tolmo
