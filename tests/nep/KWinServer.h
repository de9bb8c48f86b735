#pragma once

#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "Debian13.h"
#include "Kind.h"
#include "LopendProces.h"
#include "PriveSessieBus.h"

namespace tolmo::nep {

// KDE's compositor from the Debian 13 root, on a virtual output, with a session bus of its own
// (KWin takes its name there and runs scripts it is given). WAYLAND_DISPLAY and
// DBUS_SESSION_BUS_ADDRESS are set for this process and DISPLAY is removed, so what starts
// afterwards reaches this compositor and this bus. KWin runs kglobalaccel itself, on that bus.
class KWinServer {
  public:
    // toetsen: KWin lets any client type keys (KWinToetsen); its other protocols stay as
    // guarded as on a desktop.
    explicit KWinServer(const std::filesystem::path& root, bool toetsen = false) {
        if (!bus_.fout().empty()) {
            fout_ = bus_.fout();
            return;
        }
        const auto run = map() / "run";
        std::filesystem::create_directory(run);
        ::chmod(run.c_str(), 0700);
        const std::string& bus = bus_.adres();
        std::vector<std::string> opdracht{"env",
                                          "-u",
                                          "WAYLAND_DISPLAY",
                                          "-u",
                                          "DISPLAY",
                                          "-u",
                                          "KWIN_WAYLAND_NO_PERMISSION_CHECKS",
                                          "XDG_RUNTIME_DIR=" + run.string(),
                                          "HOME=" + map().string(),
                                          "DBUS_SESSION_BUS_ADDRESS=" + bus,
                                          "LANG=C.UTF-8"};
        if (toetsen) {
            opdracht.emplace_back("KWIN_WAYLAND_NO_PERMISSION_CHECKS=1");
        }
        opdracht.insert(opdracht.end(), {"kwin_wayland", "--virtual", "--no-lockscreen", "--socket",
                                         "wayland-tolmo", "--width", "1280", "--height", "800"});
        kwin_ = startKind(inRoot(root, "0:0", opdracht));
        // Its scripting object comes after the socket, once it takes requests.
        const bool klaar = wachtTot(
            [&] {
                return std::filesystem::exists(run / "wayland-tolmo") &&
                       voerProcesUit("/usr/bin/dbus-send",
                                     {"--session", "--print-reply", "--dest=org.kde.KWin",
                                      "/Scripting", "org.freedesktop.DBus.Peer.Ping"})
                               .status == 0;
            },
            std::chrono::seconds(20));
        if (!klaar) {
            fout_ = "KWin start niet";
            return;
        }
        ::setenv("WAYLAND_DISPLAY", (run / "wayland-tolmo").c_str(), 1);
        ::unsetenv("DISPLAY");
        ::unsetenv("XDG_SESSION_TYPE");
    }

    ~KWinServer() { stopKind(kwin_); }
    KWinServer(const KWinServer&) = delete;
    KWinServer& operator=(const KWinServer&) = delete;

    // Empty when the compositor runs.
    [[nodiscard]] const std::string& fout() const { return fout_; }
    [[nodiscard]] const std::filesystem::path& map() const { return bus_.map(); }
    [[nodiscard]] const std::string& busAdres() const { return bus_.adres(); }

  private:
    PriveSessieBus bus_{"tolmo-kwin"};
    pid_t kwin_ = -1;
    std::string fout_;
};

}  // namespace tolmo::nep
