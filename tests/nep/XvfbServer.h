#pragma once

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "Kind.h"
#include "Tolmo/linux/x11/X11Verbinding.h"

namespace tolmo::nep {

// A private X server for one test: Xvfb picks a free display number itself (-displayfd), and
// DISPLAY is set for this process so that connections opened afterwards reach it. No TCP.
// With a window manager (openbox without key bindings) windows are put in front the way a
// desktop does it, and the active window is the manager's word, not the test's.
class XvfbServer {
  public:
    explicit XvfbServer(bool metVensterbeheer = false) {
        // Xvfb writes the display number to the pipe's end it inherits once it accepts
        // connections.
        int pijp[2];
        if (::pipe2(pijp, O_CLOEXEC) != 0 || ::fcntl(pijp[1], F_SETFD, 0) != 0) {
            return;
        }
        pid_ =
            startKind({"Xvfb", "-displayfd", std::to_string(pijp[1]), "-nolisten", "tcp", "-screen",
                       "0", "1280x800x24", "-noreset", "+extension", "XInputExtension"});
        ::close(pijp[1]);
        std::string nummer;
        pollfd p{pijp[0], POLLIN, 0};
        for (char c = 0;
             pid_ > 0 && ::poll(&p, 1, 10000) > 0 && ::read(pijp[0], &c, 1) == 1 && c != '\n';) {
            nummer += c;
        }
        ::close(pijp[0]);
        if (nummer.empty()) {
            return;
        }
        naam_ = ":" + nummer;
        ::setenv("DISPLAY", naam_.c_str(), 1);
        // Tests run from a desktop's terminal must not take that desktop's session for theirs.
        ::unsetenv("WAYLAND_DISPLAY");
        ::unsetenv("XDG_SESSION_TYPE");
        if (metVensterbeheer) {
            startVensterbeheer();
        }
    }

    ~XvfbServer() {
        stopKind(wmPid_);
        stopKind(pid_);
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
        wmPid_ = startKind({"openbox", "--sm-disable", "--config-file", rc_.string()});
        // A manager announces itself with _NET_SUPPORTING_WM_CHECK on the root once it runs.
        const X11Verbinding x(naam_.c_str());
        wmKlaar_ =
            wmPid_ > 0 && wachtTot([&x] {
                return x.leesGetal(x.wortel(), x.atoom("_NET_SUPPORTING_WM_CHECK")).has_value();
            });
    }

    pid_t pid_ = -1;
    pid_t wmPid_ = -1;
    bool wmKlaar_ = false;
    std::filesystem::path rc_;
    std::string naam_;
};

}  // namespace tolmo::nep
