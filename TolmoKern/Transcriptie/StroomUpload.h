#pragma once

#include <condition_variable>
#include <exception>
#include <filesystem>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "TolmoKern/Audio/AudioFormaat.h"
#include "TolmoKern/Draad/Stop.h"
#include "TolmoKern/Transcriptie/HTTPTransport.h"
#include "TolmoKern/Transcriptie/LopendeUpload.h"
#include "TolmoKern/Transcriptie/NetwerkTranscriptie.h"

namespace tolmo {

// Sends a recording to the relay server while it is written: one chunked request whose file
// part follows the recording file as it grows, so that at key release only the tail is left.
// The file must only ever grow (each byte written once, never rewritten, as a fragmented
// MPEG-4 is): what is in the file is sent, read from where the last read ended.
//
// The request runs on a thread of its own from the start. If its connection fails, the
// dictation still completes: transcribeer then sends the finished recording whole through the
// same engine, as a dictation without an upload would.
class StroomUpload final : public LopendeUpload {
  public:
    // An upload for this engine, or nullptr when it does not stream: only the relay route
    // does (the providers' own APIs get the recording after the release), and only for a
    // format written by appending (m4a).
    static std::unique_ptr<LopendeUpload> begin(std::unique_ptr<TranscriptieMotor> motor,
                                                const std::filesystem::path& bestand,
                                                AudioFormaat formaat,
                                                std::vector<std::string> woorden);

    StroomUpload(std::unique_ptr<NetwerkTranscriptie> motor, int fd,
                 const std::vector<std::string>& woorden, AudioFormaat formaat);
    ~StroomUpload() override;
    StroomUpload(const StroomUpload&) = delete;
    StroomUpload& operator=(const StroomUpload&) = delete;

    void rondAf(const Opname& opname) override;
    std::string transcribeer(const Opname& opname, const std::vector<std::string>& woorden,
                             StopToken stop) override;

  private:
    class Volger;

    std::unique_ptr<NetwerkTranscriptie> motor_;
    std::shared_ptr<Volger> volger_;
    std::mutex slot_;
    std::optional<HTTPAntwoord> antwoord_;
    std::exception_ptr fout_;
    bool klaar_ = false;
    std::condition_variable klaarCv_;
    Draad draad_;  // last: it stops and joins before the rest goes
};

}  // namespace tolmo
