#pragma once

#include <memory>

#include "Tolmo/AudioOpnemer/AudioEngine.h"

namespace tolmo {

// The audio engine on AVAudioEngine's input node. Configuration changes arrive through the
// engine's configuration-change notification on an internal queue of the framework; the
// default input device's transport type comes from Core Audio.
class AVAudioEngineAdapter final : public AudioEngine {
  public:
    AVAudioEngineAdapter();
    ~AVAudioEngineAdapter() override;
    AVAudioEngineAdapter(const AVAudioEngineAdapter&) = delete;
    AVAudioEngineAdapter& operator=(const AVAudioEngineAdapter&) = delete;

    [[nodiscard]] InvoerFormaat invoerFormaat() override;
    [[nodiscard]] InvoerFormaat uitvoerFormaat() override;
    [[nodiscard]] bool stemverwerking() override;
    void zetStemverwerking(bool aan) override;
    void zetDemping(const Demping& demping) override;
    void reset() override;
    void installeerTap(std::uint32_t frames, const InvoerFormaat& formaat, TapBlok blok) override;
    void verwijderTap() override;
    void start() override;
    void stop() override;
    void zetOpWijziging(std::function<void()> callback) override;
    [[nodiscard]] Transport standaardInvoerTransport() override;

    struct Staat;

  private:
    std::unique_ptr<Staat> s_;
};

}  // namespace tolmo
