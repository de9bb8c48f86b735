#pragma once

#include <atomic>
#include <cstdint>
#include <exception>
#include <filesystem>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <system_error>
#include <vector>

#include "Tolmo/AudioOpnemer/AudioEngine.h"
#include "Tolmo/AudioOpnemer/AudioSchrijver.h"
#include "Tolmo/AudioOpnemer/Levenslijn.h"
#include "Tolmo/AudioOpnemer/NiveauKanaal.h"
#include "Tolmo/AudioOpnemer/Omzetter.h"
#include "TolmoKern/Audio/AudioFormaat.h"
#include "TolmoKern/Audio/AudioMeting.h"
#include "TolmoKern/Audio/FormaatBesluit.h"
#include "TolmoKern/Audio/InvoerFormaat.h"
#include "TolmoKern/Audio/NiveauVolger.h"
#include "TolmoKern/Audio/Opname.h"

namespace tolmo {

// Records the microphone for one dictation at a time: every tap buffer is measured, converted to
// 16 kHz mono and written as it arrives, so the file is complete the moment recording stops.
// Survives audio configuration changes by restarting the engine and deciding whether the
// recording can go on in the same file.
//
// start, rondAf, annuleer, startEngine and the restart run on the control (main) thread; the
// capture routine runs on the engine's audio thread. Every field both touch is guarded by slot_,
// and the engine is never called while slot_ is held (its own lock is taken around the tap).
// The tap and the change callback reach the recorder through a Levenslijn, cut first thing in
// the destructor, so a callback racing the end of the recorder finishes before it goes and a
// late one does nothing.
//
// Every input is mixed down to mono here, before conversion: the converter always gets one
// channel, so a microphone with more channels than the platform's converter takes (the Mac's
// standard formats stop at two) records like any other.
class AudioOpnemer {
  public:
    // Time as the recorder sees it: the clock stamped on published levels, and the sleep used
    // while waiting for a usable input format.
    struct Tijd {
        std::function<double()> nu;
        std::function<void(double seconden)> slaap;
        static Tijd echt();
    };

    static constexpr std::uint32_t tapFrames = 2048;
    static constexpr double wachtStap = 0.25;
    static constexpr double maximaalWachten = 1.5;

    AudioOpnemer(AudioEngine& engine, Omzetter::Maker& omzetters, AudioSchrijver::Maker& schrijvers,
                 std::filesystem::path map = std::filesystem::temp_directory_path(),
                 Tijd tijd = Tijd::echt());
    ~AudioOpnemer();
    AudioOpnemer(const AudioOpnemer&) = delete;
    AudioOpnemer& operator=(const AudioOpnemer&) = delete;

    [[nodiscard]] bool isBluetoothInvoer();

    // Configures voice processing, waits for a usable input and starts the engine with the tap.
    // Throws OpnameFout::geenInvoer or the engine's error.
    void startEngine(bool ruisonderdrukking);

    // Starts the engine for a dictation with the user's noise-suppression setting: voice
    // processing is skipped for a Bluetooth input (it would switch the headset to its poor
    // call profile), and when starting with it fails the engine is started once more without.
    void startEngineMetRuisonderdrukking(bool gevraagd);

    // Begins a recording on the running engine; without a format only measures.
    // Throws OpnameFout or the platform's file error.
    void start(std::optional<AudioFormaat> formaat);

    Opname rondAf();
    void annuleer();
    // The file the running recording is written to; empty while none is.
    [[nodiscard]] std::optional<std::filesystem::path> bestand() const {
        const std::lock_guard slot(slot_);
        return bestandURL_;
    }
    FormaatBesluit herstartNaWijziging();
    // Why the last herstartNaWijziging ended in afrondenMetDeelopname, when it was an error
    // (starting the engine again, or making the converter); empty otherwise.
    [[nodiscard]] std::exception_ptr herstartFout() const { return herstartFout_; }

    // The capture routine, run by the tap for every buffer.
    void verwerkBuffer(const AudioBlok& blok) noexcept;

    void zetNiveauKanaal(std::shared_ptr<NiveauKanaal> kanaal);
    // Called on the engine's thread; hop to the main thread before calling herstartNaWijziging.
    void zetOpConfiguratieWijziging(std::function<void()> callback);

    [[nodiscard]] double niveau() const { return niveau_.load(std::memory_order_relaxed); }
    [[nodiscard]] bool ruisonderdrukkingActief() const { return ruisonderdrukkingActief_; }
    [[nodiscard]] bool ruisonderdrukkingOvergeslagenBluetooth() const {
        return ruisonderdrukkingOvergeslagenBluetooth_;
    }
    [[nodiscard]] bool gevraagdeRuisonderdrukking() const { return gevraagdeRuisonderdrukking_; }
    [[nodiscard]] std::int64_t bufferTeller() const;
    [[nodiscard]] float volger() const;
    // The write or conversion error that made the last finished recording onvolledig.
    [[nodiscard]] std::error_code laatsteSchrijfFout() const { return laatsteSchrijfFout_; }

  private:
    InvoerFormaat wachtOpBruikbaarFormaat(bool stemverwerking);
    // Flushes the converter's held-back samples into the file; slot_ must be held.
    void spoelOmzetter() noexcept;
    // Ends the current file's recording state (under slot_); the caller closes the file.
    std::pair<std::unique_ptr<AudioSchrijver>, std::optional<std::filesystem::path>>
    maakLos() noexcept;
    // Size the output buffer for one block; grows only for a larger block than seen before.
    std::span<float> uitvoerVoor(double rate, std::uint32_t frames) noexcept;
    // The block as one channel, the mean of its channels (itself when it has one); empty
    // (no frames) when the mono buffer could not grow. slot_ must be held.
    AudioBlok naarMono(const AudioBlok& blok) noexcept;
    bool monoRuimte(std::uint32_t frames) noexcept;
    void meldWijziging();

    AudioEngine& engine_;
    Omzetter::Maker& omzetters_;
    AudioSchrijver::Maker& schrijvers_;
    std::filesystem::path map_;
    Tijd tijd_;

    mutable std::mutex slot_;
    std::optional<InvoerFormaat> invoerFormaat_;
    std::optional<AudioMeting> meting_;
    std::int64_t bufferTeller_ = 0;
    std::unique_ptr<AudioSchrijver> bestand_;
    std::optional<std::filesystem::path> bestandURL_;
    std::optional<AudioFormaat> formaat_;
    std::unique_ptr<Omzetter> omzetter_;
    std::error_code schrijfFout_;
    std::atomic<double> niveau_{AudioMeting::vloerDB};
    NiveauVolger volger_;
    std::shared_ptr<NiveauKanaal> niveauKanaal_;
    std::vector<float> uitvoer_;
    std::vector<float> mono_;
    const float* monoKanaal_ = nullptr;

    std::mutex wijzigingSlot_;
    std::function<void()> opConfiguratieWijziging_;

    bool ruisonderdrukkingActief_ = false;
    bool ruisonderdrukkingOvergeslagenBluetooth_ = false;
    bool gevraagdeRuisonderdrukking_ = false;
    std::error_code laatsteSchrijfFout_;
    std::exception_ptr herstartFout_;

    // Last: made when everything it may reach exists.
    std::shared_ptr<Levenslijn<AudioOpnemer>> lijn_ =
        std::make_shared<Levenslijn<AudioOpnemer>>(*this);
};

}  // namespace tolmo
