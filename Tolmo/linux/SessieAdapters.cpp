#include "Tolmo/linux/SessieAdapters.h"

namespace tolmo {

std::string_view label(Vermogen::Soort soort) {
    switch (soort) {
        case Vermogen::Soort::houdToets:
            return "Houdtoets";
        case Vermogen::Soort::wisselSneltoets:
            return "Wisselsneltoets";
        case Vermogen::Soort::klembord:
            return "Klembord";
        case Vermogen::Soort::plakken:
            return "Plakken";
        case Vermogen::Soort::focus:
            return "App en veld";
        case Vermogen::Soort::indicator:
            return "Opnamebalk";
    }
    return "";
}

}  // namespace tolmo
