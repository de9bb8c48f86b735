// A real keyring: gnome-keyring-daemon on a private session bus, with a home of its own. The bus
// starts nothing by itself, so a bus without the keyring is one without a Secret Service.
#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>

#include "Tolmo/linux/SleutelbosKluis.h"
#include "Tolmo/linux/Sleutelopslag.h"
#include "nep/LopendProces.h"
#include "nep/TijdelijkeOpname.h"

namespace tolmo {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using Soort = Sleutelbeheer::Soort;

class Sleutelbos : public ::testing::Test {
  protected:
    void SetUp() override {
        if (!fs::exists("/usr/bin/gnome-keyring-daemon")) {
            GTEST_SKIP()
                << "gnome-keyring-daemon is niet geïnstalleerd (zie scripts/installeer.sh).";
        }
    }

    // A session bus with nothing on it, and nothing it could start.
    std::string startBus() {
        const fs::path conf = map_.schrijf(
            "bus.conf",
            "<busconfig><type>session</type><listen>unix:path=" + (thuis_ / "bus").string() +
                "</listen><auth>EXTERNAL</auth><policy context=\"default\">"
                "<allow send_destination=\"*\" eavesdrop=\"true\"/><allow "
                "eavesdrop=\"true\"/><allow own=\"*\"/></policy></busconfig>");
        bus_.emplace("/usr/bin/dbus-daemon",
                     std::vector<std::string>{"--config-file=" + conf.string(), "--nofork",
                                              "--print-address=2"},
                     nep::LopendProces::Opties{});
        EXPECT_TRUE(bus_->wachtOpFout("unix:", 5s));
        return "unix:path=" + (thuis_ / "bus").string();
    }

    // The keyring on that bus, unlocked with a password from standard input, as at login.
    // libsecret talks over the process's session bus: it must be this one.
    bool startSleutelbos() {
        omgeving_["DBUS_SESSION_BUS_ADDRESS"] = startBus();
        ::setenv("DBUS_SESSION_BUS_ADDRESS", omgeving_["DBUS_SESSION_BUS_ADDRESS"].c_str(), 1);
        std::map<std::string, std::string> env{{"HOME", thuis_.string()}};
        for (const auto& [k, v] : omgeving_) {
            env[k] = v;
        }
        sleutelbos_.emplace(
            "/usr/bin/gnome-keyring-daemon",
            std::vector<std::string>{"--foreground", "--unlock", "--components=secrets"},
            nep::LopendProces::Opties{env, false});
        sleutelbos_->schrijf("wachtwoord-van-de-test");
        sleutelbos_->sluitInvoer();
        for (int i = 0; i < 100; ++i, ::usleep(50000)) {
            if (dynamic_cast<SleutelbosKluis*>(open().get()) != nullptr) {
                return true;
            }
        }
        return false;
    }

    std::unique_ptr<Sleutelbeheer> open() {
        return openSleutelbeheer(configMap_, [this](const char* naam) {
            const auto it = omgeving_.find(naam);
            return it == omgeving_.end() ? std::nullopt : std::optional<std::string>(it->second);
        });
    }

    nep::ProcesUitkomst tolmo(const std::vector<std::string>& args, const std::string& invoer = {},
                              std::map<std::string, std::string> extra = {}) {
        extra.insert(omgeving_.begin(), omgeving_.end());
        for (const char* v : {"OPENAI_API_KEY", "MISTRAL_API_KEY", "TOLMO_TOEGANGSCODE"}) {
            extra.emplace(v, "");
        }
        return nep::voerProcesUit(TOLMO_CLI_PAD, args, extra, invoer);
    }

    // Every file under the temporary home that holds `tekst`.
    std::vector<fs::path> bestandenMet(const std::string& tekst) const {
        std::vector<fs::path> r;
        for (const auto& e : fs::recursive_directory_iterator(thuis_)) {
            if (!e.is_regular_file()) {
                continue;
            }
            std::ifstream in(e.path(), std::ios::binary);
            if (std::string(std::istreambuf_iterator<char>(in), {}).find(tekst) !=
                std::string::npos) {
                r.push_back(e.path());
            }
        }
        return r;
    }

    nep::TijdelijkeMap map_;
    const fs::path thuis_ = map_.pad();
    const fs::path configMap_ = thuis_ / ".config" / "tolmo";
    std::map<std::string, std::string> omgeving_{
        {"XDG_CONFIG_HOME", (thuis_ / ".config").string()},
        {"XDG_DATA_HOME", (thuis_ / ".local" / "share").string()},
        {"XDG_CACHE_HOME", (thuis_ / ".cache").string()},
        {"XDG_RUNTIME_DIR", thuis_.string()}};
    std::optional<nep::LopendProces> bus_;
    std::optional<nep::LopendProces> sleutelbos_;
};

TEST_F(Sleutelbos, KeysGoToTheKeyringAndNeverIntoAFile) {
    ASSERT_TRUE(startSleutelbos()) << "gnome-keyring-daemon kwam niet op de bus";
    const std::string openai = "sk-bos-geheim-0123456789";
    const std::string mistral = "mistral-geheim-abcdef987";
    open()->zet(Soort::openai, openai);
    auto r = tolmo({"sleutel"});
    EXPECT_EQ(r.uit,
              "openai: sk-…6789 (sleutelbos)\nmistral: niet ingesteld\nserver: niet ingesteld\n")
        << r.fout;

    r = tolmo({"sleutel", "zet", "mistral"}, mistral + "\n");
    EXPECT_EQ(r.uit, "De sleutel voor mistral is bewaard in de sleutelbos.\n") << r.fout;
    const auto vers = open();
    EXPECT_EQ(vers->zoek(Soort::mistral)->waarde, mistral);
    EXPECT_EQ(vers->zoek(Soort::openai)->bron, "sleutelbos");
    EXPECT_NE(tolmo({"sleutel"}, "", {{"OPENAI_API_KEY", "sk-omgeving-abcdefgh"}})
                  .uit.find("openai: sk-…efgh (OPENAI_API_KEY)"),
              std::string::npos);

    EXPECT_FALSE(fs::is_empty(thuis_ / ".local" / "share" / "keyrings"));
    for (const std::string& geheim : {openai, mistral}) {
        EXPECT_TRUE(bestandenMet(geheim).empty()) << bestandenMet(geheim).front();
    }

    EXPECT_EQ(tolmo({"sleutel", "wis", "mistral"}).uit, "De sleutel voor mistral is gewist.\n");
    EXPECT_FALSE(open()->zoek(Soort::mistral));
    EXPECT_EQ(open()->zoek(Soort::openai)->waarde, openai);
}

TEST_F(Sleutelbos, KeysInTheOldFileMoveIntoTheKeyring) {
    ASSERT_TRUE(startSleutelbos()) << "gnome-keyring-daemon kwam niet op de bus";
    open()->zet(Soort::openai, "sk-nieuw-in-bos-3333");
    // A file left from before the keyring ran; its openai key is older than the keyring's.
    BestandsKluis oud(configMap_, {});
    oud.zet(Soort::openai, "sk-oud-in-bestand-1111");
    oud.zet(Soort::server, "code-oud-in-bestand-2222");

    const auto kluis = open();
    EXPECT_TRUE(bestandenMet("in-bestand").empty()) << bestandenMet("in-bestand").front();
    EXPECT_EQ(kluis->zoek(Soort::openai)->waarde, "sk-nieuw-in-bos-3333");
    EXPECT_EQ(kluis->zoek(Soort::server)->bron, "sleutelbos");
    EXPECT_EQ(kluis->zoek(Soort::server)->waarde, "code-oud-in-bestand-2222");
}

TEST_F(Sleutelbos, AKeyringThatHangsIsGivenUp) {
    ASSERT_TRUE(startSleutelbos()) << "gnome-keyring-daemon kwam niet op de bus";
    const std::string adres = omgeving_["DBUS_SESSION_BUS_ADDRESS"];
    SleutelbosKluis kluis(adres, {}, {}, 500ms, 1s);
    // The bus still says the service is there; the service itself no longer answers, as when it
    // waits for an unlock prompt nobody sees.
    sleutelbos_->stuurSignaal(SIGSTOP);
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_THROW(kluis.zet(Soort::openai, "sk-komt-nooit-aan-1234"), std::runtime_error);
    EXPECT_THROW(SleutelbosKluis(adres, {}, {}, 100ms), std::runtime_error);
    EXPECT_LT(std::chrono::steady_clock::now() - begin, 5s);
    sleutelbos_->stuurSignaal(SIGCONT);
}

TEST_F(Sleutelbos, WithoutASecretServiceTheFileAnswersAtOnce) {
    const std::string leeg = startBus();
    const std::pair<const char*, std::string> gevallen[] = {
        {"DBUS_SESSION_BUS_ADDRESS", leeg},
        {"DBUS_SESSION_BUS_ADDRESS", "unix:path=" + (thuis_ / "weg").string()},
        {"XDG_RUNTIME_DIR", (thuis_ / ".config").string()},  // no bus socket there
    };
    for (const auto& [naam, waarde] : gevallen) {
        omgeving_.erase("DBUS_SESSION_BUS_ADDRESS");
        omgeving_[naam] = waarde;
        SCOPED_TRACE(waarde);
        const auto begin = std::chrono::steady_clock::now();
        const auto kluis = open();
        EXPECT_LT(std::chrono::steady_clock::now() - begin, 300ms);
        EXPECT_EQ(kluis->plek(), (configMap_ / "sleutels.json").string());
    }
}

}  // namespace
}  // namespace tolmo
