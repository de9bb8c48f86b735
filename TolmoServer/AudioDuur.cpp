#include "TolmoServer/AudioDuur.h"

#include <unistd.h>

extern "C" {
#include <libavformat/avformat.h>
#include <libavutil/log.h>
#include <libavutil/mem.h>
}

#include <algorithm>
#include <mutex>

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

}  // namespace

std::optional<double> AudioDuur::seconden(int fd, std::uint64_t begin, std::uint64_t lengte) {
    static std::once_flag stil;
    std::call_once(stil, [] { av_log_set_level(AV_LOG_QUIET); });
    if (lengte == 0) {
        return std::nullopt;
    }
    Bron bron{fd, begin, lengte};
    constexpr int bufferGrootte = 16 * 1024;
    auto* buffer = static_cast<unsigned char*>(av_malloc(bufferGrootte));
    AVIOContext* io = avio_alloc_context(buffer, bufferGrootte, 0, &bron, lees, nullptr, zoek);
    if (!io) {
        av_free(buffer);
        return std::nullopt;
    }
    AVFormatContext* fc = avformat_alloc_context();
    fc->pb = io;
    fc->flags |= AVFMT_FLAG_CUSTOM_IO;
    // Only containers people dictate into; no protocol can be reached from a header.
    fc->format_whitelist = av_strdup("wav,w64,mov,mp4,m4a,mp3,ogg,flac,matroska,webm");
    fc->protocol_whitelist = av_strdup("");
    fc->probesize = 1 << 20;
    std::optional<double> uit;
    if (avformat_open_input(&fc, nullptr, nullptr, nullptr) == 0) {
        if (fc->duration == AV_NOPTS_VALUE || fc->duration <= 0) {
            avformat_find_stream_info(fc, nullptr);
        }
        if (fc->duration != AV_NOPTS_VALUE && fc->duration > 0) {
            uit = static_cast<double>(fc->duration) / AV_TIME_BASE;
        } else {
            for (unsigned i = 0; i < fc->nb_streams; ++i) {
                const AVStream* s = fc->streams[i];
                if (s->duration != AV_NOPTS_VALUE && s->duration > 0) {
                    uit = static_cast<double>(s->duration) * av_q2d(s->time_base);
                }
            }
        }
        avformat_close_input(&fc);
    } else {
        avformat_free_context(fc);
    }
    av_freep(&io->buffer);
    avio_context_free(&io);
    return uit;
}

}  // namespace tolmo::server
