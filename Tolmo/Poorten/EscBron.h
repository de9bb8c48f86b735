#pragma once

#include <functional>

namespace tolmo {

// Esc while recording. The controller arms it when a recording starts and disarms it when the
// recording ends, so a shell that has to grab the key (X11) holds it only then and no other app
// loses its Esc. Main thread; opEsc is called on the main thread.
class EscBron {
  public:
    virtual ~EscBron() = default;
    virtual void wacht(std::function<void()> opEsc) = 0;
    virtual void stopWachten() = 0;
};

}  // namespace tolmo
