#include "Tolmo/AudioOpnemer/AudioOpnemer.h"

#include <chrono>
#include <cmath>
#include <random>
#include <string>
#include <thread>
#include <tuple>
#include <utility>

#include "TolmoKern/Audio/OpnameFout.h"
#include "TolmoKern/Audio/StartStap.h"

namespace tolmo {

namespace {

// A random (version 4) UUID in the usual upper-case 8-4-4-4-12 form.
std::string nieuweUuid() {
    std::random_device bron;
    std::uniform_int_distribution<unsigned> byte(0, 255);
    unsigned char b[16];
    for (auto& x : b) {
        x = static_cast<unsigned char>(byte(bron));
    }
    b[6] = static_cast<unsigned char>((b[6] & 0x0FU) | 0x40U);
    b[8] = static_cast<unsigned char>((b[8] & 0x3FU) | 0x80U);
    static constexpr char hex[] = "0123456789ABCDEF";
    std::string uit;
    for (int i = 0; i < 16; ++i) {
        if (i == 4 || i == 6 || i == 8 || i == 10) {
            uit += '-';
        }
        uit += hex[b[i] >> 4U];
        uit += hex[b[i] & 0x0FU];
    }
    return uit;
}

constexpr InvoerFormaat mono(const InvoerFormaat& f) {
    return {f.sampleRate, 1};
}

std::size_t uitvoerCapaciteit(double rate, std::uint32_t frames) {
    if (!(rate > 0)) {
        return 64;
    }
    return static_cast<std::size_t>(std::floor(doelFormaat.sampleRate / rate * frames)) + 64;
}

}  // namespace

AudioOpnemer::Tijd AudioOpnemer::Tijd::echt() {
    return {[] {
                return std::chrono::duration<double>(
                           std::chrono::steady_clock::now().time_since_epoch())
                    .count();
            },
            [](double s) { std::this_thread::sleep_for(std::chrono::duration<double>(s)); }};
}

AudioOpnemer::AudioOpnemer(AudioEngine& engine, Omzetter::Maker& omzetters,
                           AudioSchrijver::Maker& schrijvers, std::filesystem::path map, Tijd tijd)
    : engine_(engine),
      omzetters_(omzetters),
      schrijvers_(schrijvers),
      map_(std::move(map)),
      tijd_(std::move(tijd)) {
    // Installed once for the recorder's life; the engine calls it on its own thread.
    engine_.zetOpWijziging(
        [lijn = lijn_] { lijn->roep([](AudioOpnemer& o) { o.meldWijziging(); }); });
}

void AudioOpnemer::meldWijziging() {
    std::function<void()> cb;
    {
        const std::lock_guard lock(wijzigingSlot_);
        cb = opConfiguratieWijziging_;
    }
    if (cb) {
        cb();
    }
}

AudioOpnemer::~AudioOpnemer() {
    // Waits for a tap block or change callback still inside; none enters after this.
    lijn_->knip();
    engine_.verwijderTap();
    engine_.zetOpWijziging({});
    if (bestand_) {
        bestand_->sluit();
    }
}

void AudioOpnemer::zetOpConfiguratieWijziging(std::function<void()> callback) {
    const std::lock_guard lock(wijzigingSlot_);
    opConfiguratieWijziging_ = std::move(callback);
}

void AudioOpnemer::zetNiveauKanaal(std::shared_ptr<NiveauKanaal> kanaal) {
    const std::lock_guard lock(slot_);
    niveauKanaal_ = std::move(kanaal);
}

std::int64_t AudioOpnemer::bufferTeller() const {
    const std::lock_guard lock(slot_);
    return bufferTeller_;
}

float AudioOpnemer::volger() const {
    const std::lock_guard lock(slot_);
    return volger_.waarde();
}

bool AudioOpnemer::isBluetoothInvoer() {
    const auto t = engine_.standaardInvoerTransport();
    return t == AudioEngine::Transport::bluetooth || t == AudioEngine::Transport::bluetoothLE;
}

void AudioOpnemer::startEngine(bool ruisonderdrukking) {
    if (engine_.stemverwerking() != ruisonderdrukking) {
        try {
            engine_.zetStemverwerking(ruisonderdrukking);
        } catch (...) {
            // Without voice processing the recording still works; the controller reports that
            // noise suppression did not come on.
        }
    }
    ruisonderdrukkingActief_ = engine_.stemverwerking();
    if (ruisonderdrukkingActief_) {
        try {
            engine_.zetDemping(AudioEngine::Demping{});
        } catch (...) {
            // Ducking is cosmetic; never a reason not to record.
        }
    }

    const InvoerFormaat formaat = wachtOpBruikbaarFormaat(ruisonderdrukkingActief_);

    engine_.verwijderTap();
    {
        const std::lock_guard lock(slot_);
        invoerFormaat_ = formaat;
        bufferTeller_ = 0;
    }
    engine_.installeerTap(tapFrames, formaat, [lijn = lijn_](const AudioBlok& blok) {
        lijn->roep([&blok](AudioOpnemer& o) { o.verwerkBuffer(blok); });
    });
    engine_.start();
}

InvoerFormaat AudioOpnemer::wachtOpBruikbaarFormaat(bool stemverwerking) {
    double gewacht = 0;
    for (;;) {
        const InvoerFormaat uit = engine_.uitvoerFormaat();
        const bool bruikbaar =
            stemverwerking ? uit.isGeldig()
                           : bepaalStartStap(engine_.invoerFormaat(), uit) == StartStap::starten;
        if (bruikbaar) {
            return uit;
        }
        // Checks at 0, 0.25, …, 1.5 s: never more than 1.5 s waited in all.
        if (gewacht + wachtStap > maximaalWachten + 0.0001) {
            throw OpnameFout::geenInvoer();
        }
        tijd_.slaap(wachtStap);
        gewacht += wachtStap;
        engine_.reset();
    }
}

void AudioOpnemer::startEngineMetRuisonderdrukking(bool gevraagd) {
    gevraagdeRuisonderdrukking_ = gevraagd;
    ruisonderdrukkingOvergeslagenBluetooth_ = gevraagd && isBluetoothInvoer();
    const bool gebruiken = gevraagd && !ruisonderdrukkingOvergeslagenBluetooth_;
    if (!gebruiken) {
        startEngine(false);
        return;
    }
    try {
        startEngine(true);
    } catch (...) {
        engine_.stop();
        engine_.verwijderTap();
        startEngine(false);
    }
}

void AudioOpnemer::start(std::optional<AudioFormaat> formaat) {
    std::unique_ptr<AudioSchrijver> vorig;
    std::optional<InvoerFormaat> invoer;
    {
        const std::lock_guard lock(slot_);
        vorig = std::move(bestand_);
        bestandURL_.reset();
        formaat_.reset();
        omzetter_.reset();
        schrijfFout_.clear();
        volger_.herstel();
        invoer = invoerFormaat_;
        if (!formaat) {
            meting_ = AudioMeting{};
            meting_->registreerSampleRate(invoer ? invoer->sampleRate : 0);
        }
    }
    if (vorig) {
        vorig->sluit();
    }
    if (!formaat) {
        return;
    }
    if (!invoer) {
        throw OpnameFout::geenInvoer();
    }

    std::unique_ptr<Omzetter> omzetter;
    try {
        omzetter = omzetters_.maak(mono(*invoer), doelFormaat);
    } catch (...) {
        omzetter.reset();
    }
    if (!omzetter) {
        throw OpnameFout::omzetten();
    }
    auto pad = map_ / ("tolmo-" + nieuweUuid() + "." + std::string(extensie(*formaat)));
    auto schrijver = schrijvers_.open(pad, *formaat);

    const std::lock_guard lock(slot_);
    bestand_ = std::move(schrijver);
    bestandURL_ = std::move(pad);
    formaat_ = formaat;
    omzetter_ = std::move(omzetter);
    meting_ = AudioMeting{};
    meting_->registreerSampleRate(invoer->sampleRate);
    // Sized now so that the first buffer does not allocate on the audio thread.
    uitvoerVoor(invoer->sampleRate, tapFrames);
    monoRuimte(tapFrames);
}

bool AudioOpnemer::monoRuimte(std::uint32_t frames) noexcept {
    if (mono_.size() < frames) {
        try {
            mono_.resize(frames);
        } catch (...) {
            return false;
        }
        monoKanaal_ = mono_.data();
    }
    return true;
}

AudioBlok AudioOpnemer::naarMono(const AudioBlok& blok) noexcept {
    if (blok.formaat.kanalen == 1) {
        return blok;
    }
    if (!monoRuimte(blok.frames)) {
        return {};
    }
    const auto n = static_cast<float>(blok.formaat.kanalen);
    for (std::uint32_t i = 0; i < blok.frames; ++i) {
        float som = 0;
        for (std::uint32_t k = 0; k < blok.formaat.kanalen; ++k) {
            som += blok.sample(k, i);
        }
        mono_[i] = som / n;
    }
    return AudioBlok{mono(blok.formaat), blok.frames, &monoKanaal_, 1};
}

std::span<float> AudioOpnemer::uitvoerVoor(double rate, std::uint32_t frames) noexcept {
    const std::size_t nodig = uitvoerCapaciteit(rate, frames);
    if (uitvoer_.size() < nodig) {
        try {
            uitvoer_.resize(nodig);
        } catch (...) {
            return {};
        }
    }
    return {uitvoer_.data(), nodig};
}

void AudioOpnemer::spoelOmzetter() noexcept {
    if (!bestand_ || !omzetter_ || schrijfFout_) {
        return;
    }
    const auto uit = uitvoerVoor(omzetter_->invoer().sampleRate, tapFrames);
    for (;;) {
        const std::size_t n = omzetter_->spoel(uit, schrijfFout_);
        if (schrijfFout_ || n == 0) {
            return;
        }
        bestand_->schrijf(uit.first(n), schrijfFout_);
        if (schrijfFout_) {
            return;
        }
    }
}

void AudioOpnemer::verwerkBuffer(const AudioBlok& blok) noexcept {
    const std::lock_guard lock(slot_);
    ++bufferTeller_;

    const bool heeftSamples =
        blok.frames > 0 && blok.kanalen != nullptr && blok.formaat.kanalen > 0;
    const double som =
        heeftSamples ? AudioMeting::somKwadratenVan(blok.kanalen[0], blok.frames, blok.stap) : 0.0;
    const std::int64_t frames = heeftSamples ? blok.frames : 0;
    if (meting_) {
        meting_->telBuffer(blok.formaat.sampleRate, frames, som);
    }
    const double db = AudioMeting::niveauDB(som, frames);
    niveau_.store(db, std::memory_order_relaxed);

    if (niveauKanaal_) {
        niveauKanaal_->publiceer(volger_.volg(db), tijd_.nu());
    }

    if (!bestand_ || !omzetter_ || schrijfFout_ || !heeftSamples) {
        return;
    }
    if (omzetter_->invoer().sampleRate != blok.formaat.sampleRate) {
        // The device changed under us: keep what the old converter held back, then go on with
        // a converter for the new format into the same file.
        spoelOmzetter();
        if (schrijfFout_) {
            return;
        }
        std::unique_ptr<Omzetter> nieuw;
        try {
            nieuw = omzetters_.maak(mono(blok.formaat), doelFormaat);
        } catch (...) {
            nieuw.reset();
        }
        if (!nieuw) {
            // The old converter stays: the recording is still in progress, and a restart that
            // follows the device change still finds it and decides what to do with it.
            schrijfFout_ = OpnameFout::foutcode(OpnameFout::Soort::omzetten);
            return;
        }
        omzetter_ = std::move(nieuw);
    }

    const auto uit = uitvoerVoor(blok.formaat.sampleRate, blok.frames);
    const AudioBlok een = naarMono(blok);
    if (uit.empty() || een.frames != blok.frames) {
        schrijfFout_ = std::make_error_code(std::errc::not_enough_memory);
        return;
    }
    const std::size_t n = omzetter_->zetOm(een, uit, schrijfFout_);
    if (schrijfFout_) {
        return;
    }
    if (n > 0) {
        bestand_->schrijf(uit.first(n), schrijfFout_);
    }
}

Opname AudioOpnemer::rondAf() {
    Opname opname;
    std::unique_ptr<AudioSchrijver> bestand;
    {
        const std::lock_guard lock(slot_);
        // What the converter still holds belongs to the recording too.
        spoelOmzetter();
        if (meting_) {
            opname.meting = *meting_;
        } else {
            opname.meting.sampleRate = invoerFormaat_ ? invoerFormaat_->sampleRate : 0;
        }
        opname.bestand = bestandURL_.value_or(std::filesystem::path{});
        opname.formaat = formaat_.value_or(AudioFormaat::wav);
        opname.onvolledig = static_cast<bool>(schrijfFout_);
        laatsteSchrijfFout_ = schrijfFout_;
        bestand = maakLos().first;
    }
    if (bestand && !bestand->sluit() && !opname.onvolledig) {
        opname.onvolledig = true;
        laatsteSchrijfFout_ = std::make_error_code(std::errc::io_error);
    }
    return opname;
}

std::pair<std::unique_ptr<AudioSchrijver>, std::optional<std::filesystem::path>>
AudioOpnemer::maakLos() noexcept {
    auto los = std::make_pair(std::move(bestand_), std::move(bestandURL_));
    bestandURL_.reset();
    formaat_.reset();
    omzetter_.reset();
    meting_.reset();
    schrijfFout_.clear();
    return los;
}

void AudioOpnemer::annuleer() {
    engine_.verwijderTap();
    engine_.stop();
    std::unique_ptr<AudioSchrijver> bestand;
    std::optional<std::filesystem::path> url;
    {
        const std::lock_guard lock(slot_);
        std::tie(bestand, url) = maakLos();
    }
    if (bestand) {
        bestand->sluit();
    }
    if (url) {
        std::error_code genegeerd;
        std::filesystem::remove(*url, genegeerd);
    }
}

FormaatBesluit AudioOpnemer::herstartNaWijziging() {
    engine_.stop();
    engine_.verwijderTap();
    herstartFout_ = nullptr;

    HerstartToestand t;
    {
        const std::lock_guard lock(slot_);
        t.oudFormaat = invoerFormaat_;
        t.opnameLoopt = omzetter_ != nullptr;
    }
    try {
        startEngineMetRuisonderdrukking(gevraagdeRuisonderdrukking_);
        const std::lock_guard lock(slot_);
        t.nieuwFormaat = invoerFormaat_.value_or(InvoerFormaat{});
    } catch (...) {
        t.startMislukt = true;
        herstartFout_ = std::current_exception();
    }

    FormaatBesluit besluit = besluitNaWijziging(t);
    if (besluit != FormaatBesluit::omzetterVernieuwen) {
        return besluit;
    }

    std::unique_ptr<Omzetter> nieuw;
    try {
        nieuw = omzetters_.maak(mono(t.nieuwFormaat), doelFormaat);
    } catch (...) {
        nieuw.reset();
    }
    if (!nieuw) {
        herstartFout_ = std::make_exception_ptr(OpnameFout::omzetten());
        return FormaatBesluit::afrondenMetDeelopname;
    }
    const std::lock_guard lock(slot_);
    if (!omzetter_) {
        // Finished or cancelled meanwhile; nothing left to continue.
        return FormaatBesluit::geenDictaat;
    }
    // Buffers of the new format may already have replaced the converter on the audio thread.
    if (omzetter_->invoer() != mono(t.nieuwFormaat)) {
        spoelOmzetter();
        omzetter_ = std::move(nieuw);
    }
    if (meting_) {
        meting_->registreerSampleRate(t.nieuwFormaat.sampleRate);
    }
    uitvoerVoor(t.nieuwFormaat.sampleRate, tapFrames);
    return besluit;
}

}  // namespace tolmo
