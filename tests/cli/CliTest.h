#pragma once

// What every test of the tolmo command needs: a config and a temporary folder of its own, an
// environment that lets no key, address or keyring of the developer's own session in, and a
// way to run the real binary in it.
#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "nep/LopendProces.h"
#include "nep/TijdelijkeOpname.h"

namespace tolmo {

using Omgeving = std::map<std::string, std::string>;

inline Omgeving cliOmgeving(const std::filesystem::path& map, const Omgeving& extra = {}) {
    Omgeving o{{"XDG_CONFIG_HOME", (map / "config").string()},
               {"TMPDIR", (map / "tmp").string()},
               {"OPENAI_API_KEY", ""},
               {"MISTRAL_API_KEY", ""},
               {"TOLMO_TOEGANGSCODE", ""},
               {"TOLMO_OPENAI_URL", ""},
               {"TOLMO_MISTRAL_URL", ""},
               {"TOLMO_SERVER_URL", ""},
               {"DBUS_SESSION_BUS_ADDRESS", "disabled:"}};
    for (const auto& [k, v] : extra) {
        o[k] = v;
    }
    return o;
}

class CliTest : public ::testing::Test {
  protected:
    CliTest() { std::filesystem::create_directories(map_ / "tmp"); }

    [[nodiscard]] Omgeving omgeving(const Omgeving& extra = {}) const {
        return cliOmgeving(map_, extra);
    }
    nep::ProcesUitkomst tolmo(const std::vector<std::string>& args, const Omgeving& extra = {},
                              const std::string& invoer = {}) {
        return nep::voerProcesUit(TOLMO_CLI_PAD, args, omgeving(extra), invoer);
    }

    nep::TijdelijkeMap tijdelijk_;
    const std::filesystem::path map_ = tijdelijk_.pad();
};

}  // namespace tolmo
