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
using Args = std::vector<std::string>;

class CliTest : public ::testing::Test {
  protected:
    CliTest() { std::filesystem::create_directories(map_ / "tmp"); }

    // `extra` wins over the clean defaults; an empty value unsets the variable.
    [[nodiscard]] Omgeving omgeving(Omgeving extra = {}) const {
        extra.insert({{"XDG_CONFIG_HOME", (map_ / "config").string()},
                      {"TMPDIR", (map_ / "tmp").string()},
                      {"OPENAI_API_KEY", ""},
                      {"MISTRAL_API_KEY", ""},
                      {"TOLMO_TOEGANGSCODE", ""},
                      {"TOLMO_OPENAI_URL", ""},
                      {"TOLMO_MISTRAL_URL", ""},
                      {"TOLMO_SERVER_URL", ""},
                      {"DBUS_SESSION_BUS_ADDRESS", "disabled:"}});
        return extra;
    }
    nep::ProcesUitkomst tolmo(const Args& args, const Omgeving& extra = {},
                              const std::string& invoer = {}) {
        return nep::voerProcesUit(TOLMO_CLI_PAD, args, omgeving(extra), invoer);
    }

    nep::TijdelijkeMap tijdelijk_;
    const std::filesystem::path map_ = tijdelijk_.pad();
};

}  // namespace tolmo
