#include "TolmoKern/Transcriptie/HerkenningsFout.h"

namespace tolmo {

HerkenningsFout::HerkenningsFout(Soort soort, std::optional<Motor> aanbieder, std::int64_t status,
                                 std::optional<ServerLimiet> limiet)
    : soort_(soort), aanbieder_(aanbieder), status_(status), limiet_(std::move(limiet)) {
    melding_ = melding();
}

HerkenningsFout HerkenningsFout::limietBereikt(ServerLimiet limiet) {
    return {Soort::limietBereikt, std::nullopt, 0, std::move(limiet)};
}

HerkenningsFout HerkenningsFout::uitTransportFout(const TransportFout& fout, Motor aanbieder) {
    switch (fout.code()) {
        case UrlFout::timedOut:
            return timeout(aanbieder);
        case UrlFout::badServerResponse:
        case UrlFout::cannotParseResponse:
        case UrlFout::badURL:
            return ongeldigAntwoord(aanbieder);
        default:
            return van(Soort::geenNetwerk);
    }
}

std::string HerkenningsFout::melding() const {
    const std::string naam(aanbiederNaam(aanbieder_.value_or(Motor::openAI)));
    const std::string status = std::to_string(status_);
    switch (soort_) {
        case Soort::geenSleutel:
            return "Geen " + naam + "-sleutel. Vul hem in bij Instellingen in de Tolmo-app.";
        case Soort::timeout:
            return naam + " reageert niet. Probeer het opnieuw.";
        case Soort::api:
            // 401 first, then 429, then 403: the order in which the cases are told apart.
            if (status_ == 401) {
                return naam + " weigert de sleutel (fout " + status + ").";
            }
            if (status_ == 429) {
                return naam + ": limiet of tegoed op (fout 429).";
            }
            if (status_ == 403) {
                return naam + " weigert de sleutel (fout " + status + ").";
            }
            return naam + " gaf een fout (code " + status + ").";
        case Soort::ongeldigAntwoord:
            return "Onverwacht antwoord van " + naam + ".";
        case Soort::limietBereikt:
            return "De Tolmo-server zit tijdelijk aan zijn limiet. Probeer het later opnieuw.";
        case Soort::serverFout:
            return "De Tolmo-server gaf een fout (code " + status + ").";
        case Soort::geenNetwerk:
            return "Geen internet. Probeer het opnieuw.";
        case Soort::geenAudio:
            return "Geen audio opgenomen. Probeer het opnieuw.";
        case Soort::nietsVerstaan:
            return "Niets verstaan. Probeer het opnieuw.";
        case Soort::opnameMislukt:
            return "Opnemen ging mis, er is niets ingevoegd. Probeer het opnieuw.";
        case Soort::opnameOnderbroken:
            return "Opname onderbroken: de microfoon veranderde. Er is niets ingevoegd. Probeer "
                   "het "
                   "opnieuw.";
        case Soort::microfoonBezet:
            return "Geen geluid van de microfoon. Gebruikt een andere app hem? Sluit die en tik "
                   "opnieuw op Tolmo.";
        case Soort::geenToestemming:
            return "Geef eerst toestemming in de Tolmo-app om audio naar de spraakdienst te "
                   "sturen.";
        case Soort::opToestelNietBeschikbaar:
            return "Offline herkennen lukt nog niet: Nederlands staat niet op je iPhone. Open "
                   "Tolmo "
                   "een keer met internet.";
        case Soort::geenSpraakToestemming:
            return "Offline herkennen: zet Spraakherkenning aan voor Tolmo in Instellingen.";
        case Soort::opschonenOpToestelMislukt:
            return "Opschonen op je iPhone lukte niet. Je tekst staat erin zonder opschonen.";
        case Soort::serverNietBereikbaar:
            return "De Tolmo-server is niet bereikbaar. Probeer het opnieuw.";
        case Soort::dictaatTeLang:
            return "Dit dictaat is te lang voor de Tolmo-server (maximaal 10 minuten). Er is niets "
                   "ingevoegd.";
        case Soort::audioOngeldig:
            return "De Tolmo-server kon deze opname niet lezen. Er is niets ingevoegd. Probeer het "
                   "opnieuw.";
        case Soort::aanbiederNietBeschikbaar:
            return "Deze spraakdienst is nu niet beschikbaar. Probeer het later opnieuw. Je kunt "
                   "blijven typen.";
        case Soort::toegangGeweigerd:
            return "De Tolmo-server weigert je toegangscode (fout " + status +
                   "). Vul je toegangscode opnieuw in bij Instellingen in de Tolmo-app.";
        case Soort::geenToegangscode:
            return "Geen toegangscode voor de Tolmo-server. Vul hem in bij Instellingen in de "
                   "Tolmo-app.";
        case Soort::geenServeradres:
            return "Er is geen adres van de Tolmo-server ingesteld. Zet het adres in "
                   "TOLMO_SERVER_URL en probeer het opnieuw.";
    }
    return {};
}

std::string HerkenningsFout::code() const {
    const std::string aanbieder(aanbiederCode(aanbieder_.value_or(Motor::openAI)));
    switch (soort_) {
        case Soort::geenSleutel:
            return "geen-sleutel-" + aanbieder;
        case Soort::timeout:
            return "timeout-" + aanbieder;
        case Soort::api:
            return "api-" + aanbieder + "-" + std::to_string(status_);
        case Soort::ongeldigAntwoord:
            return "ongeldig-antwoord-" + aanbieder;
        case Soort::limietBereikt:
            return "limiet-" + (limiet_ ? limiet_->soort : std::string("plafond"));
        case Soort::serverFout:
            return "server-" + std::to_string(status_);
        case Soort::geenNetwerk:
            return "geen-netwerk";
        case Soort::geenAudio:
            return "geen-audio";
        case Soort::nietsVerstaan:
            return "niets-verstaan";
        case Soort::opnameMislukt:
            return "opname-mislukt";
        case Soort::opnameOnderbroken:
            return "opname-onderbroken";
        case Soort::microfoonBezet:
            return "microfoon-bezet";
        case Soort::geenToestemming:
            return "geen-toestemming";
        case Soort::opToestelNietBeschikbaar:
            return "op-toestel-niet-beschikbaar";
        case Soort::geenSpraakToestemming:
            return "geen-spraaktoestemming";
        case Soort::opschonenOpToestelMislukt:
            return "opschonen-op-toestel-mislukt";
        case Soort::serverNietBereikbaar:
            return "server-onbereikbaar";
        case Soort::dictaatTeLang:
            return "dictaat-te-lang";
        case Soort::audioOngeldig:
            return "audio-ongeldig";
        case Soort::aanbiederNietBeschikbaar:
            return "aanbieder-niet-beschikbaar-" + aanbieder;
        case Soort::toegangGeweigerd:
            return "toegang-geweigerd-" + std::to_string(status_);
        case Soort::geenToegangscode:
            return "geen-toegangscode";
        case Soort::geenServeradres:
            return "geen-serveradres";
    }
    return {};
}

}  // namespace tolmo
