#include "Tolmo/linux/pulse/PulseAudioEngine.h"

#include <pulse/pulseaudio.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <map>
#include <system_error>
#include <vector>

#include "Tolmo/linux/pulse/PulseEigenschappen.h"
#include "Tolmo/linux/pulse/SpeexRuisonderdrukker.h"

namespace tolmo {

namespace {

class PulseCategorie final : public std::error_category {
  public:
    [[nodiscard]] const char* name() const noexcept override { return "pulse"; }
    [[nodiscard]] std::string message(int code) const override { return pa_strerror(code); }
};

// Holds PulseAudio's main-loop lock: every call into libpulse and every field its thread reads
// is used under it. The callbacks below already run with it held.
class Slot {
  public:
    explicit Slot(pa_threaded_mainloop* lus) : lus_(lus) { pa_threaded_mainloop_lock(lus_); }
    ~Slot() { pa_threaded_mainloop_unlock(lus_); }
    Slot(const Slot&) = delete;
    Slot& operator=(const Slot&) = delete;

  private:
    pa_threaded_mainloop* lus_;
};

InvoerFormaat formaatVan(const pa_sample_spec& monsters) {
    return {static_cast<double>(monsters.rate), monsters.channels};
}

std::map<std::string, std::string> eigenschappenVan(const pa_proplist* lijst) {
    std::map<std::string, std::string> uit;
    void* staat = nullptr;
    while (const char* sleutel = pa_proplist_iterate(lijst, &staat)) {
        if (const char* waarde = pa_proplist_gets(lijst, sleutel)) {
            uit.emplace(sleutel, waarde);
        }
    }
    return uit;
}

}  // namespace

struct PulseAudioEngine::Staat {
    pa_threaded_mainloop* lus = nullptr;
    pa_context* ctx = nullptr;
    std::string appNaam;
    pa_stream* stroom = nullptr;

    // The default source as last asked; forgotten on every server or source event.
    bool bronBekend = false;
    std::string bronNaam;
    std::uint32_t bronIndex = PA_INVALID_INDEX;
    InvoerFormaat bronFormaat;
    Transport transport = Transport::anders;

    // The source being recorded since start(), to recognise changes to it.
    bool draait = false;
    bool gemeld = false;
    std::string gevolgdeBron;
    std::uint32_t gevolgdeIndex = PA_INVALID_INDEX;
    InvoerFormaat gevolgdFormaat;

    TapBlok blok;
    std::uint32_t frames = 0;
    InvoerFormaat tapFormaat;
    std::vector<float> verzamel;  // one block, interleaved
    std::size_t gevuld = 0;
    std::array<const float*, PA_CHANNELS_MAX> kanalen{};

    // Noise suppression as asked; made fresh with every stream, so one recording's noise
    // estimate and last frame never reach the next, and for the stream's own format.
    bool stemverwerking = false;
    std::unique_ptr<SpeexRuisonderdrukker> ruis;

    std::function<void()> opWijziging;

    ~Staat() {
        if (lus == nullptr) {
            return;
        }
        {
            const Slot slot(lus);
            ontkoppel();
        }
        pa_threaded_mainloop_stop(lus);
        pa_threaded_mainloop_free(lus);
    }

    // Drops the stream and the connection, with the lock held; their callbacks go first.
    void ontkoppel() {
        sloopStroom();
        if (ctx != nullptr) {
            pa_context_set_subscribe_callback(ctx, nullptr, nullptr);
            pa_context_set_state_callback(ctx, nullptr, nullptr);
            pa_context_disconnect(ctx);
            pa_context_unref(ctx);
            ctx = nullptr;
        }
    }

    // A new connection to the server, with the lock held and the loop running: at start, and
    // again whenever the server went away (a restarted daemon, PipeWire's pulse server
    // restarting), so the next dictation works without restarting the app.
    void verbind() {
        ontkoppel();
        bronBekend = false;
        ctx = pa_context_new(pa_threaded_mainloop_get_api(lus), appNaam.c_str());
        if (ctx == nullptr) {
            throw std::system_error(PA_ERR_INTERNAL, categorie(), "pa_context_new");
        }
        pa_context_set_state_callback(
            ctx,
            [](pa_context* c, void* u) {
                auto* s = static_cast<Staat*>(u);
                const auto st = pa_context_get_state(c);
                if (st == PA_CONTEXT_FAILED || st == PA_CONTEXT_TERMINATED) {
                    s->bronBekend = false;
                    s->meld();
                }
                pa_threaded_mainloop_signal(s->lus, 0);
            },
            this);
        pa_context_set_subscribe_callback(
            ctx,
            [](pa_context*, pa_subscription_event_type_t t, std::uint32_t index, void* u) {
                static_cast<Staat*>(u)->opGebeurtenis(t, index);
            },
            this);
        if (pa_context_connect(ctx, nullptr, PA_CONTEXT_NOAUTOSPAWN, nullptr) < 0) {
            gooi("pa_context_connect");
        }
        for (;;) {
            const auto st = pa_context_get_state(ctx);
            if (st == PA_CONTEXT_READY) {
                break;
            }
            if (st == PA_CONTEXT_FAILED || st == PA_CONTEXT_TERMINATED) {
                gooi("pa_context_connect");
            }
            pa_threaded_mainloop_wait(lus);
        }
        wacht(pa_context_subscribe(
            ctx,
            static_cast<pa_subscription_mask_t>(PA_SUBSCRIPTION_MASK_SERVER |
                                                PA_SUBSCRIPTION_MASK_SOURCE),
            [](pa_context*, int, void* u) {
                pa_threaded_mainloop_signal(static_cast<Staat*>(u)->lus, 0);
            },
            this));
    }

    void zorgVoorVerbinding() {
        if (ctx == nullptr || pa_context_get_state(ctx) != PA_CONTEXT_READY) {
            verbind();
        }
    }

    [[noreturn]] void gooi(const char* wat) const {
        throw std::system_error(pa_context_errno(ctx), categorie(), wat);
    }

    void wacht(pa_operation* op) const {
        if (op == nullptr) {
            return;
        }
        while (pa_operation_get_state(op) == PA_OPERATION_RUNNING) {
            pa_threaded_mainloop_wait(lus);
        }
        pa_operation_unref(op);
    }

    // Called with the lock held, on PulseAudio's thread. Reported once per start: one device
    // switch raises several events, and one restart answers them all.
    void meld() {
        if (!draait || gemeld) {
            return;
        }
        gemeld = true;
        if (opWijziging) {
            opWijziging();
        }
    }

    void verversBron() {
        bronBekend = true;
        bronNaam.clear();
        bronIndex = PA_INVALID_INDEX;
        bronFormaat = {};
        transport = Transport::anders;
        if (pa_context_get_state(ctx) != PA_CONTEXT_READY) {
            return;
        }
        wacht(pa_context_get_server_info(
            ctx,
            [](pa_context*, const pa_server_info* info, void* u) {
                auto* s = static_cast<Staat*>(u);
                if (info != nullptr && info->default_source_name != nullptr) {
                    s->bronNaam = info->default_source_name;
                }
                pa_threaded_mainloop_signal(s->lus, 0);
            },
            this));
        if (bronNaam.empty()) {
            return;
        }
        wacht(pa_context_get_source_info_by_name(
            ctx, bronNaam.c_str(),
            [](pa_context*, const pa_source_info* info, int /*eol*/, void* u) {
                auto* s = static_cast<Staat*>(u);
                if (info != nullptr) {
                    s->bronIndex = info->index;
                    s->bronFormaat = formaatVan(info->sample_spec);
                    s->transport = transportVanBron(eigenschappenVan(info->proplist));
                }
                pa_threaded_mainloop_signal(s->lus, 0);
            },
            this));
    }

    void sloopStroom() {
        if (stroom == nullptr) {
            return;
        }
        pa_stream_set_state_callback(stroom, nullptr, nullptr);
        pa_stream_set_read_callback(stroom, nullptr, nullptr);
        pa_stream_set_moved_callback(stroom, nullptr, nullptr);
        pa_stream_disconnect(stroom);
        pa_stream_unref(stroom);
        stroom = nullptr;
        gevuld = 0;
        ruis.reset();
    }

    void maakStroom() {
        sloopStroom();
        if (!blok) {
            return;
        }
        if (gevolgdeBron.empty() || !tapFormaat.isGeldig() ||
            tapFormaat.kanalen > PA_CHANNELS_MAX) {
            throw std::system_error(PA_ERR_NOENTITY, categorie(), "geen standaardbron");
        }
        if (stemverwerking) {
            try {
                ruis = std::make_unique<SpeexRuisonderdrukker>(
                    static_cast<std::uint32_t>(tapFormaat.sampleRate), tapFormaat.kanalen);
            } catch (const std::exception&) {
                throw std::system_error(PA_ERR_NOTSUPPORTED, categorie(), "ruisonderdrukking");
            }
        }

        pa_sample_spec monsters{};
        monsters.format = PA_SAMPLE_FLOAT32NE;
        monsters.rate = static_cast<std::uint32_t>(tapFormaat.sampleRate);
        monsters.channels = static_cast<std::uint8_t>(tapFormaat.kanalen);
        stroom = pa_stream_new(ctx, "Opname", &monsters, nullptr);
        if (stroom == nullptr) {
            gooi("pa_stream_new");
        }
        pa_stream_set_state_callback(
            stroom,
            [](pa_stream* p, void* u) {
                auto* s = static_cast<Staat*>(u);
                const auto st = pa_stream_get_state(p);
                if (st == PA_STREAM_FAILED || st == PA_STREAM_TERMINATED) {
                    s->meld();
                }
                pa_threaded_mainloop_signal(s->lus, 0);
            },
            this);
        pa_stream_set_moved_callback(
            stroom, [](pa_stream*, void* u) { static_cast<Staat*>(u)->meld(); }, this);
        pa_stream_set_read_callback(
            stroom, [](pa_stream* p, std::size_t, void* u) { static_cast<Staat*>(u)->lees(p); },
            this);

        // One fragment per tap block keeps the wake-ups few while the first block still comes
        // as soon as it is full. The server rounds the fragment through whole microseconds and
        // would hand out one frame less than asked (2047 of 2048), which would hold the first
        // block back for a whole second fragment; one frame of slack avoids that.
        pa_buffer_attr attr{};
        attr.maxlength = static_cast<std::uint32_t>(-1);
        attr.tlength = static_cast<std::uint32_t>(-1);
        attr.prebuf = static_cast<std::uint32_t>(-1);
        attr.minreq = static_cast<std::uint32_t>(-1);
        attr.fragsize = (frames + 1) * static_cast<std::uint32_t>(pa_frame_size(&monsters));
        const auto vlaggen =
            static_cast<pa_stream_flags_t>(PA_STREAM_ADJUST_LATENCY | PA_STREAM_DONT_MOVE);
        if (pa_stream_connect_record(stroom, gevolgdeBron.c_str(), &attr, vlaggen) < 0) {
            const int fout = pa_context_errno(ctx);
            sloopStroom();
            throw std::system_error(fout, categorie(), "pa_stream_connect_record");
        }
        for (;;) {
            const auto st = pa_stream_get_state(stroom);
            if (st == PA_STREAM_READY) {
                break;
            }
            if (st == PA_STREAM_FAILED || st == PA_STREAM_TERMINATED) {
                const int fout = pa_context_errno(ctx);
                sloopStroom();
                throw std::system_error(fout, categorie(), "opnamestroom");
            }
            pa_threaded_mainloop_wait(lus);
        }
    }

    // PulseAudio's thread: gathers whatever the server sends into blocks of exactly `frames`.
    void lees(pa_stream* p) {
        for (;;) {
            const void* data = nullptr;
            std::size_t n = 0;
            if (pa_stream_peek(p, &data, &n) < 0 || n == 0) {
                return;
            }
            if (blok && !verzamel.empty()) {
                const auto* f = static_cast<const float*>(data);
                const std::size_t aantal = n / sizeof(float);
                std::size_t i = 0;
                while (i < aantal) {
                    const std::size_t k = std::min(verzamel.size() - gevuld, aantal - i);
                    if (f != nullptr) {
                        std::memcpy(verzamel.data() + gevuld, f + i, k * sizeof(float));
                    } else {
                        // A hole in the stream: the server lost data; keep time with silence.
                        std::fill_n(verzamel.data() + gevuld, k, 0.0F);
                    }
                    gevuld += k;
                    i += k;
                    if (gevuld == verzamel.size()) {
                        if (ruis) {
                            ruis->verwerk(verzamel.data(), frames);
                        }
                        blok(AudioBlok{tapFormaat, frames, kanalen.data(), tapFormaat.kanalen});
                        gevuld = 0;
                    }
                }
            }
            pa_stream_drop(p);
        }
    }

    void opGebeurtenis(pa_subscription_event_type_t t, std::uint32_t index) {
        bronBekend = false;
        if (!draait || gemeld) {
            return;
        }
        const auto soort = t & PA_SUBSCRIPTION_EVENT_FACILITY_MASK;
        const auto type = t & PA_SUBSCRIPTION_EVENT_TYPE_MASK;
        if (soort == PA_SUBSCRIPTION_EVENT_SERVER) {
            if (auto* op = pa_context_get_server_info(
                    ctx,
                    [](pa_context*, const pa_server_info* info, void* u) {
                        auto* s = static_cast<Staat*>(u);
                        const char* naam = info != nullptr && info->default_source_name != nullptr
                                               ? info->default_source_name
                                               : "";
                        if (info != nullptr && s->gevolgdeBron != naam) {
                            s->meld();
                        }
                    },
                    this)) {
                pa_operation_unref(op);
            }
        } else if (soort == PA_SUBSCRIPTION_EVENT_SOURCE && index == gevolgdeIndex) {
            if (type == PA_SUBSCRIPTION_EVENT_REMOVE) {
                meld();
            } else if (auto* op = pa_context_get_source_info_by_index(
                           ctx, index,
                           [](pa_context*, const pa_source_info* info, int, void* u) {
                               auto* s = static_cast<Staat*>(u);
                               if (info != nullptr &&
                                   formaatVan(info->sample_spec) != s->gevolgdFormaat) {
                                   s->meld();
                               }
                           },
                           this)) {
                pa_operation_unref(op);
            }
        }
    }
};

const std::error_category& PulseAudioEngine::categorie() noexcept {
    static const PulseCategorie categorie;
    return categorie;
}

PulseAudioEngine::PulseAudioEngine(const std::string& appNaam) : s_(std::make_unique<Staat>()) {
    s_->lus = pa_threaded_mainloop_new();
    if (s_->lus == nullptr) {
        throw std::system_error(PA_ERR_INTERNAL, categorie(), "pa_threaded_mainloop_new");
    }
    s_->appNaam = appNaam;
    if (pa_threaded_mainloop_start(s_->lus) < 0) {
        throw std::system_error(PA_ERR_INTERNAL, categorie(), "pa_threaded_mainloop_start");
    }
    const Slot slot(s_->lus);
    s_->verbind();
}

PulseAudioEngine::~PulseAudioEngine() = default;

InvoerFormaat PulseAudioEngine::invoerFormaat() {
    const Slot slot(s_->lus);
    s_->zorgVoorVerbinding();
    if (!s_->bronBekend) {
        s_->verversBron();
    }
    return s_->bronFormaat;
}

// The server converts for us, so the tap side always matches the source itself.
InvoerFormaat PulseAudioEngine::uitvoerFormaat() {
    return invoerFormaat();
}

AudioEngine::Transport PulseAudioEngine::standaardInvoerTransport() {
    const Slot slot(s_->lus);
    if (!s_->bronBekend) {
        s_->verversBron();
    }
    return s_->transport;
}

bool PulseAudioEngine::stemverwerking() {
    const Slot slot(s_->lus);
    return s_->stemverwerking;
}

void PulseAudioEngine::zetStemverwerking(bool aan) {
    const Slot slot(s_->lus);
    s_->stemverwerking = aan;
}

void PulseAudioEngine::reset() {
    const Slot slot(s_->lus);
    s_->bronBekend = false;
}

void PulseAudioEngine::installeerTap(std::uint32_t frames, const InvoerFormaat& formaat,
                                     TapBlok blok) {
    const Slot slot(s_->lus);
    s_->sloopStroom();
    s_->frames = frames;
    s_->tapFormaat = formaat;
    s_->verzamel.assign(static_cast<std::size_t>(frames) * formaat.kanalen, 0.0F);
    for (std::uint32_t c = 0; c < formaat.kanalen && c < PA_CHANNELS_MAX; ++c) {
        s_->kanalen[c] = s_->verzamel.data() + c;
    }
    s_->blok = std::move(blok);
    if (s_->draait) {
        s_->maakStroom();
    }
}

void PulseAudioEngine::verwijderTap() {
    const Slot slot(s_->lus);
    s_->sloopStroom();
    s_->blok = nullptr;
}

void PulseAudioEngine::start() {
    const Slot slot(s_->lus);
    s_->zorgVoorVerbinding();
    s_->gemeld = false;
    if (!s_->bronBekend) {
        s_->verversBron();
    }
    s_->gevolgdeBron = s_->bronNaam;
    s_->gevolgdeIndex = s_->bronIndex;
    s_->gevolgdFormaat = s_->bronFormaat;
    s_->maakStroom();
    s_->draait = true;
}

void PulseAudioEngine::stop() {
    const Slot slot(s_->lus);
    s_->sloopStroom();
    s_->draait = false;
}

void PulseAudioEngine::zetOpWijziging(std::function<void()> callback) {
    const Slot slot(s_->lus);
    s_->opWijziging = std::move(callback);
}

}  // namespace tolmo
