#include "TolmoKern/Audio/NiveauVolger.h"

#include <algorithm>
#include <cmath>

namespace tolmo {

float NiveauVolger::doel(double dB) noexcept {
    const double t = (dB - stilDB) / bereikDB;
    if (!(t > 0)) {
        return 0.0F;
    }
    return static_cast<float>(std::min(t, 1.0));
}

float NiveauVolger::volg(double dB) noexcept {
    const float t = doel(dB);
    waarde_ += (t - waarde_) * (t > waarde_ ? stijgen : dalen);
    return waarde_;
}

}  // namespace tolmo
