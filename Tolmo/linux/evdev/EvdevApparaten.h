#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <vector>

namespace tolmo {

// The keyboards among the input devices in a directory (/dev/input), read directly: every key
// of every keyboard, whatever window has the focus and whatever the display system. Reading
// them needs the `input` group. A keyboard plugged in later is found through inotify, also one
// whose permissions are set a moment after it appears; one that goes away is dropped.
//
// One descriptor stands for all of them: the caller's loop calls verwerk when it is readable.
// Nothing blocks. Main thread only.
class EvdevApparaten {
  public:
    // One key event: the kernel's key code (KEY_*) and its value (0 up, 1 down, 2 repeat).
    using OpToets = std::function<void(std::uint16_t code, std::int32_t waarde)>;
    // Whether the open device is a keyboard worth reading (it has letter keys), not a mouse,
    // a power button or a lid switch.
    using IsToetsenbord = std::function<bool(int fd)>;

    // Throws std::runtime_error (Dutch) when the directory cannot be watched, std::system_error
    // when the system has no descriptors left.
    EvdevApparaten(std::filesystem::path map, OpToets opToets,
                   IsToetsenbord isToetsenbord = heeftLetters);
    ~EvdevApparaten();
    EvdevApparaten(const EvdevApparaten&) = delete;
    EvdevApparaten& operator=(const EvdevApparaten&) = delete;

    [[nodiscard]] int descriptor() const { return epoll_; }
    void verwerk();

    // The keyboards being read, by path.
    [[nodiscard]] std::vector<std::filesystem::path> toetsenborden() const;
    // Devices that were there but could not be opened (no permission): the user is not in the
    // `input` group, or has not logged in again since joining it.
    [[nodiscard]] bool toegangGeweigerd() const { return !geweigerd_.empty(); }

    // The kernel's own answer: the device reports EV_KEY with KEY_A and KEY_Z.
    static bool heeftLetters(int fd);

  private:
    struct Apparaat {
        int fd = -1;
        // A record that came in pieces (a pipe may split it; a device never does).
        std::vector<unsigned char> rest;
        // After SYN_DROPPED the kernel's queue overflowed: events up to the next report are
        // incomplete and skipped.
        bool overgeslagen = false;
    };

    void probeer(const std::filesystem::path& pad);
    void sluit(const std::filesystem::path& pad);
    void lees(const std::filesystem::path& pad, Apparaat& a);
    void leesMap();

    std::filesystem::path map_;
    OpToets opToets_;
    IsToetsenbord isToetsenbord_;
    int epoll_ = -1;
    int inotify_ = -1;
    std::map<std::filesystem::path, Apparaat> apparaten_;
    // Keyed by descriptor, for the events epoll reports.
    std::map<int, std::filesystem::path> perFd_;
    std::set<std::filesystem::path> geweigerd_;
};

}  // namespace tolmo
