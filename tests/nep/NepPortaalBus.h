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
#include "PriveSessieBus.h"

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
        if (!bus_.fout().empty()) {
            fout_ = bus_.fout();
            return;
        }
        backend_ = std::make_unique<NepPortaal>(bus_.adres());
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
    }
    NepPortaalBus(const NepPortaalBus&) = delete;
    NepPortaalBus& operator=(const NepPortaalBus&) = delete;

    // Empty when everything asked for runs.
    [[nodiscard]] const std::string& fout() const { return fout_; }
    [[nodiscard]] const std::filesystem::path& map() const { return bus_.map(); }
    [[nodiscard]] const std::string& adres() const { return bus_.adres(); }
    [[nodiscard]] NepPortaal& backend() { return *backend_; }

  private:
    PriveSessieBus bus_{"tolmo-portaal"};
    static void schrijf(const std::filesystem::path& pad, const std::string& tekst) {
        std::filesystem::create_directories(pad.parent_path());
        std::ofstream(pad) << tekst;
    }

    bool heeftNaam(const std::string& naam) const {
        const auto r = voerProcesUit(
            "/usr/bin/dbus-send",
            {"--bus=" + bus_.adres(), "--print-reply", "--dest=org.freedesktop.DBus",
             "/org/freedesktop/DBus", "org.freedesktop.DBus.GetNameOwner", "string:" + naam});
        return r.status == 0;
    }

    void startFrontend(const std::filesystem::path& root) {
        schrijf(bus_.map() / "portalen/tolmotest.portal",
                std::string("[portal]\nDBusName=") + NepPortaal::busNaam +
                    "\nInterfaces=org.freedesktop.impl.portal.RemoteDesktop;\nUseIn=tolmotest\n");
        schrijf(bus_.map() / "config/xdg-desktop-portal/tolmotest-portals.conf",
                "[preferred]\ndefault=tolmotest\n");
        schrijf(bus_.map() / "data/applications/app.tolmo.Tolmo.desktop",
                "[Desktop Entry]\nType=Application\nName=Tolmo\nExec=true\n");
        std::filesystem::create_directories(bus_.map() / "run");
        const std::vector<std::string> omgeving{
            "env",
            "-i",
            "PATH=/usr/bin:/bin",
            "HOME=" + bus_.map().string(),
            "XDG_RUNTIME_DIR=" + (bus_.map() / "run").string(),
            "XDG_CONFIG_HOME=" + (bus_.map() / "config").string(),
            "XDG_DATA_HOME=" + (bus_.map() / "data").string(),
            "XDG_DESKTOP_PORTAL_DIR=" + (bus_.map() / "portalen").string(),
            "XDG_CURRENT_DESKTOP=tolmotest",
            "DBUS_SESSION_BUS_ADDRESS=" + bus_.adres()};
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

    pid_t opslag_ = -1;
    pid_t frontend_ = -1;
    std::unique_ptr<NepPortaal> backend_;
    std::string fout_;
};

}  // namespace tolmo::nep
