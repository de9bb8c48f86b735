#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Opstelling.h"
#include "Tolmo/MacRegelaar/Logboek.h"

namespace tolmo::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

TEST(DictaatRegelaarOpstarten, LaunchLoadsSettingsClearsLeftoversAndLogs) {
    Opstelling o;
    TolmoInstellingen opgeslagen;
    opgeslagen.motor = Motor::openAI;
    opgeslagen.serverAanbieder = Aanbieder::openAI;
    o.groep.zet("instellingen", opgeslagen.naarJson().dump());
    o.groep.gezet.clear();
    o.toestemmingen.toegang = false;
    o.logOpslag.opgeslagen = {{7, 5, "mac", "vorige keer"},
                              {8, 6, "toetsenbord", "van de telefoon"}};
    // Two leftovers; the rest is not ours, or not a recording.
    std::ofstream(o.map.pad() / "tolmo-1.wav") << "x";
    std::ofstream(o.map.pad() / "tolmo-2.m4a") << "x";
    std::ofstream(o.map.pad() / "tolmo-3.txt") << "x";
    std::ofstream(o.map.pad() / "notitie.wav") << "x";
    std::filesystem::create_directory(o.map.pad() / "tolmo-map.wav");
    o.maak();

    EXPECT_EQ(o.regelaar->instellingen().motor, Motor::tolmo);
    EXPECT_EQ(o.regelaar->instellingen().serverAanbieder, Aanbieder::mistral);
    EXPECT_THAT(o.groep.gezet, IsEmpty()) << "the forced engine is not stored";
    const auto teksten = o.regelaar->logboek().teksten();
    ASSERT_GE(teksten.size(), 6U);
    EXPECT_THAT(std::vector<std::string>(teksten.begin(), teksten.begin() + 6),
                ElementsAre("vorige keer", "van de telefoon", "Mac-app gestart (1.4.2)",
                            "Toestemmingen bij start: microfoon ja, invoermonitoring ja, "
                            "toegankelijkheid nee",
                            "Klembord na plakken herstellen: aan",
                            "2 achtergebleven opname(s) verwijderd"));
    const auto& regels = o.regelaar->logboek().regels();
    EXPECT_EQ(regels[2].id, 9U);
    EXPECT_EQ(regels[2].bron, "mac");
    EXPECT_EQ(regels[2].tijd, 1000000);
    EXPECT_EQ(o.logOpslag.opgeslagen.back(), regels.back()) << "every line is stored at once";
    EXPECT_EQ(o.opnamesOpSchijf(), 2);  // tolmo-3.txt and the directory tolmo-map.wav stay
    EXPECT_TRUE(std::filesystem::exists(o.map.pad() / "notitie.wav"));
    EXPECT_EQ(o.regelaar->houdtoetsMechanisme(), SneltoetsMonitor::Mechanisme::tap);
    EXPECT_TRUE(o.toetsen.geregistreerd.has_value());
}

// Permissions are read every two seconds; the hold key is watched anew when one of the two it
// depends on changes.
TEST(DictaatRegelaarOpstarten, PermissionPoll) {
    Opstelling o;
    o.toestemmingen.toegang = false;
    o.maak();
    const std::size_t verzoeken = o.toetsen.verzoeken.size();

    o.toestemmingen.toegang = true;
    o.lus.verstrijk(1.9);
    EXPECT_THAT(o.nieuweRegels(), IsEmpty());
    o.lus.verstrijk(0.1);
    const auto regels = o.nieuweRegels();
    ASSERT_FALSE(regels.empty());
    EXPECT_EQ(regels[0],
              "Toestemmingen gewijzigd: microfoon ja, invoermonitoring ja, toegankelijkheid ja");
    EXPECT_GT(o.toetsen.verzoeken.size(), verzoeken) << "the monitor was started again";
    EXPECT_TRUE(o.regelaar->toestemmingen().toegankelijkheid);

    // The microphone alone changes nothing about the keys.
    const std::size_t daarna = o.toetsen.verzoeken.size();
    o.toestemmingen.mic = false;
    o.lus.verstrijk(2.0);
    EXPECT_THAT(o.nieuweRegels(),
                ElementsAre("Toestemmingen gewijzigd: microfoon nee, invoermonitoring ja, "
                            "toegankelijkheid ja"));
    EXPECT_EQ(o.toetsen.verzoeken.size(), daarna);
    o.lus.verstrijk(10.0);
    EXPECT_THAT(o.nieuweRegels(), IsEmpty()) << "an unchanged state is not logged again";
}

TEST(DictaatRegelaarOpstarten, AddingAProposedWord) {
    const auto woorden = [](int n) {
        std::vector<std::string> w;
        for (int i = 0; i < n; ++i) {
            w.push_back("Term" + std::to_string(i));
        }
        return w;
    };
    struct Geval {
        const char* naam;
        std::vector<std::string> lijst;
        std::string woord;
        std::vector<std::string> regels;
        std::vector<Melding> meldingen;
        std::size_t lengteDaarna;
    };
    const Geval gevallen[] = {
        {"nieuw", {"Tolmo"}, "ChatGPT", {"Term toegevoegd aan de woordenlijst (2 termen)"}, {}, 2},
        {"de laatste plaats", woorden(199), "ChatGPT",
         Regels{"Term toegevoegd aan de woordenlijst (200 termen)"}, std::vector<Melding>{}, 200},
        {"al aanwezig, andere hoofdletters", Regels{"ChatGPT"}, "chatgpt", Regels{},
         std::vector<Melding>{{"Staat al in de woordenlijst.", false, std::nullopt}}, 1},
        {"vol", woorden(200), "ChatGPT", Regels{},
         std::vector<Melding>{{"De woordenlijst is vol (200 termen).", true, std::nullopt}}, 200},
    };
    for (const Geval& g : gevallen) {
        SCOPED_TRACE(g.naam);
        Opstelling o;
        TolmoInstellingen opgeslagen;
        opgeslagen.motor = Motor::openAI;
        opgeslagen.woorden = g.lijst;
        o.groep.zet("instellingen", opgeslagen.naarJson().dump());
        o.maak();
        o.regelaar->voegWoordToe(g.woord);

        EXPECT_EQ(o.nieuweRegels(), g.regels);
        EXPECT_EQ(o.meldingen.getoond, g.meldingen);
        const auto bewaard = GedeeldeOpslag(o.groep, o.standaard).laad();
        EXPECT_EQ(bewaard.woorden.size(), g.lengteDaarna);
        EXPECT_EQ(bewaard.motor, Motor::openAI) << "the user's engine choice is kept";
        EXPECT_EQ(o.regelaar->instellingen().woorden, bewaard.woorden);
        EXPECT_EQ(o.regelaar->instellingen().motor, Motor::tolmo);
    }
}

// The log keeps the newest lines and numbers on from what an earlier run stored.
TEST(Logboek, KeepsTheNewestLines) {
    nep::NepLogOpslag opslag;
    for (std::uint64_t i = 1; i <= Logboek::maximum + 100; ++i) {
        opslag.opgeslagen.push_back({i, 0, "mac", "regel " + std::to_string(i)});
    }
    std::int64_t klok = 5;
    Logboek log(opslag, "mac", [&klok] { return klok; });
    log.laad();
    ASSERT_EQ(log.regels().size(), Logboek::maximum);
    EXPECT_EQ(log.regels().front().id, 101U);

    log.schrijf("nieuw");
    EXPECT_EQ(log.regels().size(), Logboek::maximum);
    EXPECT_EQ(log.regels().front().id, 102U);
    EXPECT_EQ(log.regels().back(), (LogRegel{Logboek::maximum + 101, 5, "mac", "nieuw"}));
    EXPECT_EQ(opslag.opgeslagen.back().tekst, "nieuw") << "stored as it is written";
}

}  // namespace
}  // namespace tolmo::test
