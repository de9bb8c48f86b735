#include "TolmoKern/Audio/AudioMeting.h"

#include <algorithm>
#include <cmath>

namespace tolmo {

double AudioMeting::duur() const {
    if (sampleRate > 0) {
        return duurVoorWissel + static_cast<double>(aantalSamples - samplesVoorWissel) / sampleRate;
    }
    return duurVoorWissel;
}

double AudioMeting::niveauDB(double som, std::int64_t aantal) {
    if (aantal <= 0 || !(som > 0)) {
        return vloerDB;
    }
    const double db = 10.0 * std::log10(som / static_cast<double>(aantal));
    return std::isnan(db) ? vloerDB : std::max(db, vloerDB);
}

double AudioMeting::niveauDB() const {
    return niveauDB(somKwadraten, aantalSamples);
}

void AudioMeting::registreerSampleRate(double r) {
    if (!(r > 0) || r == sampleRate) {
        return;
    }
    if (sampleRate > 0) {
        duurVoorWissel += static_cast<double>(aantalSamples - samplesVoorWissel) / sampleRate;
    }
    samplesVoorWissel = aantalSamples;
    sampleRate = r;
}

void AudioMeting::telBuffer(double rate, std::int64_t frames, double somKwadratenBuffer) {
    registreerSampleRate(rate);
    aantalSamples += frames;
    somKwadraten += somKwadratenBuffer;
}

double AudioMeting::somKwadratenVan(const float* samples, std::size_t n,
                                    std::size_t stap) noexcept {
    // Four partial sums let the compiler keep several multiply-adds in flight.
    double a = 0, b = 0, c = 0, d = 0;
    std::size_t i = 0;
    for (; i + 4 <= n; i += 4) {
        const double s0 = samples[i * stap];
        const double s1 = samples[(i + 1) * stap];
        const double s2 = samples[(i + 2) * stap];
        const double s3 = samples[(i + 3) * stap];
        a += s0 * s0;
        b += s1 * s1;
        c += s2 * s2;
        d += s3 * s3;
    }
    for (; i < n; ++i) {
        const double s = samples[i * stap];
        a += s * s;
    }
    return (a + b) + (c + d);
}

}  // namespace tolmo
