#pragma once

#include <map>
#include <string>
#include <vector>

namespace tolmo::nep {

// Runs a program as a child process with the given environment additions and standard input,
// and collects its standard output, standard error and exit status. For tests of our binaries.
struct ProcesUitkomst {
    int status = -1;  // exit status, or 128 + signal
    std::string uit;
    std::string fout;
};

ProcesUitkomst voerProcesUit(const std::string& programma, const std::vector<std::string>& args,
                             const std::map<std::string, std::string>& omgeving = {},
                             const std::string& invoer = {});

}  // namespace tolmo::nep
