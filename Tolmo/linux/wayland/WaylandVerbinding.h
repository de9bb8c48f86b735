#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

struct wl_display;
struct wl_registry;
struct wl_seat;
struct wl_interface;

namespace tolmo {

// The app's own Wayland connection, beside the toolkit's: the clipboard, the paste keystroke and
// the window in front go through it, because a toolkit passes the clipboard on only while one of
// its windows has the keyboard focus, and ours never has. Binds the globals the adapters ask for
// and the first seat. Main thread only: the main loop calls verwerk when the descriptor is
// readable and before it goes to sleep, so requests queued since are flushed.
class WaylandVerbinding {
  public:
    // Connects to $WAYLAND_DISPLAY (or the name given); throws std::runtime_error (Dutch) when
    // there is no compositor there.
    explicit WaylandVerbinding(const char* naam = nullptr);
    ~WaylandVerbinding();
    WaylandVerbinding(const WaylandVerbinding&) = delete;
    WaylandVerbinding& operator=(const WaylandVerbinding&) = delete;

    [[nodiscard]] wl_display* display() const { return display_; }
    [[nodiscard]] wl_seat* seat() const { return seat_; }
    [[nodiscard]] int descriptor() const;

    // Binds the global of that interface at the lower of its offered version and `versie`; null
    // when the compositor does not offer it or offers it below `minimum`.
    [[nodiscard]] void* bind(const wl_interface& interface, std::uint32_t versie,
                             std::uint32_t minimum = 1) const;
    // Whether the compositor offers an interface of that name, at any version.
    [[nodiscard]] bool biedt(const std::string& interface) const;

    // Reads and handles every event waiting, without sleeping, and flushes our requests.
    void verwerk();
    // Sends our requests and waits until the compositor has handled them and sent what they
    // caused.
    void rondreis();

  private:
    struct Global {
        std::uint32_t naam;
        std::string interface;
        std::uint32_t versie;
    };
    static void opGlobal(void* data, wl_registry* registry, std::uint32_t naam,
                         const char* interface, std::uint32_t versie);
    static void opGlobalWeg(void* data, wl_registry* registry, std::uint32_t naam);

    wl_display* display_ = nullptr;
    wl_registry* registry_ = nullptr;
    wl_seat* seat_ = nullptr;
    std::vector<Global> globals_;
};

}  // namespace tolmo
