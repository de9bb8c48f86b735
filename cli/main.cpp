#include <unistd.h>

#include <iostream>
#include <string>
#include <vector>

#include "Tolmo/linux/freedesktop/BestandsKluis.h"
#include "Tolmo/linux/freedesktop/XdgOpslag.h"
#include "cli/TolmoCli.h"

int main(int argc, char** argv) {
    std::ios::sync_with_stdio(false);
    tolmo::cli::CliOmgeving omgeving{std::cin,
                                     std::cout,
                                     std::cerr,
                                     ::isatty(STDERR_FILENO) == 1,
                                     tolmo::XdgOpslag::configMap(),
                                     tolmo::BestandsKluis::echteOmgeving};
    const int status =
        tolmo::cli::TolmoCli::voerUit(std::vector<std::string>(argv + 1, argv + argc), omgeving);
    std::cout.flush();
    return status;
}
