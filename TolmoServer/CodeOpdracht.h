#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "TolmoServer/Configuratie.h"
#include "TolmoServer/Opslag.h"

namespace tolmo::server {

// "tolmo-server code ...": make, list and revoke access codes. A new code is printed once, on
// standard output, and stored only as its hash.
class CodeOpdracht {
  public:
    static const char* hulp();
    // args: what follows "code". Returns the exit status; messages go to `uit` and `fout`.
    static int voerUit(const std::vector<std::string>& args, const Configuratie& c, Opslag& opslag,
                       std::ostream& uit, std::ostream& fout);
};

}  // namespace tolmo::server
