#include "TolmoKern/Transcriptie/StroomUpload.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <utility>

#include "TolmoKern/Keten/Geannuleerd.h"
#include "TolmoKern/Transcriptie/HerkenningsFout.h"
#include "TolmoKern/Transcriptie/TolmoServerTransport.h"
#include "TolmoKern/Transcriptie/TransportFout.h"

namespace tolmo {

// The file part of the body: every byte of the recording file once, in order, as the writer
// appends it, then the form's closing lines once the recording is finished.
class StroomUpload::Volger final : public GroeiendeBody {
  public:
    Volger(int fd, std::string naBestand) : fd_(fd), naBestand_(std::move(naBestand)) {}
    ~Volger() override { ::close(fd_); }
    Volger(const Volger&) = delete;
    Volger& operator=(const Volger&) = delete;

    Stuk lees(char* doel, std::size_t ruimte) override {
        if (afgebroken_.load()) {
            return {Stuk::Soort::fout};
        }
        if (!inStaart_) {
            // Whether the writer was done is read before the file: a read that then finds
            // nothing more has seen the last byte.
            const bool volledig = volledig_.load();
            const ssize_t r = ::pread(fd_, doel, ruimte, positie_);
            if (r > 0) {
                positie_ += r;
                return {Stuk::Soort::data, static_cast<std::size_t>(r)};
            }
            if (r < 0) {
                return {errno == EINTR ? Stuk::Soort::wacht : Stuk::Soort::fout};
            }
            if (!volledig) {
                return {Stuk::Soort::wacht};
            }
            inStaart_ = true;
        }
        const std::size_t n = std::min(ruimte, naBestand_.size() - staartGestuurd_);
        if (n == 0) {
            return {Stuk::Soort::einde};
        }
        std::memcpy(doel, naBestand_.data() + staartGestuurd_, n);
        staartGestuurd_ += n;
        return {Stuk::Soort::data, n};
    }

    void zetWekker(std::function<void()> wek) override {
        const std::lock_guard slot(wekSlot_);
        wek_ = std::move(wek);
    }

    void sluit(bool volledig) {
        (volledig ? volledig_ : afgebroken_).store(true);
        const std::lock_guard slot(wekSlot_);
        if (wek_) {
            wek_();
        }
    }

  private:
    int fd_;
    off_t positie_ = 0;
    std::string naBestand_;
    std::size_t staartGestuurd_ = 0;
    bool inStaart_ = false;
    std::atomic<bool> volledig_{false};
    std::atomic<bool> afgebroken_{false};
    std::mutex wekSlot_;
    std::function<void()> wek_;
};

std::unique_ptr<LopendeUpload> StroomUpload::begin(std::unique_ptr<TranscriptieMotor> motor,
                                                   const std::filesystem::path& bestand,
                                                   AudioFormaat formaat,
                                                   std::vector<std::string> woorden) {
    auto* netwerk = dynamic_cast<NetwerkTranscriptie*>(motor.get());
    // A WAV header is rewritten when the recording ends, so only m4a can go while it grows.
    if (netwerk == nullptr || formaat != AudioFormaat::m4a ||
        dynamic_cast<TolmoServerTransport*>(netwerk->transport().get()) == nullptr) {
        return nullptr;
    }
    const int fd = ::open(bestand.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        return nullptr;
    }
    (void)motor.release();
    return std::make_unique<StroomUpload>(std::unique_ptr<NetwerkTranscriptie>(netwerk), fd,
                                          woorden, formaat);
}

StroomUpload::StroomUpload(std::unique_ptr<NetwerkTranscriptie> motor, int fd,
                           const std::vector<std::string>& woorden, AudioFormaat formaat)
    : motor_(std::move(motor)) {
    NetwerkTranscriptie::Omhulsel omhulsel = motor_->omhulsel(formaat, woorden);
    volger_ = std::make_shared<Volger>(fd, std::move(omhulsel.naBestand));
    omhulsel.verzoek.groeiend = volger_;
    draad_ = Draad([this, verzoek = std::move(omhulsel.verzoek)](StopToken stop) mutable {
        std::optional<HTTPAntwoord> antwoord;
        std::exception_ptr fout;
        try {
            antwoord = motor_->transport()->verstuur(std::move(verzoek), stop);
        } catch (...) {
            fout = std::current_exception();
        }
        const std::lock_guard slot(slot_);
        antwoord_ = std::move(antwoord);
        fout_ = fout;
        klaar_ = true;
        klaarCv_.notify_all();
    });
}

StroomUpload::~StroomUpload() {
    // Broken off mid-body, the request ends without its last chunk: the server drops it.
    draad_.vraagStop();
}

void StroomUpload::rondAf(const Opname& opname) {
    volger_->sluit(!opname.onvolledig);
}

std::string StroomUpload::transcribeer(const Opname& opname,
                                       const std::vector<std::string>& woorden, StopToken stop) {
    {
        const StopTerugroep breekAf(stop, [this] { draad_.vraagStop(); });
        std::unique_lock slot(slot_);
        klaarCv_.wait(slot, [this] { return klaar_; });
    }
    Geannuleerd::controleer(stop);
    if (antwoord_) {
        return motor_->ontvang([this] { return std::move(*antwoord_); });
    }
    try {
        std::rethrow_exception(fout_);
    } catch (const TransportFout&) {
    } catch (const HerkenningsFout& f) {
        // The relay answered: its verdict (a limit, a refused code) stands.
        if (f.soort() != HerkenningsFout::Soort::serverNietBereikbaar) {
            throw;
        }
    }
    // The connection failed: the recording is complete on disk, so it goes again whole.
    return motor_->transcribeer(opname, woorden, stop);
}

}  // namespace tolmo
