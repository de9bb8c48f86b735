#include "Tolmo/MacVertaling/QuartzToetsen.h"

namespace tolmo {

QuartzToetsen::Betekenis QuartzToetsen::vertaal(std::uint32_t type, std::int64_t toetscode,
                                                std::uint64_t vlaggen, std::int64_t bronGegevens) {
    switch (type) {
        case tapUitDoorTimeOut:
            return ToetsBron::TapUit::timeOut;
        case tapUitDoorGebruiker:
            return ToetsBron::TapUit::gebruikersInvoer;
        case static_cast<std::uint32_t>(ToetsBron::Soort::toetsOmlaag):
        case static_cast<std::uint32_t>(ToetsBron::Soort::modificatie):
            break;
        default:
            return std::monostate{};
    }
    if (toetscode < 0 || toetscode > 0xFFFF) {
        return std::monostate{};
    }
    return ToetsBron::Gebeurtenis{static_cast<ToetsBron::Soort>(type),
                                  static_cast<std::uint16_t>(toetscode), ToetsVlaggen{vlaggen},
                                  bronGegevens == ToetsBron::eigenMerk};
}

}  // namespace tolmo
