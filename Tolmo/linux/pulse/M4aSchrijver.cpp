#include "Tolmo/linux/pulse/M4aSchrijver.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

#include "TolmoKern/Audio/OpnameFout.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/channel_layout.h>
#include <libavutil/opt.h>
}

namespace tolmo {

namespace {

class FfmpegCategorie final : public std::error_category {
  public:
    [[nodiscard]] const char* name() const noexcept override { return "ffmpeg"; }
    [[nodiscard]] std::string message(int code) const override {
        char tekst[AV_ERROR_MAX_STRING_SIZE] = {};
        av_strerror(code, tekst, sizeof tekst);
        return tekst;
    }
};

// Room for a whole fragment (about 1 KB at 32 kbit/s) and the header, so that each reaches
// write(2) in one piece when it is flushed.
constexpr int avioBuffer = 64 * 1024;

}  // namespace

struct M4aSchrijver::Staat {
    int fd = -1;
    AVCodecContext* codec = nullptr;
    AVFormatContext* mux = nullptr;
    AVIOContext* io = nullptr;
    AVFrame* frame = nullptr;
    AVPacket* pakket = nullptr;
    int inFrame = 0;  // samples gathered in frame
    std::int64_t pts = 0;
    int framesInFragment = 0;
    std::uint64_t geschreven = 0;  // bytes handed to the file
    std::atomic<std::uint64_t> volledig{0};

    // Single producer (the audio thread), single consumer (the encoder thread). The positions
    // only grow; a sample's place in the ring is its position modulo the ring's size.
    std::vector<float> ring;
    std::atomic<std::uint64_t> ingevoerd{0};
    std::atomic<std::uint64_t> verwerkt{0};
    // Raised by the producer after new samples and by sluit; the encoder sleeps on it.
    std::atomic<std::uint32_t> signaal{0};
    std::atomic<bool> stoppen{false};
    // Raised by the encoder as it frees room, for a producer that waits for it (wachtOpRuimte).
    std::atomic<std::uint32_t> voortgang{0};
    bool wachtOpRuimte = false;
    // The first error of the encoder thread (an AVERROR), or overloop by the producer.
    std::atomic<int> fout{0};
    std::thread codeerder;
    bool gesloten = false;

    ~Staat() {
        if (io != nullptr) {
            av_freep(&io->buffer);
            avio_context_free(&io);
        }
        avformat_free_context(mux);
        avcodec_free_context(&codec);
        av_frame_free(&frame);
        av_packet_free(&pakket);
        if (fd >= 0) {
            ::close(fd);
        }
    }

    // The output context's only way out: appends, never seeks.
    static int schrijfNaarBestand(void* opaque, std::uint8_t* buf, int n) {
        auto* s = static_cast<Staat*>(opaque);
        int over = n;
        while (over > 0) {
            const ssize_t w = ::write(s->fd, buf + (n - over), static_cast<std::size_t>(over));
            if (w < 0) {
                if (errno == EINTR) {
                    continue;
                }
                return AVERROR(errno);
            }
            over -= static_cast<int>(w);
        }
        s->geschreven += static_cast<std::uint64_t>(n);
        return n;
    }

    int rondFragmentAf() {
        framesInFragment = 0;
        // A null packet tells the muxer to close the fragment it is gathering (moof + mdat).
        const int r = av_write_frame(mux, nullptr);
        if (r < 0) {
            return r;
        }
        avio_flush(io);
        if (io->error < 0) {
            return io->error;
        }
        volledig.store(geschreven, std::memory_order_release);
        return 0;
    }

    int muxPakketten() {
        for (;;) {
            int r = avcodec_receive_packet(codec, pakket);
            if (r == AVERROR(EAGAIN) || r == AVERROR_EOF) {
                return 0;
            }
            if (r < 0) {
                return r;
            }
            av_packet_rescale_ts(pakket, codec->time_base, mux->streams[0]->time_base);
            pakket->stream_index = 0;
            r = av_write_frame(mux, pakket);
            av_packet_unref(pakket);
            if (r < 0) {
                return r;
            }
            if (++framesInFragment >= fragmentFrames) {
                r = rondFragmentAf();
                if (r < 0) {
                    return r;
                }
            }
        }
    }

    // Encodes the gathered frame, or with leeg drains what the encoder holds back.
    int codeer(bool leeg) {
        int r = 0;
        if (leeg) {
            r = avcodec_send_frame(codec, nullptr);
        } else {
            frame->nb_samples = inFrame;
            frame->pts = pts;
            pts += inFrame;
            inFrame = 0;
            r = avcodec_send_frame(codec, frame);
        }
        return r < 0 ? r : muxPakketten();
    }

    // Moves what the ring holds into frames and encodes every full one.
    int neemUitRing() {
        const std::uint64_t tot = ingevoerd.load(std::memory_order_acquire);
        std::uint64_t van = verwerkt.load(std::memory_order_relaxed);
        const int grootte = codec->frame_size;
        while (van < tot) {
            // The encoder may still hold a reference to the last frame's buffer.
            if (inFrame == 0 && av_frame_make_writable(frame) < 0) {
                return AVERROR(ENOMEM);
            }
            const std::size_t plek = van % ring.size();
            const auto n = static_cast<std::size_t>(std::min<std::uint64_t>(
                {tot - van, static_cast<std::uint64_t>(grootte - inFrame), ring.size() - plek}));
            frame->nb_samples = grootte;
            std::memcpy(reinterpret_cast<float*>(frame->data[0]) + inFrame, ring.data() + plek,
                        n * sizeof(float));
            inFrame += static_cast<int>(n);
            van += n;
            verwerkt.store(van, std::memory_order_release);
            if (wachtOpRuimte) {
                voortgang.fetch_add(1, std::memory_order_release);
                voortgang.notify_one();
            }
            if (inFrame == grootte) {
                if (const int r = codeer(false); r < 0) {
                    return r;
                }
            }
        }
        return 0;
    }

    void werk() {
        for (;;) {
            const std::uint32_t gezien = signaal.load(std::memory_order_acquire);
            const bool laatste = stoppen.load(std::memory_order_acquire);
            if (fout.load(std::memory_order_relaxed) == 0) {
                if (const int r = neemUitRing(); r < 0) {
                    fout.store(r, std::memory_order_relaxed);
                    // A writer waiting for room would wait forever.
                    voortgang.fetch_add(1, std::memory_order_release);
                    voortgang.notify_one();
                }
            }
            if (laatste) {
                return;
            }
            signaal.wait(gezien, std::memory_order_acquire);
        }
    }

    // The tail: the last, shorter frame, what the encoder held back for its look-ahead, the last
    // fragment and the fragment index. With an earlier failure the file is still closed up to
    // the last good fragment.
    bool rondAf() {
        int r = fout.load(std::memory_order_relaxed);
        if (r == 0 && inFrame > 0) {
            r = codeer(false);
        }
        if (r == 0) {
            r = codeer(true);
        }
        const int trailer = av_write_trailer(mux);
        avio_flush(io);
        bool goed = r == 0 && trailer >= 0 && io->error >= 0;
        if (goed) {
            volledig.store(geschreven, std::memory_order_release);
        }
        goed = ::close(fd) == 0 && goed;
        fd = -1;
        return goed;
    }
};

const std::error_category& M4aSchrijver::categorie() noexcept {
    static const FfmpegCategorie categorie;
    return categorie;
}

std::error_code M4aSchrijver::foutcode(int averror) noexcept {
    // AVERROR(e) is -e for every errno value; FFmpeg's own codes are tags far outside that range.
    if (averror < 0 && averror > -4096) {
        return {-averror, std::generic_category()};
    }
    return {averror, categorie()};
}

std::unique_ptr<AudioSchrijver> M4aSchrijver::Maker::open(const std::filesystem::path& pad,
                                                          AudioFormaat formaat) {
    const SchrijfInstellingen inst = schrijfInstellingen(formaat);
    if (inst.codering != SchrijfInstellingen::Codering::aac || !inst.bitRate) {
        throw OpnameFout::omzetten();
    }
    // The encoder reports its statistics on stderr when it closes, which would land between
    // the command-line tool's own lines; errors still come through.
    static const bool stil = (av_log_set_level(AV_LOG_ERROR), true);
    (void)stil;
    auto s = std::make_unique<Staat>();
    s->wachtOpRuimte = tempo_ == Tempo::bestand;
    const AVCodec* aac = avcodec_find_encoder(AV_CODEC_ID_AAC);
    s->codec = aac != nullptr ? avcodec_alloc_context3(aac) : nullptr;
    if (s->codec == nullptr) {
        throw OpnameFout::omzetten();
    }
    s->codec->sample_fmt = AV_SAMPLE_FMT_FLTP;
    s->codec->sample_rate = static_cast<int>(inst.sampleRate);
    av_channel_layout_default(&s->codec->ch_layout, inst.kanalen);
    s->codec->bit_rate = *inst.bitRate;
    s->codec->time_base = AVRational{1, s->codec->sample_rate};
    // MPEG-4 keeps the decoder configuration in the header, not in every packet.
    s->codec->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    if (avcodec_open2(s->codec, aac, nullptr) < 0 || s->codec->frame_size <= 0) {
        throw OpnameFout::omzetten();
    }

    s->frame = av_frame_alloc();
    s->pakket = av_packet_alloc();
    if (s->frame == nullptr || s->pakket == nullptr) {
        throw OpnameFout::omzetten();
    }
    s->frame->format = AV_SAMPLE_FMT_FLTP;
    s->frame->sample_rate = s->codec->sample_rate;
    s->frame->nb_samples = s->codec->frame_size;
    if (av_channel_layout_copy(&s->frame->ch_layout, &s->codec->ch_layout) < 0 ||
        av_frame_get_buffer(s->frame, 0) < 0) {
        throw OpnameFout::omzetten();
    }

    // "ipod" is the MPEG-4 muxer with the M4A brand.
    if (avformat_alloc_output_context2(&s->mux, nullptr, "ipod", pad.c_str()) < 0) {
        throw OpnameFout::omzetten();
    }
    AVStream* stroom = avformat_new_stream(s->mux, nullptr);
    if (stroom == nullptr || avcodec_parameters_from_context(stroom->codecpar, s->codec) < 0) {
        throw OpnameFout::omzetten();
    }
    stroom->time_base = s->codec->time_base;

    s->fd = ::open(pad.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    if (s->fd < 0) {
        throw std::system_error(errno, std::generic_category(), pad.string());
    }
    auto* buffer = static_cast<std::uint8_t*>(av_malloc(avioBuffer));
    s->io = buffer != nullptr ? avio_alloc_context(buffer, avioBuffer, 1, s.get(), nullptr,
                                                   &Staat::schrijfNaarBestand, nullptr)
                              : nullptr;
    if (s->io == nullptr) {
        av_free(buffer);
        throw std::system_error(std::make_error_code(std::errc::not_enough_memory), pad.string());
    }
    s->io->seekable = 0;
    s->mux->pb = s->io;
    s->mux->flags |= AVFMT_FLAG_CUSTOM_IO;

    // Fragments are cut by us (frag_custom) after a moov without samples (empty_moov); each
    // fragment's offsets are relative to its own moof, so no fragment refers back into the file.
    AVDictionary* opties = nullptr;
    av_dict_set(&opties, "movflags", "+frag_custom+empty_moov+default_base_moof", 0);
    const int kop = avformat_write_header(s->mux, &opties);
    av_dict_free(&opties);
    if (kop < 0) {
        throw std::system_error(foutcode(kop), pad.string());
    }
    avio_flush(s->io);
    if (s->io->error < 0) {
        throw std::system_error(foutcode(s->io->error), pad.string());
    }
    s->volledig.store(s->geschreven, std::memory_order_release);
    s->ring.resize(static_cast<std::size_t>(ringSeconden * s->codec->sample_rate));
    return std::unique_ptr<AudioSchrijver>(new M4aSchrijver(std::move(s)));
}

M4aSchrijver::M4aSchrijver(std::unique_ptr<Staat> staat) : s_(std::move(staat)) {
    s_->codeerder = std::thread([s = s_.get()] { s->werk(); });
}

M4aSchrijver::~M4aSchrijver() {
    sluit();
}

std::uint64_t M4aSchrijver::volledigeBytes() const noexcept {
    return s_->volledig.load(std::memory_order_acquire);
}

void M4aSchrijver::schrijf(std::span<const float> samples, std::error_code& fout) noexcept {
    Staat& s = *s_;
    if (s.gesloten) {
        fout = std::make_error_code(std::errc::bad_file_descriptor);
        return;
    }
    const auto vrij = [&s] {
        return s.ring.size() - (s.ingevoerd.load(std::memory_order_relaxed) -
                                s.verwerkt.load(std::memory_order_acquire));
    };
    if (!s.wachtOpRuimte && samples.size() > vrij()) {
        // The encoder is seconds behind: rather a recording marked incomplete than a gap in it.
        s.fout.store(AVERROR(ENOBUFS), std::memory_order_relaxed);
    }
    while (!samples.empty()) {
        const std::uint32_t gezien = s.voortgang.load(std::memory_order_acquire);
        if (const int r = s.fout.load(std::memory_order_relaxed); r != 0) {
            fout = foutcode(r);
            return;
        }
        const std::size_t n = std::min<std::size_t>(samples.size(), vrij());
        if (n == 0) {
            s.voortgang.wait(gezien, std::memory_order_acquire);
            continue;
        }
        const std::uint64_t van = s.ingevoerd.load(std::memory_order_relaxed);
        const std::size_t plek = van % s.ring.size();
        const std::size_t eerste = std::min(n, s.ring.size() - plek);
        std::memcpy(s.ring.data() + plek, samples.data(), eerste * sizeof(float));
        std::memcpy(s.ring.data(), samples.data() + eerste, (n - eerste) * sizeof(float));
        s.ingevoerd.store(van + n, std::memory_order_release);
        s.signaal.fetch_add(1, std::memory_order_release);
        s.signaal.notify_one();
        samples = samples.subspan(n);
    }
}

bool M4aSchrijver::sluit() noexcept {
    Staat& s = *s_;
    if (s.gesloten) {
        return true;
    }
    s.gesloten = true;
    s.stoppen.store(true, std::memory_order_release);
    s.signaal.fetch_add(1, std::memory_order_release);
    s.signaal.notify_one();
    s.codeerder.join();
    return s.rondAf();
}

}  // namespace tolmo
