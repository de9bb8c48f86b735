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

std::string NetwerkTranscriptie::transcribeer(const Opname& opname,
                                              const std::vector<std::string>& woorden,
                                              StopToken stop) {
    const Motor motor = alsMotor(aanbieder_);
    const auto geenAudio = [] { return HerkenningsFout::van(HerkenningsFout::Soort::geenAudio); };
    if (opname.meting.duur() < minimaleDuur || opname.bestand.empty()) {
        throw geenAudio();
    }
    const bool wav = opname.formaat == AudioFormaat::wav;

    // Memory runs out on a recording too big to hold, or on a reply too big to read; either
    // way the caller gets a recognition error it can show, never a bare std::bad_alloc.
    HTTPVerzoek verzoek;
    try {
        MultipartFormulier formulier;
        voegVeldenToe(formulier, woorden);
        if (!formulier.leesBestandIn("file", wav ? "dictaat.wav" : "dictaat.m4a",
                                     wav ? "audio/wav" : "audio/mp4", opname.bestand)) {
            throw geenAudio();
        }
        verzoek.methode = "POST";
        verzoek.url = eindpunt_;
        verzoek.timeout = timeout_;
        verzoek.headers = {{"Authorization", "Bearer " + sleutel_},
                           {"Content-Type", formulier.contentType()}};
        verzoek.body = std::move(formulier).body();
    } catch (const std::bad_alloc&) {
        throw HerkenningsFout::van(HerkenningsFout::Soort::dictaatTeLang);
    } catch (const std::length_error&) {
        throw HerkenningsFout::van(HerkenningsFout::Soort::dictaatTeLang);
    }

    try {
        HTTPAntwoord antwoord;
        try {
            antwoord = transport_->verstuur(std::move(verzoek), stop);
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
