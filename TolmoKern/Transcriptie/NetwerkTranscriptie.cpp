#include "TolmoKern/Transcriptie/NetwerkTranscriptie.h"

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

    MultipartFormulier formulier;
    voegVeldenToe(formulier, woorden);
    if (!formulier.leesBestandIn("file", wav ? "dictaat.wav" : "dictaat.m4a",
                                 wav ? "audio/wav" : "audio/mp4", opname.bestand)) {
        throw geenAudio();
    }

    HTTPVerzoek verzoek;
    verzoek.methode = "POST";
    verzoek.url = eindpunt_;
    verzoek.timeout = timeout_;
    verzoek.headers = {{"Authorization", "Bearer " + sleutel_},
                       {"Content-Type", formulier.contentType()}};
    verzoek.body = std::move(formulier).body();

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
}

}  // namespace tolmo
