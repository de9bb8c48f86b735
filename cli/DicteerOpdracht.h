#pragma once

#include <string>
#include <vector>

#include "cli/CliOmgeving.h"

namespace tolmo::cli {

// tolmo dicteer BESTAND | --microfoon [OPTIES]: one dictation through the whole chain, from an
// audio file or from the microphone, with the saved settings and keys.
class DicteerOpdracht {
  public:
    static int voerUit(const std::vector<std::string>& args, CliOmgeving& omgeving);
    static const char* hulp();
};

}  // namespace tolmo::cli
