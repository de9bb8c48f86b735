#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>

#include "Tolmo/GolfView/GolfAnimatie.h"
#include "Tolmo/GolfView/GolfBeeld.h"
#include "Tolmo/Poorten/OpnameIndicator.h"
#include "Tolmo/linux/wayland/WaylandVerbinding.h"

struct wl_buffer;
struct wl_callback;
struct wl_compositor;
struct wl_shm;
struct wl_surface;
struct zwlr_layer_shell_v1;
struct zwlr_layer_surface_v1;

namespace tolmo {

// The recording indicator as a layer-shell surface on the overlay layer, where the compositor
// offers one (wlroots compositors, KWin): a strip at the bottom of the screen that takes no
// keyboard input and no pointer input, so it can never take the focus from the app the text is
// for. The wave is drawn on the CPU into shared-memory buffers, one frame per frame callback of
// the compositor while shown, none while hidden.
class WaylandIndicator final : public OpnameIndicator {
  public:
    // The connection and the animation must outlive the indicator.
    WaylandIndicator(WaylandVerbinding& verbinding, GolfAnimatie& golf);
    ~WaylandIndicator() override;
    WaylandIndicator(const WaylandIndicator&) = delete;
    WaylandIndicator& operator=(const WaylandIndicator&) = delete;

    // Whether the compositor offers the layer shell and shared memory.
    [[nodiscard]] bool beschikbaar() const { return laag_ != nullptr && shm_ != nullptr; }

    void toon() override;
    void verberg() override;
    // The strip's colour: light or dark, as the settings say.
    void zetLicht(bool licht) { licht_ = licht; }

    // Frames put on the screen since the last toon(); the compositor's pace shows in it.
    [[nodiscard]] std::size_t getekend() const { return getekend_; }

    static constexpr int breedte = 280;
    static constexpr int hoogte = 56;

  private:
    struct Buffer {
        wl_buffer* buffer = nullptr;
        std::uint8_t* pixels = nullptr;
        bool bezet = false;
    };

    void maakBuffers();
    void teken();

    static void opConfigure(void* data, zwlr_layer_surface_v1* oppervlak, std::uint32_t serie,
                            std::uint32_t b, std::uint32_t h);
    static void opGesloten(void* data, zwlr_layer_surface_v1* oppervlak);
    static void opFrame(void* data, wl_callback* callback, std::uint32_t tijd);
    static void opVrij(void* data, wl_buffer* buffer);

    WaylandVerbinding& verbinding_;
    GolfAnimatie& golf_;
    GolfBeeld beeld_{breedte, hoogte};
    wl_compositor* compositor_ = nullptr;
    wl_shm* shm_ = nullptr;
    zwlr_layer_shell_v1* laag_ = nullptr;
    wl_surface* oppervlak_ = nullptr;
    zwlr_layer_surface_v1* laagOppervlak_ = nullptr;
    wl_callback* frame_ = nullptr;
    // Two, so one can be drawn while the compositor still reads the other.
    std::array<Buffer, 2> buffers_{};
    void* geheugen_ = nullptr;
    std::size_t grootte_ = 0;
    bool geconfigureerd_ = false;
    bool licht_ = false;
    std::size_t getekend_ = 0;
};

}  // namespace tolmo
