#pragma once

#include <cmath>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <string>
#include <vector>

namespace tolmo::nep {

// Reads a PCM WAV file written by the recorder and checks its header against the file: the RIFF
// size and the data chunk size must both agree with the bytes actually on disk, which is what a
// writer that forgets to finish its header gets wrong.
struct WavBestand {
    std::uint16_t formaatCode = 0;  // 1 = PCM
    std::uint16_t kanalen = 0;
    std::uint32_t sampleRate = 0;
    std::uint16_t bits = 0;
    std::vector<float> samples;  // first channel, scaled to -1…1

    [[nodiscard]] double duur() const {
        return sampleRate == 0 ? 0.0 : static_cast<double>(samples.size()) / sampleRate;
    }
    [[nodiscard]] double rms(std::size_t van = 0) const {
        double som = 0;
        for (std::size_t i = van; i < samples.size(); ++i) {
            som += double{samples[i]} * samples[i];
        }
        return samples.size() > van ? std::sqrt(som / static_cast<double>(samples.size() - van))
                                    : 0.0;
    }
};

// nullopt with the reason in `fout` when the file is not a consistent 16-bit PCM WAV.
inline std::optional<WavBestand> leesWav(const std::filesystem::path& pad, std::string& fout) {
    std::ifstream in(pad, std::ios::binary);
    const std::vector<unsigned char> b((std::istreambuf_iterator<char>(in)),
                                       std::istreambuf_iterator<char>());
    auto u32 = [&](std::size_t i) {
        return static_cast<std::uint32_t>(b[i] | (b[i + 1] << 8U) | (b[i + 2] << 16U) |
                                          (static_cast<std::uint32_t>(b[i + 3]) << 24U));
    };
    auto u16 = [&](std::size_t i) { return static_cast<std::uint16_t>(b[i] | (b[i + 1] << 8U)); };
    if (b.size() < 12 || std::memcmp(b.data(), "RIFF", 4) != 0 ||
        std::memcmp(b.data() + 8, "WAVE", 4) != 0) {
        fout = "geen RIFF/WAVE";
        return std::nullopt;
    }
    if (u32(4) != b.size() - 8) {
        fout = "RIFF-grootte " + std::to_string(u32(4)) + " past niet bij bestand van " +
               std::to_string(b.size()) + " bytes";
        return std::nullopt;
    }
    WavBestand w;
    bool fmt = false;
    std::size_t i = 12;
    while (i + 8 <= b.size()) {
        const std::string id(reinterpret_cast<const char*>(b.data() + i), 4);
        const std::uint32_t grootte = u32(i + 4);
        const std::size_t begin = i + 8;
        if (begin + grootte > b.size()) {
            fout = "chunk " + id + " loopt voorbij het einde";
            return std::nullopt;
        }
        if (id == "fmt ") {
            w.formaatCode = u16(begin);
            w.kanalen = u16(begin + 2);
            w.sampleRate = u32(begin + 4);
            w.bits = u16(begin + 14);
            fmt = true;
        } else if (id == "data") {
            if (!fmt || w.bits != 16 || w.kanalen == 0) {
                fout = "data zonder 16-bit fmt";
                return std::nullopt;
            }
            if (begin + grootte != b.size() && begin + grootte + 1 != b.size()) {
                fout = "data-grootte past niet bij het bestand";
                return std::nullopt;
            }
            const std::size_t frames = grootte / (2U * w.kanalen);
            for (std::size_t f = 0; f < frames; ++f) {
                const auto s = static_cast<std::int16_t>(u16(begin + f * 2U * w.kanalen));
                w.samples.push_back(static_cast<float>(s) / 32768.0F);
            }
            return w;
        }
        i = begin + grootte + (grootte & 1U);
    }
    fout = "geen data-chunk";
    return std::nullopt;
}

}  // namespace tolmo::nep
