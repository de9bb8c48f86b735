#pragma once

#include <string>
#include <vector>

#include "cli/CliOmgeving.h"

namespace tolmo::cli {

// The commands that work on text alone: tolmo opschonen, tolmo spraakopdrachten, tolmo stijl.
class TekstOpdrachten {
  public:
    static int opschonen(const std::vector<std::string>& args, CliOmgeving& omgeving);
    static int spraakopdrachten(const std::vector<std::string>& args, CliOmgeving& omgeving);
    static int stijl(const std::vector<std::string>& args, CliOmgeving& omgeving);

    static const char* hulpOpschonen();
    static const char* hulpSpraakopdrachten();
    static const char* hulpStijl();
};

}  // namespace tolmo::cli
