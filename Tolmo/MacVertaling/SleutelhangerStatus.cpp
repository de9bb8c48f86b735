#include "Tolmo/MacVertaling/SleutelhangerStatus.h"

namespace tolmo {

SleutelhangerStatus::Lezen SleutelhangerStatus::naLezen(std::int32_t status) {
    if (status == gelukt) {
        return Lezen::waarde;
    }
    return status == nietGevonden ? Lezen::afwezig : Lezen::fout;
}

SleutelhangerStatus::Schrijven SleutelhangerStatus::naToevoegen(std::int32_t status) {
    if (status == gelukt) {
        return Schrijven::klaar;
    }
    return status == bestaatAl ? Schrijven::bijwerken : Schrijven::fout;
}

std::string SleutelhangerStatus::melding(std::int32_t status) {
    switch (status) {
        case geannuleerd:
            return "Toegang tot de sleutelhanger is geannuleerd.";
        case geweigerd:
            return "De sleutelhanger weigerde de toegang.";
        case geenInteractie:
            return "De sleutelhanger is vergrendeld. Log opnieuw in en probeer het opnieuw.";
        case rechtenOntbreken:
            return "Tolmo mist de rechten voor de sleutelhanger. Is de app goed ondertekend?";
        default:
            return "De sleutelhanger gaf fout " + std::to_string(status) + ".";
    }
}

}  // namespace tolmo
