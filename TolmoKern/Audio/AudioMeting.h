#pragma once

#include <cstddef>
#include <cstdint>

namespace tolmo {

// Running measurement of everything captured in one recording. Duration stays exact across a
// change of sample rate: the time at earlier rates is banked in duurVoorWissel.
struct AudioMeting {
    static constexpr double vloerDB = -160.0;

    double sampleRate = 0;
    std::int64_t aantalSamples = 0;
    double somKwadraten = 0;
    double duurVoorWissel = 0;
    std::int64_t samplesVoorWissel = 0;

    [[nodiscard]] double duur() const;
    // 10·log10(mean square), floored at -160 dB (also for no samples or a zero sum).
    [[nodiscard]] double niveauDB() const;
    // Registers the rate of the buffers now arriving; r <= 0 or the current rate is ignored.
    void registreerSampleRate(double r);
    // Counts one buffer of the given rate whose samples have the given sum of squares.
    void telBuffer(double rate, std::int64_t frames, double somKwadratenBuffer);

    // The level of any run of samples, with the same floor.
    [[nodiscard]] static double niveauDB(double somKwadraten, std::int64_t aantal);
    // Sum of squares of n samples that lie `stap` floats apart (interleaved audio has
    // stap == channels). Accumulates in double so long recordings lose nothing.
    [[nodiscard]] static double somKwadratenVan(const float* samples, std::size_t n,
                                                std::size_t stap = 1) noexcept;

    bool operator==(const AudioMeting&) const = default;
};

}  // namespace tolmo
