#pragma once

#include <string>
#include <vector>

#include "cli/CliOmgeving.h"

namespace tolmo::cli {

// tolmo sleutel [zet SOORT | wis SOORT]
class SleutelOpdracht {
  public:
    static int voerUit(const std::vector<std::string>& args, CliOmgeving& omgeving);
    static const char* hulp();
};

}  // namespace tolmo::cli
