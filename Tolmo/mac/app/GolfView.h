#pragma once

#include <array>
#include <cstddef>
#include <functional>
#include <memory>
#include <string>

namespace tolmo {

// The waveform of the recording indicator: a Metal view that compiles the shader source at run
// time, draws one full-screen triangle per frame with the uniform block as fragment bytes at
// index 0, and blends premultiplied alpha. Where Metal or the pipeline is not available it shows
// a horizontal gradient instead. What the wave looks like is decided by the portable animation,
// which fills the uniform block each frame; this view only hands it to the GPU.
class GolfView {
  public:
    static constexpr std::size_t uniformGrootte = 96;
    using Uniformen = std::array<std::byte, uniformGrootte>;
    // Drawable size in pixels and the frame's time in seconds (CACurrentMediaTime).
    using Beeld = std::function<Uniformen(float breedte, float hoogte, double nu)>;

    GolfView(const std::string& shaderBron, Beeld beeld);
    ~GolfView();
    GolfView(const GolfView&) = delete;
    GolfView& operator=(const GolfView&) = delete;

    // The NSView to place in a window (bridged from the view's own pointer).
    [[nodiscard]] void* nsView() const;
    [[nodiscard]] bool metMetal() const;
    // Stops the frame clock while nothing moves (the indicator is hidden).
    void pauzeer(bool gepauzeerd);

    struct Staat;

  private:
    std::unique_ptr<Staat> s_;
};

}  // namespace tolmo
