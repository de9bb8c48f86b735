#pragma once

#include <chrono>
#include <csignal>

namespace tolmo::cli {

// Turns Ctrl-C (SIGINT) and SIGTERM into something the command can act on: while an object
// lives, those signals no longer end the process but are noted and wake whoever waits here, so
// the command can stop a recording or a transfer and delete its temporary file before it exits.
// The handler only writes one byte to a pipe (safe inside a signal handler); everything else
// happens on the waiting thread. One object at a time; the old handlers come back afterwards.
class Onderbreking {
  public:
    Onderbreking();
    ~Onderbreking();
    Onderbreking(const Onderbreking&) = delete;
    Onderbreking& operator=(const Onderbreking&) = delete;

    // Readable when a signal came or wek() was called; for poll() next to other descriptors.
    [[nodiscard]] int fd() const;

    // Waits until a signal, a wek() or the time is up; answers whether a signal has come.
    bool wacht(std::chrono::milliseconds maximaal);
    // Wakes a wait from another thread.
    void wek();

    // The first signal that came, or 0.
    [[nodiscard]] int signaal() const;
    // The exit status a shell expects after that signal (128 + its number); 130, as for
    // Ctrl-C, when the cancellation had another cause.
    [[nodiscard]] int afsluitstatus() const { return 128 + (signaal() != 0 ? signaal() : SIGINT); }

  private:
    void leegPijp();

    struct sigaction oudInt_ {};
    struct sigaction oudTerm_ {};
};

}  // namespace tolmo::cli
