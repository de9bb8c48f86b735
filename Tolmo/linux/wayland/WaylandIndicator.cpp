#include "Tolmo/linux/wayland/WaylandIndicator.h"

#include <sys/mman.h>
#include <unistd.h>
#include <wayland-client.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstring>

#include "wlr-layer-shell-unstable-v1-client-protocol.h"

namespace tolmo {
namespace {

constexpr int stap = WaylandIndicator::breedte * 4;
constexpr std::size_t beeldGrootte = static_cast<std::size_t>(stap) * WaylandIndicator::hoogte;
// Above the bottom edge, clear of a panel there.
constexpr int marge = 48;

// Whether a pixel's centre lies inside the pill (a rectangle with half-circle ends).
bool inPil(int x, int y) {
    const float r = WaylandIndicator::hoogte / 2.0F;
    const float cx = static_cast<float>(x) + 0.5F;
    const float cy = static_cast<float>(y) + 0.5F;
    const float dx = std::max({r - cx, 0.0F, cx - (WaylandIndicator::breedte - r)});
    const float dy = cy - r;
    return dx * dx + dy * dy <= r * r;
}

}  // namespace

WaylandIndicator::WaylandIndicator(WaylandVerbinding& verbinding, GolfAnimatie& golf)
    : verbinding_(verbinding), golf_(golf) {
    compositor_ = static_cast<wl_compositor*>(verbinding_.bind(wl_compositor_interface, 4));
    shm_ = static_cast<wl_shm*>(verbinding_.bind(wl_shm_interface, 1));
    laag_ = static_cast<zwlr_layer_shell_v1*>(verbinding_.bind(zwlr_layer_shell_v1_interface, 2));
}

WaylandIndicator::~WaylandIndicator() {
    verberg();
    for (Buffer& b : buffers_) {
        if (b.buffer != nullptr) {
            wl_buffer_destroy(b.buffer);
        }
    }
    if (geheugen_ != nullptr) {
        ::munmap(geheugen_, grootte_);
    }
    if (laag_ != nullptr) {
        zwlr_layer_shell_v1_destroy(laag_);
    }
    if (shm_ != nullptr) {
        wl_shm_destroy(shm_);
    }
    if (compositor_ != nullptr) {
        wl_compositor_destroy(compositor_);
    }
    wl_display_flush(verbinding_.display());
}

void WaylandIndicator::maakBuffers() {
    if (buffers_[0].buffer != nullptr) {
        return;
    }
    const int fd = ::memfd_create("tolmo-indicator", MFD_CLOEXEC);
    grootte_ = 2 * beeldGrootte;
    if (fd < 0 || ::ftruncate(fd, static_cast<off_t>(grootte_)) != 0) {
        if (fd >= 0) {
            ::close(fd);
        }
        return;
    }
    void* m = ::mmap(nullptr, grootte_, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
    if (m == MAP_FAILED) {
        ::close(fd);
        return;
    }
    geheugen_ = m;
    wl_shm_pool* pool = wl_shm_create_pool(shm_, fd, static_cast<std::int32_t>(grootte_));
    static const wl_buffer_listener luisteraar = {opVrij};
    for (std::size_t i = 0; i < 2; ++i) {
        Buffer& b = buffers_[i];
        b.buffer = wl_shm_pool_create_buffer(pool, static_cast<std::int32_t>(i * beeldGrootte),
                                             breedte, hoogte, stap, WL_SHM_FORMAT_ARGB8888);
        b.pixels = static_cast<std::uint8_t*>(geheugen_) + i * beeldGrootte;
        wl_buffer_add_listener(b.buffer, &luisteraar, &b);
    }
    // The buffers keep the memory; the pool and the descriptor are no longer needed.
    wl_shm_pool_destroy(pool);
    ::close(fd);
}

void WaylandIndicator::toon() {
    if (!beschikbaar() || oppervlak_ != nullptr) {
        return;
    }
    maakBuffers();
    // A destroyed surface's buffers are the compositor's no longer, released or not.
    for (Buffer& b : buffers_) {
        b.bezet = false;
    }
    oppervlak_ = wl_compositor_create_surface(compositor_);
    // An empty input region: clicks go to the window below, so not even a click on the strip
    // moves the focus.
    wl_region* leeg = wl_compositor_create_region(compositor_);
    wl_surface_set_input_region(oppervlak_, leeg);
    wl_region_destroy(leeg);
    laagOppervlak_ = zwlr_layer_shell_v1_get_layer_surface(
        laag_, oppervlak_, nullptr, ZWLR_LAYER_SHELL_V1_LAYER_OVERLAY, "tolmo");
    static const zwlr_layer_surface_v1_listener luisteraar = {opConfigure, opGesloten};
    zwlr_layer_surface_v1_add_listener(laagOppervlak_, &luisteraar, this);
    zwlr_layer_surface_v1_set_size(laagOppervlak_, breedte, hoogte);
    zwlr_layer_surface_v1_set_anchor(laagOppervlak_, ZWLR_LAYER_SURFACE_V1_ANCHOR_BOTTOM);
    zwlr_layer_surface_v1_set_margin(laagOppervlak_, 0, 0, marge, 0);
    zwlr_layer_surface_v1_set_keyboard_interactivity(laagOppervlak_, 0);
    wl_surface_commit(oppervlak_);
    wl_display_flush(verbinding_.display());
    golf_.herstartKlok();
    getekend_ = 0;
}

void WaylandIndicator::verberg() {
    if (frame_ != nullptr) {
        wl_callback_destroy(frame_);
        frame_ = nullptr;
    }
    if (laagOppervlak_ != nullptr) {
        zwlr_layer_surface_v1_destroy(laagOppervlak_);
        laagOppervlak_ = nullptr;
    }
    if (oppervlak_ != nullptr) {
        wl_surface_destroy(oppervlak_);
        oppervlak_ = nullptr;
        wl_display_flush(verbinding_.display());
    }
    geconfigureerd_ = false;
}

void WaylandIndicator::teken() {
    if (oppervlak_ == nullptr || !geconfigureerd_ || frame_ != nullptr) {
        return;
    }
    Buffer* vrij = !buffers_[0].bezet ? &buffers_[0] : !buffers_[1].bezet ? &buffers_[1] : nullptr;
    if (vrij == nullptr || vrij->buffer == nullptr) {
        return;
    }
    const double nu =
        std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
    beeld_.teken(golf_.beeld(static_cast<float>(breedte), static_cast<float>(hoogte), nu));
    // The wave lies over the pill in the theme's colour; ARGB8888 is blue, green, red, alpha in
    // memory, both premultiplied.
    const std::array<unsigned, 3> achter{licht_ ? 246U : 24U, licht_ ? 246U : 24U,
                                         licht_ ? 248U : 28U};
    const std::uint8_t* bron = beeld_.pixels().data();
    for (int y = 0; y < hoogte; ++y) {
        for (int x = 0; x < breedte; ++x) {
            const std::size_t i = static_cast<std::size_t>(y * stap + x * 4);
            std::uint8_t* doel = vrij->pixels + i;
            if (!inPil(x, y)) {
                std::memset(doel, 0, 4);
                continue;
            }
            const unsigned rest = 255U - bron[i + 3];
            const auto meng = [&](std::size_t kanaal) {
                return static_cast<std::uint8_t>(
                    std::min(255U, bron[i + kanaal] + (achter[kanaal] * rest + 127U) / 255U));
            };
            doel[0] = meng(2);
            doel[1] = meng(1);
            doel[2] = meng(0);
            doel[3] = 255;
        }
    }
    wl_surface_attach(oppervlak_, vrij->buffer, 0, 0);
    wl_surface_damage_buffer(oppervlak_, 0, 0, breedte, hoogte);
    static const wl_callback_listener luisteraar = {opFrame};
    frame_ = wl_surface_frame(oppervlak_);
    wl_callback_add_listener(frame_, &luisteraar, this);
    vrij->bezet = true;
    wl_surface_commit(oppervlak_);
    wl_display_flush(verbinding_.display());
    ++getekend_;
}

void WaylandIndicator::opConfigure(void* data, zwlr_layer_surface_v1* oppervlak,
                                   std::uint32_t serie, std::uint32_t /*b*/, std::uint32_t /*h*/) {
    auto* zelf = static_cast<WaylandIndicator*>(data);
    zwlr_layer_surface_v1_ack_configure(oppervlak, serie);
    zelf->geconfigureerd_ = true;
    zelf->teken();
}

void WaylandIndicator::opGesloten(void* data, zwlr_layer_surface_v1* /*oppervlak*/) {
    // The output went away; the next dictation asks for a new surface.
    static_cast<WaylandIndicator*>(data)->verberg();
}

void WaylandIndicator::opFrame(void* data, wl_callback* callback, std::uint32_t /*tijd*/) {
    auto* zelf = static_cast<WaylandIndicator*>(data);
    wl_callback_destroy(callback);
    zelf->frame_ = nullptr;
    zelf->teken();
}

void WaylandIndicator::opVrij(void* data, wl_buffer* /*buffer*/) {
    static_cast<Buffer*>(data)->bezet = false;
}

}  // namespace tolmo
