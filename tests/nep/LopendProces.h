#pragma once

#include <sys/types.h>

#include <chrono>
#include <map>
#include <string>
#include <vector>

namespace tolmo::nep {

struct ProcesUitkomst {
    int status = -1;  // exit status, or 128 + signal
    std::string uit;
    std::string fout;
};

// A child process a test talks to while it runs: write to its standard input when the test is
// ready, wait for a text on its standard error, send it a signal, then collect the outcome.
// Standard error can be a pseudo-terminal, for programs that behave differently on a terminal.
class LopendProces {
  public:
    struct Opties {
        std::map<std::string, std::string> omgeving;  // an empty value unsets the variable
        bool foutIsTerminal = false;
    };

    LopendProces(const std::string& programma, const std::vector<std::string>& args,
                 const Opties& opties);
    ~LopendProces();
    LopendProces(const LopendProces&) = delete;
    LopendProces& operator=(const LopendProces&) = delete;

    void schrijf(const std::string& invoer);
    void sluitInvoer();
    void stuurSignaal(int signaal);

    // Reads output until standard error contains `tekst`; false when the time ran out or the
    // process ended first.
    bool wachtOpFout(const std::string& tekst, std::chrono::milliseconds maximaal);

    // Closes standard input, reads everything to the end and waits for the exit.
    ProcesUitkomst wacht();

  private:
    // One round of reading; false when both outputs are closed.
    bool lees(int wachtMs);

    pid_t kind_ = -1;
    int in_ = -1;
    int uit_ = -1;
    int fout_ = -1;
    ProcesUitkomst r_;
};

// Runs a program to its end with the given environment additions and standard input. The
// inputs our tests give fit in a pipe, so writing them all before reading cannot block.
inline ProcesUitkomst voerProcesUit(const std::string& programma,
                                    const std::vector<std::string>& args,
                                    const std::map<std::string, std::string>& omgeving = {},
                                    const std::string& invoer = {}) {
    LopendProces proces(programma, args, {omgeving, false});
    proces.schrijf(invoer);
    return proces.wacht();
}

}  // namespace tolmo::nep
