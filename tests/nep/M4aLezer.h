#pragma once

#include <cmath>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
}

namespace tolmo::nep {

// An audio file as libavformat and libavcodec read it back: what the container says and every
// sample its first audio stream decodes to. Tests that use it link PkgConfig::AVFORMAT.
struct GelezenAudio {
    std::string codec;
    int sampleRate = 0;
    int kanalen = 0;
    double containerDuur = 0;  // seconds, as the demuxer reports it
    std::vector<float> samples;

    [[nodiscard]] double duur() const {
        return sampleRate == 0 ? 0.0 : static_cast<double>(samples.size()) / sampleRate;
    }
    // Of `aantal` samples from `van` (as many as there are).
    [[nodiscard]] double rms(std::size_t van = 0, std::size_t aantal = SIZE_MAX) const {
        double som = 0;
        std::size_t n = 0;
        for (std::size_t i = van; i < samples.size() && n < aantal; ++i, ++n) {
            som += double{samples[i]} * samples[i];
        }
        return n == 0 ? 0.0 : std::sqrt(som / static_cast<double>(n));
    }
};

// nullopt with FFmpeg's reason in `fout` when the file does not open or decode.
inline std::optional<GelezenAudio> leesAudio(const std::filesystem::path& pad, std::string& fout) {
    AVFormatContext* f = nullptr;
    const auto mis = [&](const char* stap, int r) {
        char tekst[AV_ERROR_MAX_STRING_SIZE] = {};
        av_strerror(r, tekst, sizeof tekst);
        fout = std::string(stap) + ": " + tekst;
        avformat_close_input(&f);
        return std::nullopt;
    };
    int r = avformat_open_input(&f, pad.c_str(), nullptr, nullptr);
    if (r < 0) {
        return mis("openen", r);
    }
    if ((r = avformat_find_stream_info(f, nullptr)) < 0) {
        return mis("stroominfo", r);
    }
    const AVCodec* codec = nullptr;
    const int index = av_find_best_stream(f, AVMEDIA_TYPE_AUDIO, -1, -1, &codec, 0);
    if (index < 0) {
        return mis("audiostroom", index);
    }
    const AVStream* st = f->streams[index];
    GelezenAudio a;
    a.codec = avcodec_get_name(st->codecpar->codec_id);
    a.sampleRate = st->codecpar->sample_rate;
    a.kanalen = st->codecpar->ch_layout.nb_channels;
    a.containerDuur =
        st->duration > 0 ? static_cast<double>(st->duration) * av_q2d(st->time_base) : 0.0;

    AVCodecContext* c = avcodec_alloc_context3(codec);
    avcodec_parameters_to_context(c, st->codecpar);
    AVPacket* pakket = av_packet_alloc();
    AVFrame* frame = av_frame_alloc();
    r = avcodec_open2(c, codec, nullptr);
    const auto ontvang = [&] {
        while (avcodec_receive_frame(c, frame) >= 0) {
            // Only planar float (AAC's) or interleaved 16-bit: enough for what tests read.
            for (int i = 0; i < frame->nb_samples; ++i) {
                a.samples.push_back(
                    frame->format == AV_SAMPLE_FMT_FLTP
                        ? reinterpret_cast<const float*>(frame->data[0])[i]
                        : reinterpret_cast<const std::int16_t*>(frame->data[0])[i * a.kanalen] /
                              32768.0F);
            }
        }
    };
    while (r >= 0 && av_read_frame(f, pakket) >= 0) {
        if (pakket->stream_index == index) {
            r = avcodec_send_packet(c, pakket);
            ontvang();
        }
        av_packet_unref(pakket);
    }
    if (r >= 0) {
        avcodec_send_packet(c, nullptr);
        ontvang();
    }
    av_frame_free(&frame);
    av_packet_free(&pakket);
    avcodec_free_context(&c);
    if (r < 0) {
        return mis("decoderen", r);
    }
    avformat_close_input(&f);
    return a;
}

}  // namespace tolmo::nep
