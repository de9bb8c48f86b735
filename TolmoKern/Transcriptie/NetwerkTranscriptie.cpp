#include "TolmoKern/Transcriptie/NetwerkTranscriptie.h"

#include <new>
#include <stdexcept>

#include "TolmoKern/Tekst/Tekst.h"
#include "TolmoKern/Transcriptie/HerkenningsFout.h"
#include "TolmoKern/Transcriptie/TranscriptieAntwoord.h"
#include "TolmoKern/Transcriptie/TransportFout.h"

namespace tolmo {

NetwerkTranscriptie::NetwerkTranscriptie(Aanbieder aanbieder, std::string sleutel,
                                         std::shared_ptr<HTTPTransport> transport,
                                         std::string eindpunt, std::chrono::milliseconds timeout)
    : aanbieder_(aanbieder),
      sleutel_(std::move(sleutel)),
      transport_(std::move(transport)),
      eindpunt_(std::move(eindpunt)),
      timeout_(timeout) {}

namespace {

struct Bestandsnaam {
    const char* naam;
    const char* type;
};

Bestandsnaam bestandsnaam(AudioFormaat formaat) {
    return formaat == AudioFormaat::wav ? Bestandsnaam{"dictaat.wav", "audio/wav"}
                                        : Bestandsnaam{"dictaat.m4a", "audio/mp4"};
}

}  // namespace

HTTPVerzoek NetwerkTranscriptie::kaal(const MultipartFormulier& formulier) const {
    HTTPVerzoek verzoek;
    verzoek.methode = "POST";
    verzoek.url = eindpunt_;
    verzoek.timeout = timeout_;
    verzoek.headers = {{"Authorization", "Bearer " + sleutel_},
                       {"Content-Type", formulier.contentType()}};
    return verzoek;
}

NetwerkTranscriptie::Omhulsel NetwerkTranscriptie::omhulsel(
    AudioFormaat formaat, const std::vector<std::string>& woorden) const {
    MultipartFormulier formulier;
    voegVeldenToe(formulier, woorden);
    const Bestandsnaam b = bestandsnaam(formaat);
    formulier.voegBestandsKopToe("file", b.naam, b.type);
    Omhulsel uit{kaal(formulier), formulier.naBestand()};
    uit.verzoek.body = formulier.buffer();
    return uit;
}

std::string NetwerkTranscriptie::transcribeer(const Opname& opname,
                                              const std::vector<std::string>& woorden,
                                              StopToken stop) {
    const auto geenAudio = [] { return HerkenningsFout::van(HerkenningsFout::Soort::geenAudio); };
    if (opname.meting.duur() < minimaleDuur || opname.bestand.empty()) {
        throw geenAudio();
    }

    // Memory runs out on a recording too big to hold, or on a reply too big to read; either
    // way the caller gets a recognition error it can show, never a bare std::bad_alloc.
    HTTPVerzoek verzoek;
    try {
        MultipartFormulier formulier;
        voegVeldenToe(formulier, woorden);
        const Bestandsnaam b = bestandsnaam(opname.formaat);
        if (!formulier.leesBestandIn("file", b.naam, b.type, opname.bestand)) {
            throw geenAudio();
        }
        verzoek = kaal(formulier);
        verzoek.body = std::move(formulier).body();
    } catch (const std::bad_alloc&) {
        throw HerkenningsFout::van(HerkenningsFout::Soort::dictaatTeLang);
    } catch (const std::length_error&) {
        throw HerkenningsFout::van(HerkenningsFout::Soort::dictaatTeLang);
    }
    return ontvang([&] { return transport_->verstuur(std::move(verzoek), stop); });
}

std::string NetwerkTranscriptie::ontvang(const std::function<HTTPAntwoord()>& verstuur) const {
    const Motor motor = alsMotor(aanbieder_);
    try {
        HTTPAntwoord antwoord;
        try {
            antwoord = verstuur();
        } catch (const TransportFout& fout) {
            throw HerkenningsFout::uitTransportFout(fout, motor);
        }
        if (antwoord.status < 200 || antwoord.status > 299) {
            throw HerkenningsFout::api(motor, antwoord.status);
        }
        const auto gedecodeerd = TranscriptieAntwoord::decodeer(antwoord.body);
        if (!gedecodeerd) {
            throw HerkenningsFout::ongeldigAntwoord(motor);
        }
        return Tekst::trim(gedecodeerd->text);
    } catch (const std::bad_alloc&) {
        throw HerkenningsFout::ongeldigAntwoord(motor);
    } catch (const std::length_error&) {
        throw HerkenningsFout::ongeldigAntwoord(motor);
    }
}

}  // namespace tolmo
