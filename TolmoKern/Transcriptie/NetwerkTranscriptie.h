#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "TolmoKern/Transcriptie/HTTPTransport.h"
#include "TolmoKern/Transcriptie/Motor.h"
#include "TolmoKern/Transcriptie/MultipartFormulier.h"
#include "TolmoKern/Transcriptie/TranscriptieMotor.h"

namespace tolmo {

// What the OpenAI and Mistral engines share: the preflight of the recording, the multipart
// request with the file as its last part, and the handling of the reply. A subclass adds only
// its own text fields.
class NetwerkTranscriptie : public TranscriptieMotor {
  public:
    static constexpr std::chrono::milliseconds standaardTimeout{30000};
    static constexpr double minimaleDuur = 0.3;

    [[nodiscard]] Aanbieder aanbieder() const { return aanbieder_; }
    [[nodiscard]] const std::string& sleutel() const { return sleutel_; }
    [[nodiscard]] const std::string& eindpunt() const { return eindpunt_; }
    [[nodiscard]] std::chrono::milliseconds timeout() const { return timeout_; }

    // Throws HerkenningsFout (geenAudio before anything is sent; timeout, api,
    // ongeldigAntwoord, geenNetwerk, or what the relay transport reports), or Geannuleerd.
    std::string transcribeer(const Opname& opname, const std::vector<std::string>& woorden,
                             StopToken stop) final;

    // The request for a recording still being written: its body holds the form up to the
    // file's own bytes; `naBestand` is what follows them.
    struct Omhulsel {
        HTTPVerzoek verzoek;
        std::string naBestand;
    };
    [[nodiscard]] Omhulsel omhulsel(AudioFormaat formaat,
                                    const std::vector<std::string>& woorden) const;
    // The transcript in the reply `verstuur` gets (it sends through transport()), or the
    // HerkenningsFout that reply or its failure means.
    std::string ontvang(const std::function<HTTPAntwoord()>& verstuur) const;
    [[nodiscard]] const std::shared_ptr<HTTPTransport>& transport() const { return transport_; }

  protected:
    NetwerkTranscriptie(Aanbieder aanbieder, std::string sleutel,
                        std::shared_ptr<HTTPTransport> transport, std::string eindpunt,
                        std::chrono::milliseconds timeout);

    // The text parts that go before the file.
    virtual void voegVeldenToe(MultipartFormulier& formulier,
                               const std::vector<std::string>& woorden) const = 0;

  private:
    [[nodiscard]] HTTPVerzoek kaal(const MultipartFormulier& formulier) const;

    Aanbieder aanbieder_;
    std::string sleutel_;
    std::shared_ptr<HTTPTransport> transport_;
    std::string eindpunt_;
    std::chrono::milliseconds timeout_;
};

}  // namespace tolmo
