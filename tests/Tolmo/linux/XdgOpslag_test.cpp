#include "Tolmo/linux/XdgOpslag.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <fstream>
#include <sstream>

#include "TolmoKern/Instellingen/GedeeldeOpslag.h"

namespace tolmo {
namespace {

namespace fs = std::filesystem;

class XdgOpslagTest : public ::testing::Test {
  protected:
    void SetUp() override {
        map_ = fs::temp_directory_path() /
               ("tolmo-xdg-" + std::to_string(::getpid()) + "-" +
                ::testing::UnitTest::GetInstance()->current_test_info()->name());
        fs::remove_all(map_);
    }
    void TearDown() override { fs::remove_all(map_); }

    static std::string inhoud(const fs::path& p) {
        std::ifstream in(p);
        std::stringstream s;
        s << in.rdbuf();
        return s.str();
    }

    fs::path map_;
};

TEST_F(XdgOpslagTest, SettingsSurviveARestart) {
    TolmoInstellingen s = TolmoInstellingen::standaard();
    s.motor = Motor::test;
    s.woorden = {"Tolmo", "Jan de Vries"};
    {
        XdgOpslag groep(map_, "group.app.tolmo");
        XdgOpslag standaard(map_, "app.tolmo");
        GedeeldeOpslag opslag(groep, standaard);
        opslag.bewaar(s);
        opslag.zetToonBalk(false);
        EXPECT_TRUE(opslag.migreerRuisonderdrukkingUit());
    }
    XdgOpslag groep(map_, "group.app.tolmo");
    XdgOpslag standaard(map_, "app.tolmo");
    GedeeldeOpslag opslag(groep, standaard);
    s.ruisonderdrukking = false;
    EXPECT_EQ(opslag.laad(), s);
    EXPECT_FALSE(opslag.toonBalk());
    EXPECT_FALSE(opslag.migreerRuisonderdrukkingUit());

    struct stat st {};
    ASSERT_EQ(::stat((map_ / "group.app.tolmo.json").c_str(), &st), 0);
    EXPECT_EQ(st.st_mode & 0777, 0600U);
}

TEST_F(XdgOpslagTest, ACrashBeforeTheRenameLeavesTheOldDocument) {
    XdgOpslag opslag(map_, "group.app.tolmo");
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
    XdgOpslag opnieuw(map_, "group.app.tolmo");
    nlohmann::json j = nlohmann::json::parse(std::get<std::string>(*opnieuw.lees("instellingen")));
    EXPECT_EQ(j["motor"], "mistral");
}

TEST_F(XdgOpslagTest, AnUnreadableDocumentIsKeptAsideAndLogged) {
    fs::create_directories(map_);
    const fs::path bestand = map_ / "group.app.tolmo.json";
    std::ofstream(bestand) << "{ dit is geen json";
    std::vector<std::string> log;
    XdgOpslag opslag(map_, "group.app.tolmo",
                     [&](const std::string& regel) { log.push_back(regel); });

    EXPECT_FALSE(opslag.lees("instellingen"));
    ASSERT_EQ(log.size(), 1U);
    EXPECT_NE(log[0].find("geen geldige JSON"), std::string::npos) << log[0];
    int opzij = 0;
    for (const auto& e : fs::directory_iterator(map_)) {
        if (e.path().filename().string().starts_with("group.app.tolmo.json.onleesbaar-")) {
            ++opzij;
            EXPECT_EQ(inhoud(e.path()), "{ dit is geen json");
        }
    }
    EXPECT_EQ(opzij, 1);

    GedeeldeOpslag gedeeld(opslag, opslag);
    EXPECT_EQ(gedeeld.laad(), TolmoInstellingen::standaard());
}

TEST_F(XdgOpslagTest, ConfigFolderFollowsXdg) {
    const char* oud = std::getenv("XDG_CONFIG_HOME");
    const std::string bewaard = oud != nullptr ? oud : "";
    ::setenv("XDG_CONFIG_HOME", "/tmp/xdg-test", 1);
    EXPECT_EQ(XdgOpslag::configMap(), fs::path("/tmp/xdg-test/tolmo"));
    ::setenv("XDG_CONFIG_HOME", "relatief", 1);  // not absolute: ignored
    EXPECT_EQ(XdgOpslag::configMap(), fs::path(std::getenv("HOME")) / ".config" / "tolmo");
    if (oud != nullptr) {
        ::setenv("XDG_CONFIG_HOME", bewaard.c_str(), 1);
    } else {
        ::unsetenv("XDG_CONFIG_HOME");
    }
}

}  // namespace
}  // namespace tolmo
