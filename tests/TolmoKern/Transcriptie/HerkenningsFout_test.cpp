#include "TolmoKern/Transcriptie/HerkenningsFout.h"

#include <gtest/gtest.h>

namespace tolmo {
namespace {

using HF = HerkenningsFout;
using Soort = HF::Soort;

TEST(HerkenningsFout, EveryCaseHasItsMessageAndCode) {
    struct Geval {
        const char* code;
        HerkenningsFout fout;
        const char* melding;
    };
    const Geval gevallen[] = {
        {"geen-sleutel-openai", HF::geenSleutel(Motor::openAI),
         "Geen OpenAI-sleutel. Vul hem in bij Instellingen in de Tolmo-app."},
        {"geen-sleutel-mistral", HF::geenSleutel(Motor::mistral),
         "Geen Mistral-sleutel. Vul hem in bij Instellingen in de Tolmo-app."},
        {"timeout-mistral", HF::timeout(Motor::mistral),
         "Mistral reageert niet. Probeer het opnieuw."},
        {"api-mistral-403", HF::api(Motor::mistral, 403), "Mistral weigert de sleutel (fout 403)."},
        {"api-openai-401", HF::api(Motor::openAI, 401), "OpenAI weigert de sleutel (fout 401)."},
        {"api-mistral-429", HF::api(Motor::mistral, 429),
         "Mistral: limiet of tegoed op (fout 429)."},
        // A provider payload other than Mistral reads as OpenAI.
        {"api-openai-1234567", HF::api(Motor::tolmo, 1234567),
         "OpenAI gaf een fout (code 1234567)."},
        {"ongeldig-antwoord-mistral", HF::ongeldigAntwoord(Motor::mistral),
         "Onverwacht antwoord van Mistral."},
        // The limit's message and code: the relay's cleanup and status tests.
        {"server-502", HF::serverFout(502), "De Tolmo-server gaf een fout (code 502)."},
        {"geen-netwerk", HF::van(Soort::geenNetwerk), "Geen internet. Probeer het opnieuw."},
        {"geen-audio", HF::van(Soort::geenAudio), "Geen audio opgenomen. Probeer het opnieuw."},
        {"niets-verstaan", HF::van(Soort::nietsVerstaan), "Niets verstaan. Probeer het opnieuw."},
        {"opname-mislukt", HF::van(Soort::opnameMislukt),
         "Opnemen ging mis, er is niets ingevoegd. Probeer het opnieuw."},
        {"opname-onderbroken", HF::van(Soort::opnameOnderbroken),
         "Opname onderbroken: de microfoon veranderde. Er is niets ingevoegd. Probeer het "
         "opnieuw."},
        {"microfoon-bezet", HF::van(Soort::microfoonBezet),
         "Geen geluid van de microfoon. Gebruikt een andere app hem? Sluit die en tik opnieuw op "
         "Tolmo."},
        {"geen-toestemming", HF::van(Soort::geenToestemming),
         "Geef eerst toestemming in de Tolmo-app om audio naar de spraakdienst te sturen."},
        {"op-toestel-niet-beschikbaar", HF::van(Soort::opToestelNietBeschikbaar),
         "Offline herkennen lukt nog niet: Nederlands staat niet op je iPhone. Open Tolmo een keer "
         "met internet."},
        {"geen-spraaktoestemming", HF::van(Soort::geenSpraakToestemming),
         "Offline herkennen: zet Spraakherkenning aan voor Tolmo in Instellingen."},
        {"opschonen-op-toestel-mislukt", HF::van(Soort::opschonenOpToestelMislukt),
         "Opschonen op je iPhone lukte niet. Je tekst staat erin zonder opschonen."},
        {"server-onbereikbaar", HF::van(Soort::serverNietBereikbaar),
         "De Tolmo-server is niet bereikbaar. Probeer het opnieuw."},
        {"dictaat-te-lang", HF::van(Soort::dictaatTeLang),
         "Dit dictaat is te lang voor de Tolmo-server (maximaal 10 minuten). Er is niets "
         "ingevoegd."},
        {"audio-ongeldig", HF::van(Soort::audioOngeldig),
         "De Tolmo-server kon deze opname niet lezen. Er is niets ingevoegd. Probeer het opnieuw."},
        {"aanbieder-niet-beschikbaar-mistral", HF::aanbiederNietBeschikbaar(Motor::mistral),
         "Deze spraakdienst is nu niet beschikbaar. Probeer het later opnieuw. Je kunt blijven "
         "typen."},
        {"toegang-geweigerd-401", HF::toegangGeweigerd(401),
         "De Tolmo-server weigert je toegangscode (fout 401). Vul je toegangscode opnieuw in bij "
         "Instellingen in de Tolmo-app."},
        {"geen-toegangscode", HF::van(Soort::geenToegangscode),
         "Geen toegangscode voor de Tolmo-server. Vul hem in bij Instellingen in de Tolmo-app."},
        {"geen-serveradres", HF::van(Soort::geenServeradres),
         "Er is geen adres van de Tolmo-server ingesteld. Zet het adres in TOLMO_SERVER_URL en "
         "probeer het opnieuw."},
    };
    for (const Geval& g : gevallen) {
        SCOPED_TRACE(g.code);
        EXPECT_EQ(g.fout.melding(), g.melding);
        EXPECT_STREQ(g.fout.what(), g.melding);
        EXPECT_EQ(g.fout.code(), g.code);
    }
    EXPECT_NE(HF::api(Motor::openAI, 500), HF::api(Motor::mistral, 500));
    EXPECT_NE(HF::api(Motor::openAI, 500), HF::api(Motor::openAI, 501));
}

TEST(Motor, RawValuesAreFoundBackExactly) {
    for (auto [m, ruw] : motorWaarden.rijen) {
        EXPECT_EQ(motorWaarden.zoek(ruw), m);
    }
    EXPECT_EQ(motorWaarden.zoek("OpenAI"), std::nullopt) << "raw values are case-sensitive";
}

}  // namespace
}  // namespace tolmo
