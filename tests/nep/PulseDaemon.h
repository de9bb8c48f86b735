#pragma once

#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

#include "Kind.h"

namespace tolmo::nep {

// A private PulseAudio daemon for one test: its own runtime directory, a null sink rendering
// float 48 kHz stereo whose monitor is the default source, reached through a socket in that
// directory. PULSE_SERVER is set for this process, so clients created afterwards talk to it.
// Works as root too (PulseAudio only warns), which is how CI machines run.
class PulseDaemon {
  public:
    PulseDaemon() {
        auto sjabloon = (std::filesystem::temp_directory_path() / "tolmo-pulse-XXXXXX").string();
        if (::mkdtemp(sjabloon.data()) == nullptr) {
            fout_ = "geen tijdelijke map";
            return;
        }
        map_ = sjabloon;
        socket_ = map_ / "native";
        std::ofstream(map_ / "default.pa")
            << "load-module module-native-protocol-unix auth-anonymous=1 socket="
            << socket_.string() << "\n"
            << "load-module module-null-sink sink_name=nul format=float32le rate=48000 "
               "channels=2\n"
            << "set-default-sink nul\n"
            << "set-default-source nul.monitor\n";
        ::setenv("XDG_RUNTIME_DIR", map_.c_str(), 1);
        ::setenv("PULSE_RUNTIME_PATH", (map_ / "runtime").c_str(), 1);
        ::setenv("PULSE_STATE_PATH", (map_ / "state").c_str(), 1);
        ::setenv("PULSE_COOKIE", (map_ / "cookie").c_str(), 1);
        ::setenv("PULSE_SERVER", ("unix:" + socket_.string()).c_str(), 1);
        startDaemon();
    }

    ~PulseDaemon() {
        for (pid_t& p : kinderen_) {
            stopKind(p);
        }
        stopKind(pid_);
        ::unsetenv("PULSE_SERVER");
        std::error_code ec;
        if (!map_.empty()) {
            std::filesystem::remove_all(map_, ec);
        }
    }
    PulseDaemon(const PulseDaemon&) = delete;
    PulseDaemon& operator=(const PulseDaemon&) = delete;

    // Stops the daemon and starts a new one on the same socket, as a user's session does when
    // PulseAudio or PipeWire's pulse server restarts.
    void herstart() {
        stopKind(pid_);
        startDaemon();
    }

    // Empty when the daemon runs; otherwise why not.
    [[nodiscard]] const std::string& fout() const { return fout_; }
    [[nodiscard]] const std::filesystem::path& map() const { return map_; }

    // Plays a file into the null sink (and so into the default source) in the background.
    void speelAf(const std::filesystem::path& wav) {
        kinderen_.push_back(startKind({"paplay", "--device=nul", wav.string()}));
    }

    // Speech made with espeak-ng; empty path when that fails.
    std::filesystem::path spraak(const std::string& zin) {
        const auto pad = map_ / "zin.wav";
        if (voerUit({"espeak-ng", "-v", "nl", "-w", pad.string(), zin}) != 0) {
            return {};
        }
        return pad;
    }

    static int voerUit(const std::vector<std::string>& args) {
        const pid_t p = startKind(args);
        if (p <= 0) {
            return -1;
        }
        int status = 0;
        ::waitpid(p, &status, 0);
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

  private:
    void startDaemon() {
        pid_ = startKind({"pulseaudio", "-n", "--daemonize=no", "--exit-idle-time=-1",
                          "--use-pid-file=no", "--disable-shm=yes", "-F",
                          (map_ / "default.pa").string(),
                          "--log-target=newfile:" + (map_ / "log").string()});
        if (pid_ <= 0) {
            fout_ = "pulseaudio niet te starten";
            return;
        }
        // The daemon is ready once pactl gets an answer through the socket.
        for (int i = 0; i < 100; ++i) {
            if (std::filesystem::exists(socket_) && voerUit({"pactl", "info"}) == 0) {
                return;
            }
            int status = 0;
            if (::waitpid(pid_, &status, WNOHANG) == pid_) {
                pid_ = -1;
                fout_ = "pulseaudio stopte meteen: " + log();
                return;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
        }
        fout_ = "pulseaudio antwoordt niet: " + log();
    }

    [[nodiscard]] std::string log() const {
        std::ifstream in(map_ / "log");
        return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
    }

    std::filesystem::path map_;
    std::filesystem::path socket_;
    pid_t pid_ = -1;
    std::vector<pid_t> kinderen_;
    std::string fout_;
};

}  // namespace tolmo::nep
