#pragma once

// A real keyring for tests: gnome-keyring-daemon on a private session bus, with a home of its
// own. The bus starts nothing by itself, so a bus without the keyring is one without a Secret
// Service. libsecret talks over the process's session bus, so starting the keyring points this
// process's DBUS_SESSION_BUS_ADDRESS at the private bus (until the object goes).
#include <gtest/gtest.h>
#include <signal.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Tolmo/linux/freedesktop/SleutelbosKluis.h"
#include "Tolmo/linux/freedesktop/Sleutelopslag.h"
#include "nep/LopendProces.h"
#include "nep/TijdelijkeOpname.h"

namespace tolmo::nep {

namespace fs = std::filesystem;

class PriveSleutelbos {
  public:
    static bool geinstalleerd() { return fs::exists("/usr/bin/gnome-keyring-daemon"); }

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
                     LopendProces::Opties{});
        EXPECT_TRUE(bus_->wachtOpFout("unix:", std::chrono::seconds(5)));
        return "unix:path=" + (thuis_ / "bus").string();
    }

    // The keyring on that bus, unlocked with a password from standard input, as at login;
    // without `ontgrendel` a fresh one has no login collection, as in a session whose keyring
    // was not unlocked at login. libsecret talks over the process's session bus: it must be
    // this one.
    bool startSleutelbos(bool ontgrendel = true) {
        omgeving_["DBUS_SESSION_BUS_ADDRESS"] = startBus();
        busAdres_.emplace("DBUS_SESSION_BUS_ADDRESS", omgeving_["DBUS_SESSION_BUS_ADDRESS"]);
        auto env = omgeving_;
        env["HOME"] = thuis_.string();
        sleutelbos_.emplace(
            "/usr/bin/gnome-keyring-daemon",
            ontgrendel
                ? std::vector<std::string>{"--foreground", "--unlock", "--components=secrets"}
                : std::vector<std::string>{"--foreground", "--components=secrets"},
            LopendProces::Opties{env, false});
        if (ontgrendel) {
            sleutelbos_->schrijf("wachtwoord-van-de-test");
        }
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

    ProcesUitkomst tolmo(const std::vector<std::string>& args, const std::string& invoer = {},
                         std::map<std::string, std::string> extra = {}) {
        extra.insert(omgeving_.begin(), omgeving_.end());
        for (const char* v : {"OPENAI_API_KEY", "MISTRAL_API_KEY", "TOLMO_TOEGANGSCODE"}) {
            extra.emplace(v, "");
        }
        return voerProcesUit(TOLMO_CLI_PAD, args, extra, invoer);
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

    TijdelijkeMap map_;
    const fs::path thuis_ = map_.pad();
    const fs::path configMap_ = thuis_ / ".config" / "tolmo";
    std::map<std::string, std::string> omgeving_{
        {"XDG_CONFIG_HOME", (thuis_ / ".config").string()},
        {"XDG_DATA_HOME", (thuis_ / ".local" / "share").string()},
        {"XDG_CACHE_HOME", (thuis_ / ".cache").string()},
        {"XDG_RUNTIME_DIR", thuis_.string()}};
    std::optional<LopendProces> bus_;
    std::optional<LopendProces> sleutelbos_;
    // Declared last, so the process's bus address is put back before the bus goes.
    std::optional<OmgevingsVariabele> busAdres_;
};

}  // namespace tolmo::nep
