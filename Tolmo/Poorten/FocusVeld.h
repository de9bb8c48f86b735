#pragma once

#include <memory>

namespace tolmo {

// The focused UI element of an app, as an opaque handle the platform fills in: an accessibility
// element on macOS, a window on X11. Two handles are equal when the platform says they stand for
// the same element (on macOS: CFEqual), not when they are the same object.
class FocusVeld {
  public:
    class Identiteit {
      public:
        virtual ~Identiteit() = default;
        [[nodiscard]] virtual bool gelijkAan(const Identiteit& ander) const = 0;
    };

    explicit FocusVeld(std::shared_ptr<const Identiteit> identiteit)
        : identiteit_(std::move(identiteit)) {}

    bool operator==(const FocusVeld& ander) const {
        if (identiteit_ == ander.identiteit_) {
            return true;
        }
        return identiteit_ && ander.identiteit_ && identiteit_->gelijkAan(*ander.identiteit_);
    }

    [[nodiscard]] const Identiteit* identiteit() const { return identiteit_.get(); }

  private:
    std::shared_ptr<const Identiteit> identiteit_;
};

}  // namespace tolmo
