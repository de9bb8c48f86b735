#pragma once

#include <functional>
#include <memory>

#include "Tolmo/Poorten/OpnameIndicator.h"
#include "Tolmo/mac/app/GolfView.h"

namespace tolmo {

// The recording indicator: a small borderless panel that floats above other windows on every
// space, never takes focus or clicks (the user keeps typing where they were), and holds the
// waveform. Shown and hidden by the controller; opVeranderd tells the shell the state moved on.
class OpnamePaneel final : public OpnameIndicator {
  public:
    explicit OpnamePaneel(std::unique_ptr<GolfView> golf);
    ~OpnamePaneel() override;
    OpnamePaneel(const OpnamePaneel&) = delete;
    OpnamePaneel& operator=(const OpnamePaneel&) = delete;

    void toon() override;
    void verberg() override;

    std::function<void()> opVeranderd;

    struct Staat;

  private:
    std::unique_ptr<Staat> s_;
};

}  // namespace tolmo
