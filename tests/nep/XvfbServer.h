#pragma once

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <X11/Xlib.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>
#include <vector>

extern char** environ;

namespace tolmo::nep {

// A private X server for one test: Xvfb picks a free display number itself (-displayfd), and
// DISPLAY is set for this process so that connections opened afterwards reach it. No TCP.
// With a window manager (openbox without key bindings) windows are put in front the way a
// desktop does it, and the active window is the manager's word, not the test's.
class XvfbServer {
  public:
    explicit XvfbServer(bool metVensterbeheer = false) {
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
        if (metVensterbeheer) {
            startVensterbeheer();
        }
    }

    ~XvfbServer() {
        for (const pid_t pid : {wmPid_, pid_}) {
            if (pid > 0) {
                ::kill(pid, SIGTERM);
                int status = 0;
                ::waitpid(pid, &status, 0);
            }
        }
        if (!rc_.empty()) {
            std::filesystem::remove(rc_);
        }
    }
    XvfbServer(const XvfbServer&) = delete;
    XvfbServer& operator=(const XvfbServer&) = delete;

    // ":N", empty when the server did not start.
    [[nodiscard]] const std::string& naam() const { return naam_; }

    // False when a window manager was asked for and did not come up.
    [[nodiscard]] bool vensterbeheerOk() const { return wmKlaar_; }

  private:
    // Its default key bindings would swallow combinations the tests press.
    void startVensterbeheer() {
        rc_ = std::filesystem::temp_directory_path() /
              ("tolmo-openbox-" + std::to_string(::getpid()) + ".xml");
        std::ofstream(rc_) << R"(<openbox_config xmlns="http://openbox.org/3.4/rc">)"
                           << "<keyboard/><mouse/></openbox_config>\n";
        posix_spawn_file_actions_t acties;
        posix_spawn_file_actions_init(&acties);
        posix_spawn_file_actions_addopen(&acties, 2, "/dev/null", O_WRONLY, 0);
        std::string rc = rc_.string();
        std::vector<std::string> args{"openbox", "--sm-disable", "--config-file", rc};
        std::vector<char*> argv;
        for (auto& a : args) {
            argv.push_back(a.data());
        }
        argv.push_back(nullptr);
        if (::posix_spawnp(&wmPid_, "openbox", &acties, nullptr, argv.data(), environ) != 0) {
            wmPid_ = -1;
        }
        posix_spawn_file_actions_destroy(&acties);
        // A manager announces itself with _NET_SUPPORTING_WM_CHECK on the root once it runs.
        Display* d = XOpenDisplay(naam_.c_str());
        if (d == nullptr || wmPid_ < 0) {
            return;
        }
        const Atom check = XInternAtom(d, "_NET_SUPPORTING_WM_CHECK", False);
        for (int i = 0; i < 500 && !wmKlaar_; ++i) {
            Atom type = None;
            int formaat = 0;
            unsigned long n = 0, rest = 0;
            unsigned char* p = nullptr;
            XGetWindowProperty(d, DefaultRootWindow(d), check, 0, 1, False, AnyPropertyType, &type,
                               &formaat, &n, &rest, &p);
            wmKlaar_ = n > 0;
            if (p != nullptr) {
                XFree(p);
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        XCloseDisplay(d);
    }

    pid_t pid_ = -1;
    pid_t wmPid_ = -1;
    bool wmKlaar_ = false;
    std::filesystem::path rc_;
    std::string naam_;
};

}  // namespace tolmo::nep
