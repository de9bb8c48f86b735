#pragma once

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <string>
#include <vector>

extern char** environ;

namespace tolmo::nep {

// A private X server for one test: Xvfb picks a free display number itself (-displayfd), and
// DISPLAY is set for this process so that connections opened afterwards reach it. No TCP.
class XvfbServer {
  public:
    XvfbServer() {
        int pijp[2];
        if (::pipe2(pijp, O_CLOEXEC) != 0) {
            return;
        }
        posix_spawn_file_actions_t acties;
        posix_spawn_file_actions_init(&acties);
        // The child's end keeps its number but loses close-on-exec through dup2.
        posix_spawn_file_actions_adddup2(&acties, pijp[1], 3);
        posix_spawn_file_actions_addopen(&acties, 2, "/dev/null", O_WRONLY, 0);
        std::vector<std::string> args{
            "Xvfb",        "-displayfd", "3",          "-nolisten",      "tcp", "-screen", "0",
            "1280x800x24", "-noreset",   "+extension", "XInputExtension"};
        std::vector<char*> argv;
        for (auto& a : args) {
            argv.push_back(a.data());
        }
        argv.push_back(nullptr);
        const int fout = ::posix_spawnp(&pid_, "Xvfb", &acties, nullptr, argv.data(), environ);
        posix_spawn_file_actions_destroy(&acties);
        ::close(pijp[1]);
        if (fout != 0) {
            pid_ = -1;
            ::close(pijp[0]);
            return;
        }
        // Xvfb writes the display number once it accepts connections.
        std::string nummer;
        pollfd p{pijp[0], POLLIN, 0};
        while (::poll(&p, 1, 10000) > 0) {
            char c = 0;
            if (::read(pijp[0], &c, 1) != 1 || c == '\n') {
                break;
            }
            nummer += c;
        }
        ::close(pijp[0]);
        if (nummer.empty()) {
            return;
        }
        naam_ = ":" + nummer;
        ::setenv("DISPLAY", naam_.c_str(), 1);
    }

    ~XvfbServer() {
        if (pid_ > 0) {
            ::kill(pid_, SIGTERM);
            int status = 0;
            ::waitpid(pid_, &status, 0);
        }
    }
    XvfbServer(const XvfbServer&) = delete;
    XvfbServer& operator=(const XvfbServer&) = delete;

    // ":N", empty when the server did not start.
    [[nodiscard]] const std::string& naam() const { return naam_; }

  private:
    pid_t pid_ = -1;
    std::string naam_;
};

}  // namespace tolmo::nep
