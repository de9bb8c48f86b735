#include "TolmoServer/AudioDuur.h"

#include <unistd.h>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/log.h>
#include <libavutil/mem.h>
}

#include <algorithm>
#include <array>
#include <cctype>
#include <cstring>
#include <mutex>
#include <utility>
#include <vector>

namespace tolmo::server {
namespace {

struct Bron {
    int fd;
    std::uint64_t begin;
    std::uint64_t lengte;
    std::uint64_t plek = 0;
};

int lees(void* opaque, std::uint8_t* buf, int n) {
    auto& b = *static_cast<Bron*>(opaque);
    const std::uint64_t over = b.lengte - std::min(b.plek, b.lengte);
    const auto gevraagd =
        static_cast<std::size_t>(std::min<std::uint64_t>(over, static_cast<std::uint64_t>(n)));
    if (gevraagd == 0) {
        return AVERROR_EOF;
    }
    const ssize_t r = ::pread(b.fd, buf, gevraagd, static_cast<off_t>(b.begin + b.plek));
    if (r <= 0) {
        return AVERROR_EOF;
    }
    b.plek += static_cast<std::uint64_t>(r);
    return static_cast<int>(r);
}

std::int64_t zoek(void* opaque, std::int64_t plek, int vanwaar) {
    auto& b = *static_cast<Bron*>(opaque);
    const auto lengte = static_cast<std::int64_t>(b.lengte);
    std::int64_t doel = 0;
    switch (vanwaar & ~AVSEEK_FORCE) {
        case AVSEEK_SIZE:
            return lengte;
        case SEEK_SET:
            doel = plek;
            break;
        case SEEK_CUR:
            doel = static_cast<std::int64_t>(b.plek) + plek;
            break;
        case SEEK_END:
            doel = lengte + plek;
            break;
        default:
            return -1;
    }
    if (doel < 0 || doel > lengte) {
        return -1;
    }
    b.plek = static_cast<std::uint64_t>(doel);
    return doel;
}

bool begintMet(std::string_view s, std::size_t plek, std::string_view met) {
    return s.size() >= plek + met.size() && s.substr(plek, met.size()) == met;
}

// What one audio stream's packets add up to, in its time base. The span of the timestamps
// covers containers whose packets carry no duration of their own (Opus in WebM).
struct Telling {
    std::int64_t som = 0;
    std::int64_t eerste = AV_NOPTS_VALUE;
    std::int64_t einde = AV_NOPTS_VALUE;
    // The last packet's start and the step before it: a packet without a duration of its own
    // (a fragmented MPEG-4's AAC) lasts until the next one, and the last one as long as the one
    // before it, so the span does not drop the final frame.
    std::int64_t vorige = AV_NOPTS_VALUE;
    std::int64_t stap = 0;
    bool gezien = false;
};

std::uint32_t woord(const unsigned char* p) {
    return p[0] | (p[1] << 8) | (p[2] << 16) | (static_cast<std::uint32_t>(p[3]) << 24);
}

// PCM in WAV (integer, float, A-law, mu-law) without libavformat: its packets are the bytes
// after the data chunk's start, one frame per block_align, so their duration is arithmetic.
// libavformat's WAV reader would also scan the first 64 KiB for S/PDIF, which cost more than
// all the rest of a short dictation's request. nullopt: not PCM WAV, for libavformat to read.
std::optional<double> pcmWav(int fd, std::uint64_t begin, std::uint64_t lengte) {
    unsigned char kop[40];
    std::uint64_t plek = 12;
    unsigned blok = 0;
    std::uint32_t tempo = 0;
    for (int stukken = 0; stukken < 64 && plek + 8 <= lengte; ++stukken) {
        if (::pread(fd, kop, sizeof kop, static_cast<off_t>(begin + plek)) < 8) {
            return std::nullopt;
        }
        const std::uint32_t grootte = woord(kop + 4);
        if (std::memcmp(kop, "fmt ", 4) == 0 && grootte >= 16 && plek + 24 <= lengte) {
            unsigned soort = kop[8] | (kop[9] << 8);
            if (soort == 0xfffe && grootte >= 40 && plek + 34 <= lengte) {
                soort = kop[32] | (kop[33] << 8);  // WAVE_FORMAT_EXTENSIBLE: the subformat's tag
            }
            if (soort != 1 && soort != 3 && soort != 6 && soort != 7) {
                return std::nullopt;
            }
            tempo = woord(kop + 12);
            blok = kop[20] | (kop[21] << 8);
        } else if (std::memcmp(kop, "data", 4) == 0) {
            if (blok == 0 || tempo == 0) {
                return std::nullopt;
            }
            const std::uint64_t frames = (lengte - plek - 8) / blok;
            return static_cast<double>(frames) / tempo;
        }
        plek += 8 + static_cast<std::uint64_t>(grootte) + (grootte & 1);
    }
    return std::nullopt;
}

}  // namespace

const char* AudioDuur::container(std::string_view b, std::string_view type) {
    const auto u = [&](std::size_t i) { return static_cast<unsigned char>(b[i]); };
    if ((begintMet(b, 0, "RIFF") || begintMet(b, 0, "RF64")) && begintMet(b, 8, "WAVE")) {
        return "wav";
    }
    if (begintMet(b, 0, "riff") && b.size() >= 16 && u(4) == 0x2e && u(5) == 0x91) {
        return "w64";
    }
    if (begintMet(b, 0, "fLaC")) {
        return "flac";
    }
    if (begintMet(b, 0, "OggS")) {
        return "ogg";
    }
    if (begintMet(b, 0, "\x1a\x45\xdf\xa3")) {
        return "matroska";
    }
    for (const char* doos : {"ftyp", "moov", "mdat", "free", "wide", "skip"}) {
        if (begintMet(b, 4, doos)) {
            return "mov";
        }
    }
    // An ID3 tag, or an MPEG audio frame's sync word with a layer (ADTS AAC has layer 0).
    if (begintMet(b, 0, "ID3") ||
        (b.size() >= 2 && u(0) == 0xff && (u(1) & 0xe0) == 0xe0 && (u(1) & 0x06) != 0)) {
        return "mp3";
    }
    // No container in the first bytes (an MP3 after some junk): the part's own type decides.
    std::string laag(type.substr(0, type.find(';')));
    std::transform(laag.begin(), laag.end(), laag.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    static constexpr std::array<std::pair<std::string_view, const char*>, 11> typen{{
        {"audio/mpeg", "mp3"},
        {"audio/mp3", "mp3"},
        {"audio/wav", "wav"},
        {"audio/x-wav", "wav"},
        {"audio/wave", "wav"},
        {"audio/flac", "flac"},
        {"audio/ogg", "ogg"},
        {"audio/webm", "matroska"},
        {"audio/mp4", "mov"},
        {"audio/m4a", "mov"},
        {"audio/x-m4a", "mov"},
    }};
    for (const auto& [naam, demuxer] : typen) {
        if (laag == naam) {
            return demuxer;
        }
    }
    return nullptr;
}

std::optional<double> AudioDuur::seconden(int fd, std::uint64_t begin, std::uint64_t lengte,
                                          std::string_view type) {
    static std::once_flag stil;
    std::call_once(stil, [] { av_log_set_level(AV_LOG_QUIET); });
    std::array<char, 16> eerste{};
    const ssize_t gelezen =
        lengte == 0 ? 0
                    : ::pread(fd, eerste.data(),
                              static_cast<std::size_t>(std::min<std::uint64_t>(lengte, 16)),
                              static_cast<off_t>(begin));
    const char* naam = container(
        std::string_view(eerste.data(), static_cast<std::size_t>(std::max<ssize_t>(0, gelezen))),
        type);
    if (naam && std::strcmp(naam, "wav") == 0) {
        if (const auto pcm = pcmWav(fd, begin, lengte)) {
            return *pcm > 0 ? pcm : std::nullopt;
        }
    }
    const AVInputFormat* formaat = naam ? av_find_input_format(naam) : nullptr;
    if (!formaat) {
        return std::nullopt;
    }
    Bron bron{fd, begin, lengte};
    constexpr int bufferGrootte = 64 * 1024;
    auto* buffer = static_cast<unsigned char*>(av_malloc(bufferGrootte));
    AVIOContext* io = avio_alloc_context(buffer, bufferGrootte, 0, &bron, lees, nullptr, zoek);
    if (!io) {
        av_free(buffer);
        return std::nullopt;
    }
    AVFormatContext* fc = avformat_alloc_context();
    fc->pb = io;
    fc->flags |= AVFMT_FLAG_CUSTOM_IO;
    // No protocol can be reached from a header (a reference in an M4A, a playlist).
    fc->protocol_whitelist = av_strdup("");
    AVDictionary* opties = nullptr;
    if (std::strcmp(naam, "wav") == 0) {
        // All the bytes after the data chunk's start are audio, whatever size its header
        // claims; in blocks of 256 KiB instead of 4 KiB.
        av_dict_set(&opties, "ignore_length", "1", 0);
        av_dict_set(&opties, "max_size", "262144", 0);
    }
    std::optional<double> uit;
    if (avformat_open_input(&fc, nullptr, formaat, &opties) == 0) {
        std::vector<Telling> tellingen(fc->nb_streams);
        for (unsigned i = 0; i < fc->nb_streams; ++i) {
            if (fc->streams[i]->codecpar->codec_type != AVMEDIA_TYPE_AUDIO) {
                fc->streams[i]->discard = AVDISCARD_ALL;
            }
        }
        AVPacket* pakket = av_packet_alloc();
        while (pakket && av_read_frame(fc, pakket) >= 0) {
            const auto i = static_cast<unsigned>(pakket->stream_index);
            const AVStream* s = i < fc->nb_streams ? fc->streams[i] : nullptr;
            if (s && s->codecpar->codec_type == AVMEDIA_TYPE_AUDIO && i < tellingen.size()) {
                auto& t = tellingen[i];
                std::int64_t duur = pakket->duration;
                if (duur <= 0 && s->codecpar->sample_rate > 0) {
                    const int monsters = av_get_audio_frame_duration2(s->codecpar, pakket->size);
                    duur = av_rescale_q(monsters, {1, s->codecpar->sample_rate}, s->time_base);
                }
                duur = std::max<std::int64_t>(0, duur);
                t.som += duur;
                t.gezien = true;
                if (pakket->pts != AV_NOPTS_VALUE) {
                    if (t.vorige != AV_NOPTS_VALUE && pakket->pts > t.vorige) {
                        t.stap = pakket->pts - t.vorige;
                    }
                    t.vorige = pakket->pts;
                    if (duur == 0) {
                        duur = t.stap;
                    }
                    t.eerste =
                        t.eerste == AV_NOPTS_VALUE ? pakket->pts : std::min(t.eerste, pakket->pts);
                    t.einde = t.einde == AV_NOPTS_VALUE ? pakket->pts + duur
                                                        : std::max(t.einde, pakket->pts + duur);
                }
            }
            av_packet_unref(pakket);
        }
        av_packet_free(&pakket);
        // The longest audio stream: whichever one the provider takes, it is not more.
        for (unsigned i = 0; i < tellingen.size(); ++i) {
            const auto& t = tellingen[i];
            if (!t.gezien) {
                continue;
            }
            const std::int64_t span = t.eerste == AV_NOPTS_VALUE ? 0 : t.einde - t.eerste;
            const double s =
                static_cast<double>(std::max(t.som, span)) * av_q2d(fc->streams[i]->time_base);
            uit = std::max(uit.value_or(0.0), s);
        }
        avformat_close_input(&fc);
    } else {
        avformat_free_context(fc);
    }
    av_dict_free(&opties);
    av_freep(&io->buffer);
    avio_context_free(&io);
    return uit;
}

}  // namespace tolmo::server
