#pragma once

#include <poll.h>
#include <sys/types.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <optional>
#include <sstream>
#include <string>
#include <thread>

#include "Kind.h"
#include "SwayServer.h"
#include "Tolmo/linux/wayland/WaylandKlembord.h"

namespace tolmo::nep {

inline std::string inhoud(const std::filesystem::path& pad) {
    std::stringstream s;
    s << std::ifstream(pad, std::ios::binary).rdbuf();
    return s.str();
}

// A foot window whose shell writes every byte it receives, unechoed and unbuffered, to a file.
// Under sway it is open once sway gives it the focus. With a root, the root's foot runs (KWin:
// Debian 12's foot divides by the virtual output's size of 0 mm and dies); it is open once its
// shell runs.
struct Foot {
    Foot(const std::filesystem::path& map, std::string appId, const std::string& titel,
         const std::optional<std::filesystem::path>& root = std::nullopt)
        : bestand(map / (titel + ".uit")), appId_(std::move(appId)) {
        const std::vector<std::string> foot{
            "foot", "-a",  appId_,
            "-T",   titel, "-e",
            "sh",   "-c",  "stty -icanon -echo; exec cat > '" + bestand.string() + "'"};
        pid_ = startKind(root ? inRoot(*root, "0:0", foot) : foot);
        open_ = wachtTot(
            [&] {
                return std::filesystem::exists(bestand) &&
                       (root || SwayServer::focusAppId() == appId_);
            },
            std::chrono::seconds(10));
    }
    ~Foot() { stopKind(pid_); }
    std::filesystem::path bestand;
    std::string appId_;
    pid_t pid_ = -1;
    bool open_ = false;
};

// Another client owns the clipboard with several types, as an app that copied an image does.
class AndereWaylandApp {
  public:
    explicit AndereWaylandApp(KlembordPoort::Momentopname selectie)
        : draad_([this, selectie = std::move(selectie)] {
              WaylandVerbinding v;
              WaylandFocus f(v);
              WaylandKlembord k(v, f);
              k.herstel(selectie);
              bezit_ = true;
              while (!stop_) {
                  pollfd p{v.descriptor(), POLLIN, 0};
                  ::poll(&p, 1, 20);
                  v.verwerk();
              }
          }) {
        wachtTot([&] { return bezit_.load(); });
    }
    ~AndereWaylandApp() {
        stop_ = true;
        draad_.join();
    }

  private:
    std::atomic<bool> bezit_{false}, stop_{false};
    std::thread draad_;
};

}  // namespace tolmo::nep
