#pragma once

namespace tolmo {

// Turns buffer levels in dB into the smoothed 0…1 level the recording indicator draws: fast
// attack so speech shows at once, slower release so the wave does not flicker between words.
class NiveauVolger {
  public:
    static constexpr double stilDB = -60.0;   // at or below: 0
    static constexpr double bereikDB = 50.0;  // -10 dB and louder: 1
    static constexpr float stijgen = 0.6F;
    static constexpr float dalen = 0.25F;

    // (dB + 60) / 50, clamped to 0…1 (NaN counts as silence).
    [[nodiscard]] static float doel(double dB) noexcept;

    // Moves the level towards the target of this buffer and returns it.
    float volg(double dB) noexcept;
    [[nodiscard]] float waarde() const noexcept { return waarde_; }
    void herstel() noexcept { waarde_ = 0; }

  private:
    float waarde_ = 0;
};

}  // namespace tolmo
