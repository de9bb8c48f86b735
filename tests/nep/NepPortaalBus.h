#pragma once

#include <stdlib.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Debian13.h"
#include "Kind.h"
#include "LopendProces.h"
#include "NepPortaal.h"

namespace tolmo::nep {

// A private session bus with NepPortaal as the desktop's RemoteDesktop backend and, when a root
// is given, the real portal frontend and its permission store from that root in front of it,
// configured through a temporary directory alone: a .portal file for the backend, a
// portals.conf for the made-up desktop "tolmotest", and the desktop file the frontend wants
// before it accepts the app's registration. DBUS_SESSION_BUS_ADDRESS points at this bus while
// it lives.
class NepPortaalBus {
  public:
    explicit NepPortaalBus(const std::optional<std::filesystem::path>& root) {
        if (const char* oud = std::getenv("DBUS_SESSION_BUS_ADDRESS")) {
            oudeBus_ = oud;
        }
        auto sjabloon = (std::filesystem::temp_directory_path() / "tolmo-portaal-XXXXXX").string();
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
        backend_ = std::make_unique<NepPortaal>(adres_);
        if (!backend_->fout().empty()) {
            fout_ = backend_->fout();
            return;
        }
        if (root) {
            startFrontend(*root);
        }
    }

    ~NepPortaalBus() {
        stopKind(frontend_);
        stopKind(opslag_);
        backend_.reset();
        stopKind(dbus_);
        if (oudeBus_) {
            ::setenv("DBUS_SESSION_BUS_ADDRESS", oudeBus_->c_str(), 1);
        } else {
            ::unsetenv("DBUS_SESSION_BUS_ADDRESS");
        }
        std::error_code e;
        std::filesystem::remove_all(map_, e);
    }
    NepPortaalBus(const NepPortaalBus&) = delete;
    NepPortaalBus& operator=(const NepPortaalBus&) = delete;

    // Empty when everything asked for runs.
    [[nodiscard]] const std::string& fout() const { return fout_; }
    [[nodiscard]] const std::filesystem::path& map() const { return map_; }
    [[nodiscard]] const std::string& adres() const { return adres_; }
    [[nodiscard]] NepPortaal& backend() { return *backend_; }

  private:
    static void schrijf(const std::filesystem::path& pad, const std::string& tekst) {
        std::filesystem::create_directories(pad.parent_path());
        std::ofstream(pad) << tekst;
    }

    bool heeftNaam(const std::string& naam) const {
        const auto r = voerProcesUit(
            "/usr/bin/dbus-send",
            {"--bus=" + adres_, "--print-reply", "--dest=org.freedesktop.DBus",
             "/org/freedesktop/DBus", "org.freedesktop.DBus.GetNameOwner", "string:" + naam});
        return r.status == 0;
    }

    void startFrontend(const std::filesystem::path& root) {
        schrijf(map_ / "portalen/tolmotest.portal",
                std::string("[portal]\nDBusName=") + NepPortaal::busNaam +
                    "\nInterfaces=org.freedesktop.impl.portal.RemoteDesktop;\nUseIn=tolmotest\n");
        schrijf(map_ / "config/xdg-desktop-portal/tolmotest-portals.conf",
                "[preferred]\ndefault=tolmotest\n");
        schrijf(map_ / "data/applications/app.tolmo.Tolmo.desktop",
                "[Desktop Entry]\nType=Application\nName=Tolmo\nExec=true\n");
        std::filesystem::create_directories(map_ / "run");
        const std::vector<std::string> omgeving{
            "env",
            "-i",
            "PATH=/usr/bin:/bin",
            "HOME=" + map_.string(),
            "XDG_RUNTIME_DIR=" + (map_ / "run").string(),
            "XDG_CONFIG_HOME=" + (map_ / "config").string(),
            "XDG_DATA_HOME=" + (map_ / "data").string(),
            "XDG_DESKTOP_PORTAL_DIR=" + (map_ / "portalen").string(),
            "XDG_CURRENT_DESKTOP=tolmotest",
            "DBUS_SESSION_BUS_ADDRESS=" + adres_};
        auto metOmgeving = [&](const std::string& programma) {
            auto args = omgeving;
            args.push_back(programma);
            args.push_back("--replace");
            return inRoot(root, "0:0", args);
        };
        // Restore tokens live in the permission store; it must be there before the frontend.
        opslag_ = startKind(metOmgeving("/usr/libexec/xdg-permission-store"));
        if (!wachtTot([&] { return heeftNaam("org.freedesktop.impl.portal.PermissionStore"); },
                      std::chrono::seconds(10))) {
            fout_ = "xdg-permission-store start niet";
            return;
        }
        frontend_ = startKind(metOmgeving("/usr/libexec/xdg-desktop-portal"));
        if (!wachtTot([&] { return heeftNaam("org.freedesktop.portal.Desktop"); },
                      std::chrono::seconds(10))) {
            fout_ = "xdg-desktop-portal start niet";
        }
    }

    std::filesystem::path map_;
    std::string adres_;
    std::optional<std::string> oudeBus_;
    pid_t dbus_ = -1;
    pid_t opslag_ = -1;
    pid_t frontend_ = -1;
    std::unique_ptr<NepPortaal> backend_;
    std::string fout_;
};

}  // namespace tolmo::nep
