#pragma once

namespace tolmo {

// The recording indicator (panel and waveform) that shows while a dictation is under way.
// Main thread.
class OpnameIndicator {
  public:
    virtual ~OpnameIndicator() = default;
    virtual void toon() = 0;
    virtual void verberg() = 0;
};

}  // namespace tolmo
