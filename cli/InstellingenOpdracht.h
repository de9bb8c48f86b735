#pragma once

#include <string>
#include <vector>

#include "cli/CliOmgeving.h"

namespace tolmo::cli {

// tolmo instellingen [zet SLEUTEL WAARDE | standaard]
class InstellingenOpdracht {
  public:
    static int voerUit(const std::vector<std::string>& args, CliOmgeving& omgeving);
    static const char* hulp();
};

}  // namespace tolmo::cli
