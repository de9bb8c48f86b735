// Writes the sample recording for the README's main job, so that it exists after a build
// without any tool or network: 2.4 seconds of a 220 Hz tone at amplitude 0.1 (-23 dB), as
// 48 kHz stereo 16-bit WAV like a typical microphone, so that `tolmo dicteer` has to convert
// it. Usage: tolmo-voorbeeldopname PAD
#include <sndfile.h>

#include <cmath>
#include <iostream>
#include <numbers>
#include <vector>

int main(int argc, char** argv) {
    if (argc != 2) {
        std::cerr << "Gebruik: tolmo-voorbeeldopname PAD\n";
        return 2;
    }
    constexpr int rate = 48000;
    constexpr int kanalen = 2;
    constexpr double seconden = 2.4;
    constexpr auto frames = static_cast<std::size_t>(rate * seconden);
    std::vector<float> samples(frames * kanalen);
    for (std::size_t i = 0; i < frames; ++i) {
        const auto s = static_cast<float>(
            0.1 * std::sin(2 * std::numbers::pi * 220 * static_cast<double>(i) / rate));
        samples[i * kanalen] = s;
        samples[i * kanalen + 1] = s;
    }
    SF_INFO info{};
    info.samplerate = rate;
    info.channels = kanalen;
    info.format = SF_FORMAT_WAV | SF_FORMAT_PCM_16;
    SNDFILE* f = sf_open(argv[1], SFM_WRITE, &info);
    if (f == nullptr) {
        std::cerr << "Kon " << argv[1] << " niet schrijven: " << sf_strerror(nullptr) << "\n";
        return 1;
    }
    const auto geschreven = sf_writef_float(f, samples.data(), static_cast<sf_count_t>(frames));
    sf_close(f);
    return geschreven == static_cast<sf_count_t>(frames) ? 0 : 1;
}
