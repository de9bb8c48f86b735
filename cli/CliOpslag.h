#pragma once

#include "Tolmo/linux/freedesktop/XdgOpslag.h"
#include "TolmoKern/Instellingen/GedeeldeOpslag.h"
#include "cli/CliOmgeving.h"

namespace tolmo::cli {

// The settings stores of the command-line tool: the shared suite and the desktop-only one under
// the config folder. Anything the stores have to say (an unreadable file kept aside) goes to
// standard error.
class CliOpslag {
  public:
    explicit CliOpslag(CliOmgeving& o)
        : groep_(o.configMap, std::string(GedeeldeOpslag::groepSuite), melder(o)),
          standaard_(o.configMap, "app.tolmo", melder(o)),
          gedeeld_(groep_, standaard_) {}

    [[nodiscard]] GedeeldeOpslag& gedeeld() { return gedeeld_; }

  private:
    static XdgOpslag::Logger melder(CliOmgeving& o) {
        return [&o](const std::string& regel) { o.fout << regel << "\n"; };
    }

    XdgOpslag groep_;
    XdgOpslag standaard_;
    GedeeldeOpslag gedeeld_;
};

}  // namespace tolmo::cli
