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

double AudioMeting::niveauDB() const {
    if (aantalSamples <= 0 || !(somKwadraten > 0)) {
        return vloerDB;
    }
    const double db = 10.0 * std::log10(somKwadraten / static_cast<double>(aantalSamples));
    return std::isnan(db) ? vloerDB : std::max(db, vloerDB);
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

}  // namespace tolmo
