// The key vaults against a real keyring on a private session bus, and without one.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>

#include "Tolmo/linux/freedesktop/SleutelbosKluis.h"
#include "Tolmo/linux/freedesktop/Sleutelopslag.h"
#include "nep/PriveSleutelbos.h"

namespace tolmo {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;
using Soort = Sleutelbeheer::Soort;
using ::testing::HasSubstr;

class Sleutelbos : public ::testing::Test, public nep::PriveSleutelbos {
  protected:
    void SetUp() override {
        if (!geinstalleerd()) {
            GTEST_SKIP()
                << "gnome-keyring-daemon is niet geïnstalleerd (zie scripts/installeer.sh).";
        }
    }
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
    EXPECT_EQ(open()->zoek(Soort::mistral)->waarde, mistral);
    // The environment comes first.
    EXPECT_EQ(tolmo({"sleutel"}, "", {{"OPENAI_API_KEY", "sk-omgeving-abcdefgh"}}).uit,
              "openai: sk-…efgh (OPENAI_API_KEY)\nmistral: mis…f987 (sleutelbos)\nserver: niet "
              "ingesteld\n");
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
    // A service that hangs is no missing service (GeenDienst), which would send keys to the file.
    EXPECT_THAT([&] { kluis.zet(Soort::openai, "sk-komt-nooit-aan-1234"); },
                testing::ThrowsMessage<std::runtime_error>(
                    "De sleutel voor openai kon niet in de sleutelbos worden bewaard: de "
                    "sleutelbos antwoordde niet op tijd."));
    EXPECT_THAT([&] { SleutelbosKluis(adres, {}, {}, 100ms); },
                testing::ThrowsMessage<std::runtime_error>(
                    "De sleutelbos is niet te bereiken: de sleutelbos antwoordde niet op tijd."));
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

// A keyring without a usable default collection: the keyring is asked (its prompt finds no one
// to show it to here), then the key goes to the file and the user is told why. The file is not
// moved into such a keyring at the next start.
TEST_F(Sleutelbos, WithoutAnUnlockedDefaultCollectionTheKeyGoesToTheFile) {
    const std::pair<bool, std::string> gevallen[] = {
        {false, "de sleutelbos geen standaardverzameling heeft en er geen kon maken"},
        {true, "de standaardverzameling van de sleutelbos op slot bleef"},
    };
    for (const auto& [metLogin, reden] : gevallen) {
        SCOPED_TRACE(reden);
        ASSERT_TRUE(startSleutelbos(metLogin)) << "gnome-keyring-daemon kwam niet op de bus";
        if (metLogin) {
            const auto slot = nep::voerProcesUit(
                "/usr/bin/gdbus",
                {"call", "--session", "--dest", "org.freedesktop.secrets", "--object-path",
                 "/org/freedesktop/secrets", "--method", "org.freedesktop.Secret.Service.Lock",
                 "['/org/freedesktop/secrets/collection/login']"},
                omgeving_);
            ASSERT_THAT(slot.uit, HasSubstr("collection/login")) << slot.fout;
        }
        const auto r = tolmo({"sleutel", "zet", "mistral"}, "mistral-naar-bestand-42\n");
        EXPECT_EQ(r.uit, "De sleutel voor mistral is bewaard in " +
                             (configMap_ / "sleutels.json").string() + ", omdat " + reden + ".\n")
            << r.fout;
        EXPECT_EQ(open()->zoek(Soort::mistral)->bron, "bestand");
        EXPECT_EQ(bestandenMet("mistral-naar-bestand-42"),
                  std::vector<fs::path>{configMap_ / "sleutels.json"});
        sleutelbos_.reset();
        busAdres_.reset();
        bus_.reset();
        fs::remove_all(thuis_ / ".local");
        fs::remove_all(configMap_);
    }
}

}  // namespace
}  // namespace tolmo
