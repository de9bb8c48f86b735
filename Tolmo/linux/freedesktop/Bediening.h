#pragma once

#include <chrono>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "Tolmo/linux/SessieKeuze.h"

namespace tolmo {

// Control of a running tolmo-app from outside it: `tolmo-app --start` from a shortcut the
// desktop or the compositor binds, and a second launch that asks the running one to show itself.
// A Unix-domain socket, with no X11 and no Qt in it, so that a Wayland session (where only the
// compositor sees keys) drives the same instance the same way, and the sending side starts and
// ends in a few milliseconds without a display connection.

enum class Opdracht { start, stop, wissel, annuleer, toon };

[[nodiscard]] std::string_view woord(Opdracht opdracht);
[[nodiscard]] std::optional<Opdracht> opdrachtVoor(std::string_view woord);

// What the command line asks for.
struct Aanroep {
    enum class Soort { app, opdracht, hulp, fout };
    Soort soort = Soort::app;
    Opdracht opdracht = Opdracht::toon;
    std::string fout;  // for Soort::fout, in Dutch
    // --sessie x11|wayland: the display system chosen by hand instead of from the session.
    std::optional<Weergavesysteem> sessie;
};

// args without the program name.
[[nodiscard]] Aanroep leesAanroep(const std::vector<std::string>& args);

extern const std::string_view gebruik;

// $XDG_RUNTIME_DIR when it is set, else /tmp/tolmo-<uid>, which is created with mode 0700 and
// refused (std::runtime_error, in Dutch) when it is not ours alone: whoever can reach the socket
// can start a recording of the user's microphone.
[[nodiscard]] std::filesystem::path bedieningsMap();
[[nodiscard]] std::filesystem::path bedieningsPad();

struct Bezorging {
    enum class Uitslag { afgeleverd, draaitNiet, mislukt };
    Uitslag uitslag = Uitslag::mislukt;
    std::string fout;
};

// Sends one command and waits for the instance to confirm it.
[[nodiscard]] Bezorging stuur(const std::filesystem::path& pad, Opdracht opdracht,
                              std::chrono::milliseconds maximaal = std::chrono::seconds(2));

// Sends the command to the instance of this session, as a command-line entry does: what went
// wrong goes to standard error after "programma: ". The exit status (0 when it arrived).
[[nodiscard]] int stuurVanafOpdrachtregel(Opdracht opdracht, std::string_view programma);

// The running instance's end. Only one instance owns the path (the caller holds the
// single-instance lock), so a socket file left by a crashed one is replaced.
class BedieningsServer {
  public:
    explicit BedieningsServer(std::filesystem::path pad);  // throws std::system_error
    ~BedieningsServer();
    BedieningsServer(const BedieningsServer&) = delete;
    BedieningsServer& operator=(const BedieningsServer&) = delete;

    // Readable when a sender waits; the caller's main loop watches it.
    [[nodiscard]] int descriptor() const { return fd_; }

    // Takes every waiting sender, confirms what it understood and returns those commands in
    // order. A sender writes its line right after connecting, so each is given at most a tenth
    // of a second; one of another user is turned away.
    std::vector<Opdracht> verwerk();

  private:
    std::filesystem::path pad_;
    int fd_ = -1;
};

}  // namespace tolmo
