#pragma once

#include <string>
#include <vector>

#include "cli/CliOmgeving.h"

namespace tolmo::cli {

// The `tolmo` command: dispatches to the commands, turns their errors into Dutch messages on
// standard error and the exit status (2 for usage, 1 for failed work).
class TolmoCli {
  public:
    static int voerUit(const std::vector<std::string>& args, CliOmgeving& omgeving);
    static const char* hulp();
};

}  // namespace tolmo::cli
