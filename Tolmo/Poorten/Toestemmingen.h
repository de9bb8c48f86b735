#pragma once

namespace tolmo {

// The privacy permissions the app depends on, read fresh on every call (the user can change
// them while the app runs).
class Toestemmingen {
  public:
    virtual ~Toestemmingen() = default;
    [[nodiscard]] virtual bool microfoon() const = 0;
    [[nodiscard]] virtual bool invoermonitoring() const = 0;
    [[nodiscard]] virtual bool toegankelijkheid() const = 0;
};

}  // namespace tolmo
