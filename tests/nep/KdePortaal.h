#pragma once

#include <stdlib.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "Debian13.h"
#include "Kind.h"
#include "LopendProces.h"
#include "PriveSessieBus.h"

namespace tolmo::nep {

// KDE's side of the GlobalShortcuts portal from the Debian 13 root on a private session bus:
// the kglobalaccel daemon that keeps and fires the shortcuts, KDE's portal backend that binds
// them there without a dialog, and the portal frontend in front of it for the desktop "KDE". No
// compositor: the backend runs on Qt's offscreen platform, and the daemon either there too, where
// a shortcut fires only through its own D-Bus call (a press without a release), or on an X
// server, where it grabs the keys and sees them go up. DBUS_SESSION_BUS_ADDRESS points at this
// bus while it lives.
class KdePortaal {
  public:
    // With an X display, the daemon grabs its keys there, and a key going up on it is a release.
    explicit KdePortaal(const std::filesystem::path& root, std::string display = "")
        : root_(root), display_(std::move(display)) {
        if (!bus_.fout().empty()) {
            fout_ = bus_.fout();
            return;
        }
        // The frontend takes the app's registration only when its desktop file exists.
        std::filesystem::create_directories(bus_.map() / "data/applications");
        std::ofstream(bus_.map() / "data/applications/app.tolmo.Tolmo.desktop")
            << "[Desktop Entry]\nType=Application\nName=Tolmo\nExec=true\n";
        std::filesystem::create_directories(bus_.map() / "run");
        // Each needs the one before it: the backend registers with the daemon when it starts,
        // the frontend looks for the backend's name.
        const struct {
            const char* programma;
            const char* naam;
        } diensten[] = {
            {kglobalacceld, "org.kde.kglobalaccel"},
            {portaalKde, "org.freedesktop.impl.portal.desktop.kde"},
            {"usr/libexec/xdg-permission-store", "org.freedesktop.impl.portal.PermissionStore"},
            {"usr/libexec/xdg-desktop-portal", "org.freedesktop.portal.Desktop"},
        };
        for (const auto& d : diensten) {
            const bool daemon = d.programma == std::string(kglobalacceld);
            kinderen_.push_back(
                startKind(inRoot(root_, "0:0", omgeving(std::string("/") + d.programma, daemon))));
            if (!wachtTot([&] { return heeftNaam(d.naam); }, std::chrono::seconds(15))) {
                fout_ = std::string("/") + d.programma + " start niet: " + log();
                return;
            }
        }
    }

    ~KdePortaal() {
        for (auto it = kinderen_.rbegin(); it != kinderen_.rend(); ++it) {
            stopKind(*it);
        }
    }
    KdePortaal(const KdePortaal&) = delete;
    KdePortaal& operator=(const KdePortaal&) = delete;

    // Empty when everything runs.
    [[nodiscard]] const std::string& fout() const { return fout_; }

    // What the services wrote, for a failure's message.
    [[nodiscard]] std::string log() const {
        std::ostringstream s;
        s << std::ifstream(bus_.map() / "log").rdbuf();
        return s.str();
    }

    // Fires a shortcut as kglobalaccel does when its key goes down; false when the daemon has
    // no such component or shortcut. The component's path is its name with every character
    // outside [A-Za-z0-9] made '_'.
    bool invokeShortcut(const std::string& component, const std::string& naam) {
        return voerProcesUit("/usr/bin/dbus-send",
                             {"--bus=" + bus_.adres(), "--print-reply",
                              "--dest=org.kde.kglobalaccel", "/component/" + component,
                              "org.kde.kglobalaccel.Component.invokeShortcut", "string:" + naam})
                   .status == 0;
    }

    // Whether root has KDE's daemon and backend.
    static bool heeftKde(const std::filesystem::path& root) {
        return std::filesystem::exists(root / kglobalacceld) &&
               std::filesystem::exists(root / portaalKde);
    }

  private:
    PriveSessieBus bus_{"tolmo-kde"};
    std::vector<std::string> omgeving(const std::string& programma, bool opX) const {
        const bool x = opX && !display_.empty();
        return {"env",
                "-i",
                "PATH=/usr/bin:/bin",
                "HOME=" + bus_.map().string(),
                "LANG=C.UTF-8",
                "XDG_RUNTIME_DIR=" + (bus_.map() / "run").string(),
                "XDG_CONFIG_HOME=" + (bus_.map() / "config").string(),
                "XDG_DATA_HOME=" + (bus_.map() / "data").string(),
                "XDG_CURRENT_DESKTOP=KDE",
                x ? "QT_QPA_PLATFORM=xcb" : "QT_QPA_PLATFORM=offscreen",
                "DISPLAY=" + (x ? display_ : ""),
                "DBUS_SESSION_BUS_ADDRESS=" + bus_.adres(),
                "LOG=" + (bus_.map() / "log").string(),
                "sh",
                "-c",
                "exec \"$0\" >>\"$LOG\" 2>&1",
                programma};
    }

    bool heeftNaam(const std::string& naam) const {
        return voerProcesUit(
                   "/usr/bin/dbus-send",
                   {"--bus=" + bus_.adres(), "--print-reply", "--dest=org.freedesktop.DBus",
                    "/org/freedesktop/DBus", "org.freedesktop.DBus.GetNameOwner", "string:" + naam})
                   .status == 0;
    }

    static constexpr const char* kglobalacceld = "usr/lib/x86_64-linux-gnu/libexec/kglobalacceld";
    static constexpr const char* portaalKde =
        "usr/lib/x86_64-linux-gnu/libexec/xdg-desktop-portal-kde";

    std::filesystem::path root_;
    std::string display_;
    std::vector<pid_t> kinderen_;
    std::string fout_;
};

}  // namespace tolmo::nep
