#pragma once

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <optional>
#include <string>

#include "Kind.h"

namespace tolmo::nep {

// A session bus of a test's own, on a socket in a temporary directory that goes with it.
// DBUS_SESSION_BUS_ADDRESS points at it while it lives and at what it was before afterwards, so
// programs later tests start look for no bus that is gone. Declared first in its owner, it goes
// last: after what the owner started on it.
class PriveSessieBus {
  public:
    // naam: the start of the directory's name ("tolmo-kwin").
    explicit PriveSessieBus(const std::string& naam) {
        if (const char* oud = std::getenv("DBUS_SESSION_BUS_ADDRESS")) {
            oudeBus_ = oud;
        }
        auto sjabloon = (std::filesystem::temp_directory_path() / (naam + "-XXXXXX")).string();
        if (::mkdtemp(sjabloon.data()) == nullptr) {
            fout_ = "geen tijdelijke map";
            return;
        }
        map_ = sjabloon;
        adres_ = "unix:path=" + (map_ / "bus").string();
        dbus_ = startKind({"dbus-daemon", "--session", "--nofork", "--address=" + adres_});
        if (!wachtTot([&] { return std::filesystem::exists(map_ / "bus"); })) {
            fout_ = "de sessiebus start niet";
            return;
        }
        ::setenv("DBUS_SESSION_BUS_ADDRESS", adres_.c_str(), 1);
    }

    ~PriveSessieBus() {
        stopKind(dbus_);
        if (oudeBus_) {
            ::setenv("DBUS_SESSION_BUS_ADDRESS", oudeBus_->c_str(), 1);
        } else {
            ::unsetenv("DBUS_SESSION_BUS_ADDRESS");
        }
        std::error_code e;
        std::filesystem::remove_all(map_, e);
    }
    PriveSessieBus(const PriveSessieBus&) = delete;
    PriveSessieBus& operator=(const PriveSessieBus&) = delete;

    // Empty when the bus runs.
    [[nodiscard]] const std::string& fout() const { return fout_; }
    [[nodiscard]] const std::filesystem::path& map() const { return map_; }
    [[nodiscard]] const std::string& adres() const { return adres_; }

  private:
    std::filesystem::path map_;
    std::string adres_;
    std::optional<std::string> oudeBus_;
    pid_t dbus_ = -1;
    std::string fout_;
};

}  // namespace tolmo::nep
