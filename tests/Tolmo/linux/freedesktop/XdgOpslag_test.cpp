#include "Tolmo/linux/freedesktop/XdgOpslag.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <sstream>

#include "TolmoKern/Instellingen/GedeeldeOpslag.h"
#include "nep/TijdelijkeOpname.h"

namespace tolmo {
namespace {

namespace fs = std::filesystem;

std::string inhoud(const fs::path& p) {
    std::stringstream s;
    s << std::ifstream(p).rdbuf();
    return s.str();
}

TEST(XdgOpslag, SettingsSurviveARestart) {
    const nep::TijdelijkeMap map;
    TolmoInstellingen s = TolmoInstellingen::standaard();
    s.motor = Motor::test;
    s.woorden = {"Tolmo", "Jan de Vries"};
    {
        XdgOpslag groep(map.pad(), "group.app.tolmo");
        XdgOpslag standaard(map.pad(), "app.tolmo");
        GedeeldeOpslag opslag(groep, standaard);
        opslag.bewaar(s);
        opslag.zetToonBalk(false);
        EXPECT_TRUE(opslag.migreerRuisonderdrukkingUit());
    }
    XdgOpslag groep(map.pad(), "group.app.tolmo");
    XdgOpslag standaard(map.pad(), "app.tolmo");
    GedeeldeOpslag opslag(groep, standaard);
    s.ruisonderdrukking = false;
    EXPECT_EQ(opslag.laad(), s);
    EXPECT_FALSE(opslag.toonBalk());
    EXPECT_FALSE(opslag.migreerRuisonderdrukkingUit());

    struct stat st {};
    ASSERT_EQ(::stat((map.pad() / "group.app.tolmo.json").c_str(), &st), 0);
    EXPECT_EQ(st.st_mode & 0777, 0600U);
}

TEST(XdgOpslag, ACrashBeforeTheRenameLeavesTheOldDocument) {
    const nep::TijdelijkeMap map;
    XdgOpslag opslag(map.pad(), "group.app.tolmo");
    opslag.zet("instellingen", std::string(R"({"motor":"mistral"})"));
    const std::string voor = inhoud(opslag.bestand());

    // A child process writes a new document and dies just before the rename.
    const pid_t kind = ::fork();
    ASSERT_GE(kind, 0);
    if (kind == 0) {
        schrijfAtomisch(opslag.bestand(), "{\"half\":", 0600, [] { ::_exit(0); });
        ::_exit(1);
    }
    int status = 0;
    ASSERT_EQ(::waitpid(kind, &status, 0), kind);
    ASSERT_TRUE(WIFEXITED(status));
    ASSERT_EQ(WEXITSTATUS(status), 0) << "the child must have died at the rename";

    EXPECT_EQ(inhoud(opslag.bestand()), voor);
    XdgOpslag opnieuw(map.pad(), "group.app.tolmo");
    nlohmann::json j = nlohmann::json::parse(std::get<std::string>(*opnieuw.lees("instellingen")));
    EXPECT_EQ(j["motor"], "mistral");
}

TEST(XdgOpslag, AnUnreadableDocumentIsKeptAsideAndLogged) {
    for (const auto& [bytes, reden] : {std::pair{"{ dit is geen json", "geen geldige JSON"},
                                       std::pair{"[1, 2]", "geen JSON-object"}}) {
        const nep::TijdelijkeMap map;
        const fs::path bestand = map.schrijf("group.app.tolmo.json", bytes);
        std::vector<std::string> log;
        XdgOpslag opslag(map.pad(), "group.app.tolmo",
                         [&](const std::string& regel) { log.push_back(regel); });
        EXPECT_FALSE(opslag.lees("instellingen"));
        // The document is put aside whole, beside where it was.
        ASSERT_FALSE(fs::is_empty(map.pad()));
        const fs::path opzij = fs::directory_iterator(map.pad())->path();
        EXPECT_TRUE(opzij.filename().string().starts_with("group.app.tolmo.json.onleesbaar-"));
        EXPECT_EQ(inhoud(opzij), bytes);
        EXPECT_EQ(log, std::vector<std::string>{"Instellingen in " + bestand.string() +
                                                " onleesbaar (" + reden + "); bewaard als " +
                                                opzij.string() + ", standaardwaarden gebruikt"});
        EXPECT_EQ(GedeeldeOpslag(opslag, opslag).laad(), TolmoInstellingen::standaard());
    }
}

TEST(XdgOpslag, ConfigFolderFollowsXdg) {
    {
        const nep::OmgevingsVariabele xdg("XDG_CONFIG_HOME", "/tmp/xdg-test");
        EXPECT_EQ(XdgOpslag::configMap(), fs::path("/tmp/xdg-test/tolmo"));
    }
    const nep::OmgevingsVariabele xdg("XDG_CONFIG_HOME", "relatief");  // not absolute: ignored
    EXPECT_EQ(XdgOpslag::configMap(), fs::path(std::getenv("HOME")) / ".config" / "tolmo");
}

}  // namespace
}  // namespace tolmo
