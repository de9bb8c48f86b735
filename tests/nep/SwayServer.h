#pragma once

#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "Debian13.h"
#include "Kind.h"
#include "LopendProces.h"

namespace tolmo::nep {

// A private headless sway for one test, on the pixman renderer and without input devices. Sway
// refuses to run as root, so as root (CI) it runs as `nobody` with a runtime directory of its
// own; our clients connect as root through the socket's full path. WAYLAND_DISPLAY and SWAYSOCK
// are set for this process and DISPLAY is removed, so clients started afterwards reach this
// compositor and no X server. With a root (Debian 13's), the sway of that root runs inside it.
class SwayServer {
  public:
    // configuratie: lines added to the compositor's configuration (bindings).
    explicit SwayServer(const std::string& configuratie = "",
                        const std::optional<std::filesystem::path>& root = std::nullopt) {
        auto sjabloon = (std::filesystem::temp_directory_path() / "tolmo-sway-XXXXXX").string();
        if (::mkdtemp(sjabloon.data()) == nullptr) {
            fout_ = "geen tijdelijke map";
            return;
        }
        map_ = sjabloon;
        const bool alsRoot = ::geteuid() == 0;
        // The compositor's user must reach its configuration and whatever a binding writes.
        ::chmod(map_.c_str(), 0755);
        std::filesystem::create_directory(uit());
        ::chmod(uit().c_str(), 0777);
        const auto run = map_ / "run";
        std::filesystem::create_directory(run);
        ::chmod(run.c_str(), 0700);
        if (alsRoot && ::chown(run.c_str(), 65534, 65534) != 0) {
            fout_ = "runtime-map niet over te dragen";
            return;
        }
        std::ofstream(map_ / "config") << "xwayland disable\n"
                                       << "output HEADLESS-1 resolution 1280x800\n"
                                       << configuratie;
        const std::vector<std::string> sway{"env",
                                            "-u",
                                            "WAYLAND_DISPLAY",
                                            "-u",
                                            "SWAYSOCK",
                                            "-u",
                                            "DISPLAY",
                                            "XDG_RUNTIME_DIR=" + run.string(),
                                            "HOME=" + map_.string(),
                                            "WLR_BACKENDS=headless",
                                            "WLR_LIBINPUT_NO_DEVICES=1",
                                            "WLR_RENDERER=pixman",
                                            "sway",
                                            "-c",
                                            (map_ / "config").string()};
        std::vector<std::string> args = sway;
        if (root) {
            args = inRoot(*root, "65534:65534", sway);
        } else if (alsRoot) {
            args.insert(args.begin(),
                        {"setpriv", "--reuid=65534", "--regid=65534", "--clear-groups"});
        }
        pid_ = startKind(args);
        // The IPC socket comes last, once the compositor takes requests.
        const bool klaar = wachtTot(
            [&] {
                for (const auto& e : std::filesystem::directory_iterator(run)) {
                    const std::string n = e.path().filename().string();
                    if (n.starts_with("wayland-") && !n.ends_with(".lock")) {
                        socket_ = e.path();
                    } else if (n.starts_with("sway-ipc")) {
                        ipc_ = e.path();
                    }
                }
                return !socket_.empty() && !ipc_.empty();
            },
            std::chrono::seconds(10));
        if (!klaar) {
            fout_ = "sway start niet";
            return;
        }
        ::setenv("WAYLAND_DISPLAY", socket_.c_str(), 1);
        ::setenv("SWAYSOCK", ipc_.c_str(), 1);
        ::unsetenv("DISPLAY");
        ::unsetenv("XDG_SESSION_TYPE");
    }

    ~SwayServer() {
        stopKind(pid_);
        std::error_code e;
        std::filesystem::remove_all(map_, e);
    }
    SwayServer(const SwayServer&) = delete;
    SwayServer& operator=(const SwayServer&) = delete;

    // Empty when the compositor runs.
    [[nodiscard]] const std::string& fout() const { return fout_; }
    // A directory everyone may write to, for what bindings leave behind.
    [[nodiscard]] std::filesystem::path uit() const { return map_ / "uit"; }

    // A command through the IPC socket; its output.
    static std::string opdracht(const std::vector<std::string>& args) {
        return voerProcesUit("/usr/bin/swaymsg", args).uit;
    }

    // The app id (or another property, "name" for the title) of the window with the keyboard
    // focus, empty when none has it.
    [[nodiscard]] static std::string focusAppId(const char* eigenschap = "app_id") {
        const auto boom = nlohmann::json::parse(opdracht({"-t", "get_tree"}), nullptr, false);
        if (boom.is_discarded()) {
            return "";
        }
        std::optional<std::string> gevonden;
        const auto zoek = [&](const auto& zelf, const nlohmann::json& knoop) -> void {
            if (knoop.value("focused", false) && knoop.contains(eigenschap) &&
                knoop[eigenschap].is_string()) {
                gevonden = knoop[eigenschap].get<std::string>();
            }
            for (const char* k : {"nodes", "floating_nodes"}) {
                if (knoop.contains(k)) {
                    for (const auto& kind : knoop[k]) {
                        zelf(zelf, kind);
                    }
                }
            }
        };
        zoek(zoek, boom);
        return gevonden.value_or("");
    }

  private:
    std::filesystem::path map_;
    std::filesystem::path socket_;
    std::filesystem::path ipc_;
    pid_t pid_ = -1;
    std::string fout_;
};

}  // namespace tolmo::nep
