#include "TolmoKern/Transcriptie/HerkenningsFout.h"

#include <gtest/gtest.h>

#include "TolmoKern/Transcriptie/RouteKeuze.h"

namespace tolmo {
namespace {

using Soort = HerkenningsFout::Soort;

TEST(HerkenningsFout, EveryCaseHasItsMessageAndCode) {
    ServerLimiet dag{"dag", {{"Retry-After", "3600"}}, {}};
    struct Geval {
        HerkenningsFout fout;
        const char* melding;
        const char* code;
    };
    const Geval gevallen[] = {
        {HerkenningsFout::geenSleutel(Motor::openAI),
         "Geen OpenAI-sleutel. Vul hem in bij Instellingen in de Tolmo-app.",
         "geen-sleutel-openai"},
        {HerkenningsFout::geenSleutel(Motor::mistral),
         "Geen Mistral-sleutel. Vul hem in bij Instellingen in de Tolmo-app.",
         "geen-sleutel-mistral"},
        {HerkenningsFout::timeout(Motor::mistral), "Mistral reageert niet. Probeer het opnieuw.",
         "timeout-mistral"},
        {HerkenningsFout::api(Motor::openAI, 500), "OpenAI gaf een fout (code 500).",
         "api-openai-500"},
        {HerkenningsFout::api(Motor::mistral, 403), "Mistral weigert de sleutel (fout 403).",
         "api-mistral-403"},
        {HerkenningsFout::api(Motor::openAI, 401), "OpenAI weigert de sleutel (fout 401).",
         "api-openai-401"},
        {HerkenningsFout::api(Motor::mistral, 429), "Mistral: limiet of tegoed op (fout 429).",
         "api-mistral-429"},
        // A provider payload other than Mistral reads as OpenAI.
        {HerkenningsFout::api(Motor::tolmo, 1234567), "OpenAI gaf een fout (code 1234567).",
         "api-openai-1234567"},
        {HerkenningsFout::ongeldigAntwoord(Motor::mistral), "Onverwacht antwoord van Mistral.",
         "ongeldig-antwoord-mistral"},
        {HerkenningsFout::limietBereikt(dag),
         "De Tolmo-server zit tijdelijk aan zijn limiet. Probeer het later opnieuw.", "limiet-dag"},
        {HerkenningsFout::limietBereikt({"plafond", {}, {}}),
         "De Tolmo-server zit tijdelijk aan zijn limiet. Probeer het later opnieuw.",
         "limiet-plafond"},
        {HerkenningsFout::serverFout(502), "De Tolmo-server gaf een fout (code 502).",
         "server-502"},
        {HerkenningsFout::van(Soort::geenNetwerk), "Geen internet. Probeer het opnieuw.",
         "geen-netwerk"},
        {HerkenningsFout::van(Soort::geenAudio), "Geen audio opgenomen. Probeer het opnieuw.",
         "geen-audio"},
        {HerkenningsFout::van(Soort::nietsVerstaan), "Niets verstaan. Probeer het opnieuw.",
         "niets-verstaan"},
        {HerkenningsFout::van(Soort::opnameMislukt),
         "Opnemen ging mis, er is niets ingevoegd. Probeer het opnieuw.", "opname-mislukt"},
        {HerkenningsFout::van(Soort::opnameOnderbroken),
         "Opname onderbroken: de microfoon veranderde. Er is niets ingevoegd. Probeer het opnieuw.",
         "opname-onderbroken"},
        {HerkenningsFout::van(Soort::microfoonBezet),
         "Geen geluid van de microfoon. Gebruikt een andere app hem? Sluit die en tik opnieuw op "
         "Tolmo.",
         "microfoon-bezet"},
        {HerkenningsFout::van(Soort::geenToestemming),
         "Geef eerst toestemming in de Tolmo-app om audio naar de spraakdienst te sturen.",
         "geen-toestemming"},
        {HerkenningsFout::van(Soort::opToestelNietBeschikbaar),
         "Offline herkennen lukt nog niet: Nederlands staat niet op je iPhone. Open Tolmo een keer "
         "met internet.",
         "op-toestel-niet-beschikbaar"},
        {HerkenningsFout::van(Soort::geenSpraakToestemming),
         "Offline herkennen: zet Spraakherkenning aan voor Tolmo in Instellingen.",
         "geen-spraaktoestemming"},
        {HerkenningsFout::van(Soort::opschonenOpToestelMislukt),
         "Opschonen op je iPhone lukte niet. Je tekst staat erin zonder opschonen.",
         "opschonen-op-toestel-mislukt"},
        {HerkenningsFout::van(Soort::serverNietBereikbaar),
         "De Tolmo-server is niet bereikbaar. Probeer het opnieuw.", "server-onbereikbaar"},
        {HerkenningsFout::van(Soort::dictaatTeLang),
         "Dit dictaat is te lang voor de Tolmo-server (maximaal 10 minuten). Er is niets "
         "ingevoegd.",
         "dictaat-te-lang"},
        {HerkenningsFout::van(Soort::audioOngeldig),
         "De Tolmo-server kon deze opname niet lezen. Er is niets ingevoegd. Probeer het opnieuw.",
         "audio-ongeldig"},
        {HerkenningsFout::aanbiederNietBeschikbaar(Motor::mistral),
         "Deze spraakdienst is nu niet beschikbaar. Probeer het later opnieuw. Je kunt blijven "
         "typen.",
         "aanbieder-niet-beschikbaar-mistral"},
        {HerkenningsFout::toegangGeweigerd(401),
         "De Tolmo-server weigert je toegangscode (fout 401). Vul je toegangscode opnieuw in bij "
         "Instellingen in de Tolmo-app.",
         "toegang-geweigerd-401"},
        {HerkenningsFout::van(Soort::geenToegangscode),
         "Geen toegangscode voor de Tolmo-server. Vul hem in bij Instellingen in de Tolmo-app.",
         "geen-toegangscode"},
        {HerkenningsFout::van(Soort::geenServeradres),
         "Er is geen adres van de Tolmo-server ingesteld. Zet het adres in TOLMO_SERVER_URL en "
         "probeer het opnieuw.",
         "geen-serveradres"},
    };
    for (const Geval& g : gevallen) {
        SCOPED_TRACE(g.code);
        EXPECT_EQ(g.fout.melding(), g.melding);
        EXPECT_STREQ(g.fout.what(), g.melding);
        EXPECT_EQ(g.fout.code(), g.code);
        // Every message is a complete sentence.
        EXPECT_EQ(g.fout.melding().back(), '.');
    }
    EXPECT_NE(HerkenningsFout::api(Motor::openAI, 500), HerkenningsFout::api(Motor::mistral, 500));
    EXPECT_NE(HerkenningsFout::api(Motor::openAI, 500), HerkenningsFout::api(Motor::openAI, 501));
}

TEST(HerkenningsFout, TransportErrorsMapByProvider) {
    struct Geval {
        UrlFout code;
        Motor aanbieder;
        HerkenningsFout verwacht;
    };
    const Geval gevallen[] = {
        {UrlFout::timedOut, Motor::mistral, HerkenningsFout::timeout(Motor::mistral)},
        {UrlFout::timedOut, Motor::openAI, HerkenningsFout::timeout(Motor::openAI)},
        {UrlFout::badServerResponse, Motor::openAI,
         HerkenningsFout::ongeldigAntwoord(Motor::openAI)},
        {UrlFout::cannotParseResponse, Motor::mistral,
         HerkenningsFout::ongeldigAntwoord(Motor::mistral)},
        {UrlFout::badURL, Motor::openAI, HerkenningsFout::ongeldigAntwoord(Motor::openAI)},
        {UrlFout::notConnectedToInternet, Motor::openAI, HerkenningsFout::van(Soort::geenNetwerk)},
        {UrlFout::cannotFindHost, Motor::mistral, HerkenningsFout::van(Soort::geenNetwerk)},
        {UrlFout::cannotConnectToHost, Motor::mistral, HerkenningsFout::van(Soort::geenNetwerk)},
        {UrlFout::secureConnectionFailed, Motor::openAI, HerkenningsFout::van(Soort::geenNetwerk)},
        {UrlFout::overig, Motor::openAI, HerkenningsFout::van(Soort::geenNetwerk)},
    };
    for (const Geval& g : gevallen) {
        EXPECT_EQ(HerkenningsFout::uitTransportFout(TransportFout(g.code), g.aanbieder), g.verwacht)
            << static_cast<int>(g.code);
    }
}

TEST(Motor, RawValuesAndLabels) {
    for (auto [m, ruw] : motorWaarden.rijen) {
        EXPECT_EQ(motorWaarden.zoek(ruw), m);
    }
    EXPECT_EQ(motorWaarden.zoek("OpenAI"), std::nullopt) << "raw values are case-sensitive";
    EXPECT_EQ(label(Motor::openAI), "OpenAI (standaard)");
    EXPECT_EQ(label(Motor::mistral), "Mistral (EU-modus)");
    EXPECT_EQ(label(Motor::test), "Testmodus (geen netwerk)");
    EXPECT_EQ(aanbiederWaarden.zoek("mistral"), Aanbieder::mistral);
    EXPECT_EQ(alsMotor(Aanbieder::openAI), Motor::openAI);
    EXPECT_EQ(titel(RouteKeuze::europa), "EU-modus");
    EXPECT_EQ(ondertitel(RouteKeuze::wereldwijd), "Via OpenAI (VS), met je eigen sleutel");
    EXPECT_EQ(EngineIndicatoren::voor(RouteKeuze::europa).privacy.label,
              "Verwerkt in de EU en EFTA");
}

}  // namespace
}  // namespace tolmo
