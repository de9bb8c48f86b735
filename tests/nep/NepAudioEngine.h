#pragma once

#include <algorithm>
#include <functional>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "Tolmo/AudioOpnemer/AudioEngine.h"

namespace tolmo::nep {

// A scripted audio engine. The formats it reports follow `script`: entry k is what the input
// node shows after k resets (the last entry stays). Buffers are delivered synchronously with
// lever(); every call is written to `log`.
class NepAudioEngine final : public AudioEngine {
  public:
    struct Formaten {
        InvoerFormaat invoer;
        InvoerFormaat uitvoer;
    };

    std::vector<Formaten> script{{{48000, 2}, {48000, 2}}};
    std::size_t resets = 0;
    bool vp = false;
    bool vpWeigert = false;
    // start() throws while voice processing is on / always.
    bool startFaaltMetStemverwerking = false;
    bool startFaalt = false;
    Transport transport = Transport::anders;

    std::vector<std::string> log;
    std::optional<Demping> demping;
    TapBlok tap;
    std::uint32_t tapFrames = 0;
    InvoerFormaat tapFormaat;
    bool draait = false;
    std::function<void()> opWijziging;

    // Starts the script again, as a newly plugged-in device would.
    void speelAf(std::vector<Formaten> nieuw) {
        script = std::move(nieuw);
        resets = 0;
    }

    void lever(const AudioBlok& blok) {
        if (tap && draait) {
            tap(blok);
        }
    }
    void meldWijziging() {
        if (opWijziging) {
            opWijziging();
        }
    }
    [[nodiscard]] long aantal(const std::string& wat) const {
        return std::count(log.begin(), log.end(), wat);
    }

    InvoerFormaat invoerFormaat() override { return huidig().invoer; }
    InvoerFormaat uitvoerFormaat() override { return huidig().uitvoer; }
    bool stemverwerking() override { return vp; }
    void zetStemverwerking(bool aan) override {
        log.push_back(aan ? "stemverwerking aan" : "stemverwerking uit");
        if (vpWeigert) {
            throw std::runtime_error("geweigerd");
        }
        vp = aan;
    }
    void zetDemping(const Demping& d) override {
        log.emplace_back("demping");
        demping = d;
    }
    void reset() override {
        log.emplace_back("reset");
        ++resets;
    }
    void installeerTap(std::uint32_t frames, const InvoerFormaat& formaat, TapBlok blok) override {
        log.emplace_back("installeerTap");
        tapFrames = frames;
        tapFormaat = formaat;
        tap = std::move(blok);
    }
    void verwijderTap() override {
        log.emplace_back("verwijderTap");
        tap = nullptr;
    }
    void start() override {
        log.emplace_back("start");
        if (startFaalt || (startFaaltMetStemverwerking && vp)) {
            throw std::runtime_error("engine start mislukt");
        }
        draait = true;
    }
    void stop() override {
        log.emplace_back("stop");
        draait = false;
    }
    void zetOpWijziging(std::function<void()> cb) override { opWijziging = std::move(cb); }
    Transport standaardInvoerTransport() override { return transport; }

  private:
    const Formaten& huidig() const { return script[std::min(resets, script.size() - 1)]; }
};

}  // namespace tolmo::nep
