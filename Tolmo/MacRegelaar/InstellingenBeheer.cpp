#include "Tolmo/MacRegelaar/InstellingenBeheer.h"

namespace tolmo {

InstellingenBeheer::InstellingenBeheer(SleutelWaardeOpslag& groep, SleutelWaardeOpslag& standaard,
                                       bool altijdViaServer)
    : gedeeld_(groep, standaard), altijdViaServer_(altijdViaServer) {}

void InstellingenBeheer::neemOver(const TolmoInstellingen& opgeslagen) {
    werkkopie_ = opgeslagen;
    // The Mac app always dictates through the relay; the stored choice is left alone for the
    // phone, which shares it.
    if (altijdViaServer_ && werkkopie_.motor != Motor::tolmo) {
        werkkopie_.motor = Motor::tolmo;
        werkkopie_.serverAanbieder = Aanbieder::mistral;
    }
}

void InstellingenBeheer::laad() {
    neemOver(gedeeld_.laad());
    mac_ = gedeeld_.laadMac();
    klembordHerstellen_ = gedeeld_.klembordHerstellen();
    toonBalk_ = gedeeld_.toonBalk();
}

const TolmoInstellingen& InstellingenBeheer::wijzig(
    const std::function<void(TolmoInstellingen&)>& wijziging) {
    TolmoInstellingen opgeslagen = gedeeld_.laad();
    wijziging(opgeslagen);
    gedeeld_.bewaar(opgeslagen);
    neemOver(opgeslagen);
    return werkkopie_;
}

void InstellingenBeheer::zetMac(const MacInstellingen& mac) {
    mac_ = mac;
    gedeeld_.bewaarMac(mac);
}

void InstellingenBeheer::zetKlembordHerstellen(bool aan) {
    klembordHerstellen_ = aan;
    gedeeld_.zetKlembordHerstellen(aan);
}

void InstellingenBeheer::zetToonBalk(bool aan) {
    toonBalk_ = aan;
    gedeeld_.zetToonBalk(aan);
}

}  // namespace tolmo
