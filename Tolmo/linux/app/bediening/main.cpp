// tolmo-bediening: the command a compositor's key binding runs, once on the hold key's press and
// once on its release. It links nothing but the C++ library, so the command is on the socket a
// millisecond after the key, where tolmo-app would first have the loader map its whole toolkit.
#include <iostream>
#include <string_view>

#include "Tolmo/linux/freedesktop/Bediening.h"

namespace {

constexpr std::string_view hulp =
    "Gebruik: tolmo-bediening --start|--stop|--wissel|--annuleer\n"
    "Stuurt de opdracht naar de Tolmo die in deze sessie draait; voor sneltoetsen van je\n"
    "compositor (tolmo-app --bindingen sway|hyprland schrijft de regels).\n";

}  // namespace

int main(int argc, char** argv) {
    using namespace tolmo;
    const std::string_view arg = argc == 2 ? argv[1] : "";
    if (arg == "--hulp" || arg == "--help" || arg == "-h") {
        std::cout << hulp;
        return 0;
    }
    const auto opdracht = arg.starts_with("--") ? opdrachtVoor(arg.substr(2)) : std::nullopt;
    // Showing the settings is for a second launch of the app, not for a key.
    if (!opdracht || *opdracht == Opdracht::toon) {
        std::cerr << hulp;
        return 2;
    }
    return stuurVanafOpdrachtregel(*opdracht, "tolmo-bediening");
}
