#pragma once

#include <functional>
#include <utility>

#include "Tolmo/Sneltoetsen/ToetsBron.h"

namespace tolmo {

// The tap of a source that makes its events itself (the keyboards read, the desktop's
// shortcuts): it passes each one on while switched on. It stands in the source's slot while it
// lives, so the source reaches the one tap there is, and nothing after it is gone.
class DoorgeefTap final : public ToetsBron::Tap {
  public:
    DoorgeefTap(DoorgeefTap*& plek, ToetsBron::OpGebeurtenis op) : plek_(plek), op_(std::move(op)) {
        plek_ = this;
    }
    ~DoorgeefTap() override { plek_ = nullptr; }
    DoorgeefTap(const DoorgeefTap&) = delete;
    DoorgeefTap& operator=(const DoorgeefTap&) = delete;

    void zetAan() override { aan_ = true; }
    [[nodiscard]] bool isAan() const override { return aan_; }
    void geef(const ToetsBron::Gebeurtenis& g) const {
        if (aan_) {
            op_(g);
        }
    }

  private:
    DoorgeefTap*& plek_;
    ToetsBron::OpGebeurtenis op_;
    bool aan_ = false;
};

// A registration that is undone by running af when it goes.
class Afmelding final : public ToetsBron::Registratie {
  public:
    explicit Afmelding(std::function<void()> af) : af_(std::move(af)) {}
    ~Afmelding() override { af_(); }
    Afmelding(const Afmelding&) = delete;
    Afmelding& operator=(const Afmelding&) = delete;

  private:
    std::function<void()> af_;
};

}  // namespace tolmo
