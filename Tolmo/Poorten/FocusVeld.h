#pragma once

#include <memory>

#include "TolmoKern/Opschonen/Stijl.h"

namespace tolmo {

// The focused UI element of an app, as an opaque handle the platform fills in: an accessibility
// element on macOS and where AT-SPI answers on Linux, else a window on X11. Two handles are equal
// when the platform says they stand for the same element (on macOS: CFEqual), not when they are
// the same object.
class FocusVeld {
  public:
    class Identiteit {
      public:
        virtual ~Identiteit() = default;
        [[nodiscard]] virtual bool gelijkAan(const Identiteit& ander) const = 0;
        // What the platform could tell of the field when it was captured. A handle that knows
        // nothing of the field (a bare window) says an ordinary field, not a secret one.
        [[nodiscard]] virtual InvoerSoort soort() const { return InvoerSoort::gewoon; }
        // A password field: its text must never be pasted.
        [[nodiscard]] virtual bool geheim() const { return false; }
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
    [[nodiscard]] InvoerSoort soort() const {
        return identiteit_ ? identiteit_->soort() : InvoerSoort::gewoon;
    }
    [[nodiscard]] bool geheim() const { return identiteit_ && identiteit_->geheim(); }

  private:
    std::shared_ptr<const Identiteit> identiteit_;
};

}  // namespace tolmo
