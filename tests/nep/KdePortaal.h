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
#include "KWinServer.h"
#include "Kind.h"
#include "LopendProces.h"

namespace tolmo::nep {

// KDE's side of the GlobalShortcuts portal from the Debian 13 root, on KWin's session bus: KWin,
// which keeps the shortcuts in its own kglobalaccel and fires them from the keys it handles,
// KDE's portal backend that binds them there without a dialog, and the portal frontend in front
// of it for the desktop "KDE". The backend runs on Qt's offscreen platform: binding needs no
// window.
class KdePortaal {
  public:
    KdePortaal(const std::filesystem::path& root, const KWinServer& kwin)
        : root_(root), map_(kwin.map()), bus_(kwin.busAdres()) {
        // The frontend takes the app's registration only when its desktop file exists.
        std::filesystem::create_directories(map_ / "data/applications");
        std::ofstream(map_ / "data/applications/app.tolmo.Tolmo.desktop")
            << "[Desktop Entry]\nType=Application\nName=Tolmo\nExec=true\n";
        // Each needs the one before it: the backend registers with kglobalaccel when it
        // starts, the frontend looks for the backend's name.
        const struct {
            const char* programma;
            const char* naam;
        } diensten[] = {
            {portaalKde, "org.freedesktop.impl.portal.desktop.kde"},
            {"usr/libexec/xdg-permission-store", "org.freedesktop.impl.portal.PermissionStore"},
            {"usr/libexec/xdg-desktop-portal", "org.freedesktop.portal.Desktop"},
        };
        if (!wachtTot([&] { return heeftNaam("org.kde.kglobalaccel"); })) {
            fout_ = "KWin neemt org.kde.kglobalaccel niet";
            return;
        }
        for (const auto& d : diensten) {
            kinderen_.push_back(
                startKind(inRoot(root_, "0:0", omgeving(std::string("/") + d.programma))));
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
        s << std::ifstream(map_ / "log").rdbuf();
        return s.str();
    }

    // Fires a shortcut as kglobalaccel does when its key goes down; false when the daemon has
    // no such component or shortcut. The component's path is its name with every character
    // outside [A-Za-z0-9] made '_'.
    bool invokeShortcut(const std::string& component, const std::string& naam) {
        return voerProcesUit("/usr/bin/dbus-send",
                             {"--bus=" + bus_, "--print-reply", "--dest=org.kde.kglobalaccel",
                              "/component/" + component,
                              "org.kde.kglobalaccel.Component.invokeShortcut", "string:" + naam})
                   .status == 0;
    }

    // Whether root has KDE's backend.
    static bool heeftKde(const std::filesystem::path& root) {
        return std::filesystem::exists(root / portaalKde);
    }

  private:
    std::vector<std::string> omgeving(const std::string& programma) const {
        return {"env",
                "-i",
                "PATH=/usr/bin:/bin",
                "HOME=" + map_.string(),
                "LANG=C.UTF-8",
                "XDG_RUNTIME_DIR=" + (map_ / "run").string(),
                "XDG_CONFIG_HOME=" + (map_ / "config").string(),
                "XDG_DATA_HOME=" + (map_ / "data").string(),
                "XDG_CURRENT_DESKTOP=KDE",
                "QT_QPA_PLATFORM=offscreen",
                "DBUS_SESSION_BUS_ADDRESS=" + bus_,
                "LOG=" + (map_ / "log").string(),
                "sh",
                "-c",
                "exec \"$0\" >>\"$LOG\" 2>&1",
                programma};
    }

    bool heeftNaam(const std::string& naam) const {
        return voerProcesUit(
                   "/usr/bin/dbus-send",
                   {"--bus=" + bus_, "--print-reply", "--dest=org.freedesktop.DBus",
                    "/org/freedesktop/DBus", "org.freedesktop.DBus.GetNameOwner", "string:" + naam})
                   .status == 0;
    }

    static constexpr const char* portaalKde =
        "usr/lib/x86_64-linux-gnu/libexec/xdg-desktop-portal-kde";

    std::filesystem::path root_, map_;
    std::string bus_;
    std::vector<pid_t> kinderen_;
    std::string fout_;
};

}  // namespace tolmo::nep
