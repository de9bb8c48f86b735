#pragma once

#include <stdlib.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "Debian13.h"
#include "Kind.h"
#include "LopendProces.h"

namespace tolmo::nep {

// KDE's side of the GlobalShortcuts portal from the Debian 13 root on a private session bus:
// the kglobalaccel daemon that keeps and fires the shortcuts, KDE's portal backend that binds
// them there without a dialog, and the portal frontend in front of it for the desktop "KDE". No
// compositor: the backend and the daemon run on Qt's offscreen platform, and a shortcut fires
// through the daemon's own D-Bus call instead of a key. DBUS_SESSION_BUS_ADDRESS points at this
// bus while it lives.
class KdePortaal {
  public:
    explicit KdePortaal(const std::filesystem::path& root) : root_(root) {
        if (const char* oud = std::getenv("DBUS_SESSION_BUS_ADDRESS")) {
            oudeBus_ = oud;
        }
        auto sjabloon = (std::filesystem::temp_directory_path() / "tolmo-kde-XXXXXX").string();
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
        // The frontend takes the app's registration only when its desktop file exists.
        std::filesystem::create_directories(map_ / "data/applications");
        std::ofstream(map_ / "data/applications/app.tolmo.Tolmo.desktop")
            << "[Desktop Entry]\nType=Application\nName=Tolmo\nExec=true\n";
        std::filesystem::create_directories(map_ / "run");
        // Each needs the one before it: the backend registers with the daemon when it starts,
        // the frontend looks for the backend's name.
        const struct {
            const char* programma;
            const char* naam;
        } diensten[] = {
            {"/usr/lib/x86_64-linux-gnu/libexec/kglobalacceld", "org.kde.kglobalaccel"},
            {"/usr/lib/x86_64-linux-gnu/libexec/xdg-desktop-portal-kde",
             "org.freedesktop.impl.portal.desktop.kde"},
            {"/usr/libexec/xdg-permission-store", "org.freedesktop.impl.portal.PermissionStore"},
            {"/usr/libexec/xdg-desktop-portal", "org.freedesktop.portal.Desktop"},
        };
        for (const auto& d : diensten) {
            kinderen_.push_back(startKind(inRoot(root_, "0:0", omgeving(d.programma))));
            if (!wachtTot([&] { return heeftNaam(d.naam); }, std::chrono::seconds(15))) {
                fout_ = std::string(d.programma) + " start niet: " + log();
                return;
            }
        }
    }

    ~KdePortaal() {
        for (auto it = kinderen_.rbegin(); it != kinderen_.rend(); ++it) {
            stopKind(*it);
        }
        stopKind(dbus_);
        if (oudeBus_) {
            ::setenv("DBUS_SESSION_BUS_ADDRESS", oudeBus_->c_str(), 1);
        } else {
            ::unsetenv("DBUS_SESSION_BUS_ADDRESS");
        }
        std::error_code e;
        std::filesystem::remove_all(map_, e);
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

    // A method of kglobalaccel on the bus; what it printed, or
    // nothing when the call failed.
    [[nodiscard]] std::optional<std::string> kglobalaccel(const std::string& pad,
                                                          const std::string& methode,
                                                          const std::vector<std::string>& args) {
        std::vector<std::string> opdracht{"/usr/bin/dbus-send",
                                          "--bus=" + adres_,
                                          "--print-reply",
                                          "--dest=org.kde.kglobalaccel",
                                          pad,
                                          methode};
        opdracht.insert(opdracht.end(), args.begin(), args.end());
        const auto r = voerProcesUit(opdracht.front(), {opdracht.begin() + 1, opdracht.end()});
        if (r.status != 0) {
            return std::nullopt;
        }
        return r.uit;
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
                "DBUS_SESSION_BUS_ADDRESS=" + adres_,
                "LOG=" + (map_ / "log").string(),
                "sh",
                "-c",
                "exec \"$0\" >>\"$LOG\" 2>&1",
                programma};
    }

    bool heeftNaam(const std::string& naam) const {
        return voerProcesUit(
                   "/usr/bin/dbus-send",
                   {"--bus=" + adres_, "--print-reply", "--dest=org.freedesktop.DBus",
                    "/org/freedesktop/DBus", "org.freedesktop.DBus.GetNameOwner", "string:" + naam})
                   .status == 0;
    }

    std::filesystem::path root_;
    std::filesystem::path map_;
    std::string adres_;
    std::optional<std::string> oudeBus_;
    pid_t dbus_ = -1;
    std::vector<pid_t> kinderen_;
    std::string fout_;
};

}  // namespace tolmo::nep
