#include "TolmoKern/Keten/TolmoKeten.h"

#include <chrono>
#include <optional>
#include <thread>

#include "TolmoKern/Keten/Geannuleerd.h"
#include "TolmoKern/Keten/Vervangingen.h"
#include "TolmoKern/Opschonen/ChatOpschoner.h"
#include "TolmoKern/Opschonen/RegelOpschoner.h"
#include "TolmoKern/Spraakopdrachten/Spraakopdrachten.h"
#include "TolmoKern/Tekst/Tekst.h"
#include "TolmoKern/Transcriptie/CurlTransport.h"
#include "TolmoKern/Transcriptie/Eindpunten.h"
#include "TolmoKern/Transcriptie/HerkenningsFout.h"
#include "TolmoKern/Transcriptie/MistralTranscriptie.h"
#include "TolmoKern/Transcriptie/OpenAITranscriptie.h"
#include "TolmoKern/Transcriptie/TestTranscriptie.h"
#include "TolmoKern/Transcriptie/TolmoServerTransport.h"

namespace tolmo {
namespace {

using Klok = std::chrono::steady_clock;

double secondenSinds(Klok::time_point begin) {
    return std::chrono::duration<double>(Klok::now() - begin).count();
}

// The cleaned text must look like the dictation: not empty and not much longer.
bool lijktOpDictaat(const std::string& schoon, const std::string& verstuurd) {
    if (schoon.empty()) {
        return false;
    }
    const auto grens = Tekst::aantalTekens(verstuurd) * 13 / 10 + 30;
    return Tekst::aantalTekens(schoon) <= grens;
}

}  // namespace

std::int64_t TolmoKeten::telWoorden(const std::string& tekst) {
    std::int64_t n = 0;
    for (const std::string& stuk : Tekst::splitsOpWitruimte(tekst)) {
        if (Tekst::bevatLetterOfCijfer(stuk)) {
            ++n;
        }
    }
    return n;
}

std::optional<std::string> TolmoKeten::eersteAdres(const TolmoInstellingen& instellingen) {
    const Eindpunten eindpunten = Eindpunten::uitOmgeving();
    switch (instellingen.motor) {
        case Motor::openAI:
            return eindpunten.transcriptie(Aanbieder::openAI);
        case Motor::mistral:
            return eindpunten.transcriptie(Aanbieder::mistral);
        case Motor::tolmo:
            if (eindpunten.server()) {
                return eindpunten.serverTranscriptie();
            }
            return std::nullopt;
        case Motor::test:
            return std::nullopt;
    }
    return std::nullopt;
}

void TolmoKeten::opwarmen(const TolmoInstellingen& instellingen) {
    const auto adres = eersteAdres(instellingen);
    if (!adres) {
        return;
    }
    HTTPVerzoek verzoek;
    verzoek.methode = "GET";
    verzoek.url = *adres;
    verzoek.timeout = std::chrono::seconds(5);
    verzoek.maximaleAntwoordGrootte = 64 * 1024;
    try {
        CurlTransport::gedeeld()->verstuur(std::move(verzoek), StopToken{});
    } catch (const std::exception&) {
        // Nothing lost: the recording's own request connects.
    }
}

void TolmoKeten::verwarm(const TolmoInstellingen& instellingen) {
    if (eersteAdres(instellingen)) {
        std::thread([instellingen] { opwarmen(instellingen); }).detach();
    }
}

TolmoKeten TolmoKeten::bouw(const TolmoInstellingen& instellingen, const SleutelKluis& sleutels,
                            std::shared_ptr<HTTPTransport> transport) {
    TolmoKeten keten;
    if (!transport && instellingen.motor != Motor::test) {
        transport = CurlTransport::gedeeld();
    }
    const Eindpunten eindpunten = Eindpunten::uitOmgeving();
    // The engine for one provider, at the given URL with the given key or access token.
    const auto motorVoor = [](Aanbieder aanbieder, std::string sleutel,
                              std::shared_ptr<HTTPTransport> via,
                              std::string eindpunt) -> std::unique_ptr<TranscriptieMotor> {
        if (aanbieder == Aanbieder::mistral) {
            return std::make_unique<MistralTranscriptie>(std::move(sleutel), std::move(via),
                                                         std::move(eindpunt));
        }
        return std::make_unique<OpenAITranscriptie>(std::move(sleutel), std::move(via),
                                                    std::move(eindpunt));
    };
    // The language-model cleaner of the same provider, when cleanup is on.
    const auto opschonerVoor = [&instellingen](Aanbieder aanbieder, std::string sleutel,
                                               std::shared_ptr<HTTPTransport> via,
                                               std::string adres) -> std::unique_ptr<Opschoner> {
        if (!instellingen.opschonen) {
            return nullptr;
        }
        ChatOpschoner::Model model = ChatOpschoner::Model::voor(alsMotor(aanbieder));
        model.adres = std::move(adres);
        return std::make_unique<ChatOpschoner>(std::move(model), instellingen.stijlVoorbeelden,
                                               instellingen.opschoonNiveau, std::move(sleutel),
                                               std::move(via));
    };
    switch (instellingen.motor) {
        case Motor::openAI:
        case Motor::mistral: {
            const Aanbieder aanbieder =
                instellingen.motor == Motor::mistral ? Aanbieder::mistral : Aanbieder::openAI;
            std::optional<std::string> sleutel = sleutels.sleutel(aanbieder);
            if (!sleutel) {
                throw HerkenningsFout::geenSleutel(instellingen.motor);
            }
            keten.opschoner =
                opschonerVoor(aanbieder, *sleutel, transport, eindpunten.chat(aanbieder));
            keten.transcriptie = motorVoor(aanbieder, std::move(*sleutel), transport,
                                           eindpunten.transcriptie(aanbieder));
            break;
        }
        case Motor::tolmo: {
            std::optional<std::string> code = sleutels.toegangscode();
            if (!code) {
                throw HerkenningsFout::van(HerkenningsFout::Soort::geenToegangscode);
            }
            const Aanbieder aanbieder = instellingen.serverAanbieder;
            auto viaServer = std::make_shared<TolmoServerTransport>(transport, aanbieder);
            keten.transcriptie =
                motorVoor(aanbieder, *code, viaServer, eindpunten.serverTranscriptie());
            keten.opschoner =
                opschonerVoor(aanbieder, std::move(*code), viaServer, eindpunten.serverChat());
            break;
        }
        case Motor::test:
            // The test engine never gets a cleaner, whatever the settings say.
            keten.transcriptie = std::make_unique<TestTranscriptie>();
            break;
    }
    keten.woorden = instellingen.woorden;
    keten.vervangingen = instellingen.vervangingen;
    keten.spraakopdrachten = instellingen.spraakopdrachten;
    keten.kortDictaatGrens = 8;
    keten.spraakopdrachtenStap = &Spraakopdrachten::pasToe;
    keten.kortDictaatStap = &RegelOpschoner::basisOpschoning;
    return keten;
}

KetenResultaat TolmoKeten::verwerk(const Opname& opname, Stijl stijl, StopToken stop) {
    if (opname.onvolledig) {
        throw HerkenningsFout::van(HerkenningsFout::Soort::opnameMislukt);
    }
    KetenResultaat r;
    r.tijden.opname = opname.meting.duur();
    Geannuleerd::controleer(stop);

    const auto beginTranscriptie = Klok::now();
    r.ruw = transcriptie->transcribeer(opname, woorden, stop);
    r.tijden.transcriptie = secondenSinds(beginTranscriptie);
    if (r.ruw.empty()) {
        throw HerkenningsFout::van(HerkenningsFout::Soort::nietsVerstaan);
    }

    std::string tekst = Vervangingen::pasToe(r.ruw, vervangingen, r.toepassingen);
    // The literal style never interprets spoken commands: there they are meant as words.
    const bool opdrachtenActief = spraakopdrachten && stijl != Stijl::letterlijk;
    if (opdrachtenActief && spraakopdrachtenStap) {
        tekst = spraakopdrachtenStap(tekst);
    }
    if (!opschoner) {
        r.tekst = std::move(tekst);
        return r;
    }
    if (telWoorden(tekst) < kortDictaatGrens) {
        r.tijden.opschonenOvergeslagen = kortDictaat;
        r.tekst = kortDictaatStap ? kortDictaatStap(tekst, stijl) : tekst;
        return r;
    }

    Geannuleerd::controleer(stop);
    const auto beginOpschonen = Klok::now();
    // One call of a cleaner; answers the cleaned text, or sets the reason and answers nothing.
    const auto schoonOp = [&](Opschoner& o) -> std::optional<std::string> {
        OpschoonUitkomst uitkomst;
        try {
            uitkomst = o.schoonOp(tekst, woorden, stijl, opdrachtenActief, stop);
        } catch (const Geannuleerd&) {
            throw;
        } catch (const HerkenningsFout& fout) {
            Geannuleerd::controleer(stop);
            r.tijden.opschonen = secondenSinds(beginOpschonen);
            r.opschoonProbleem = fout.melding();
            return std::nullopt;
        } catch (...) {
            // Whatever else a cleaner throws, even what no standard type describes, costs the
            // cleanup and never the dictation.
            Geannuleerd::controleer(stop);
            r.tijden.opschonen = secondenSinds(beginOpschonen);
            r.opschoonProbleem = onbekendeFout;
            return std::nullopt;
        }
        r.tijden.opschonen = secondenSinds(beginOpschonen);
        r.tijden.opschoonVerwerking = uitkomst.verwerking;
        r.tijden.opschoonDienstTijd = uitkomst.dienstTijd;
        if (!lijktOpDictaat(uitkomst.tekst, tekst)) {
            r.opschoonProbleem = nietGelijkend;
            return std::nullopt;
        }
        return std::move(uitkomst.tekst);
    };

    std::optional<std::string> schoon = schoonOp(*opschoner);
    if (schoon && opschoner->niveau() == Opschoonniveau::strak &&
        opschoner->telGetallen(*schoon) < opschoner->telGetallen(tekst)) {
        // Strict cleaning lost a number: distrust it and ask once more at the light level.
        r.tijden.opschonenHerhaald = strakHerhaald;
        const std::unique_ptr<Opschoner> licht = opschoner->opNiveau(Opschoonniveau::licht);
        if (!licht || licht->niveau() != Opschoonniveau::licht) {
            r.opschoonProbleem = lichtNietBeschikbaar;
            schoon.reset();
        } else {
            Geannuleerd::controleer(stop);
            schoon = schoonOp(*licht);
        }
    }
    r.tekst = schoon ? std::move(*schoon) : std::move(tekst);
    return r;
}

}  // namespace tolmo
