#include "Tolmo/linux/evdev/EvdevApparaten.h"

#include <fcntl.h>
#include <linux/input.h>
#include <sys/epoll.h>
#include <sys/inotify.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <climits>
#include <cstring>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace tolmo {
namespace {

constexpr std::size_t bitsPerLong = sizeof(unsigned long) * CHAR_BIT;

bool bit(const std::array<unsigned long, KEY_MAX / bitsPerLong + 1>& bits, unsigned n) {
    return ((bits[n / bitsPerLong] >> (n % bitsPerLong)) & 1UL) != 0;
}

bool isEventNaam(const std::filesystem::path& pad) {
    return pad.filename().string().starts_with("event");
}

void voegToe(int epoll, int fd) {
    epoll_event e{};
    e.events = EPOLLIN;
    e.data.fd = fd;
    ::epoll_ctl(epoll, EPOLL_CTL_ADD, fd, &e);
}

}  // namespace

bool EvdevApparaten::heeftLetters(int fd) {
    std::array<unsigned long, KEY_MAX / bitsPerLong + 1> toetsen{};
    if (::ioctl(fd, EVIOCGBIT(EV_KEY, sizeof(toetsen)), toetsen.data()) < 0) {
        return false;
    }
    return bit(toetsen, KEY_A) && bit(toetsen, KEY_Z);
}

EvdevApparaten::EvdevApparaten(std::filesystem::path map, OpToets opToets,
                               IsToetsenbord isToetsenbord)
    : map_(std::move(map)), opToets_(std::move(opToets)), isToetsenbord_(std::move(isToetsenbord)) {
    epoll_ = ::epoll_create1(EPOLL_CLOEXEC);
    inotify_ = ::inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    if (epoll_ < 0 || inotify_ < 0) {
        const std::system_error fout(errno, std::generic_category(), "epoll/inotify");
        if (epoll_ >= 0) {
            ::close(epoll_);
        }
        if (inotify_ >= 0) {
            ::close(inotify_);
        }
        throw fout;
    }
    // IN_ATTRIB: udev gives the group its access a moment after the node appears.
    if (::inotify_add_watch(inotify_, map_.c_str(), IN_CREATE | IN_ATTRIB | IN_DELETE) < 0) {
        // Shown to the user in the settings window, as the reason no keyboard is read.
        const std::runtime_error fout("kan " + map_.string() + " niet volgen (" +
                                      std::strerror(errno) + ")");
        ::close(inotify_);
        ::close(epoll_);
        throw fout;
    }
    voegToe(epoll_, inotify_);
    leesMap();
}

EvdevApparaten::~EvdevApparaten() {
    for (auto& [pad, a] : apparaten_) {
        ::close(a.fd);
    }
    ::close(inotify_);
    ::close(epoll_);
}

void EvdevApparaten::leesMap() {
    std::error_code fout;
    for (const auto& e : std::filesystem::directory_iterator(map_, fout)) {
        if (isEventNaam(e.path())) {
            probeer(e.path());
        }
    }
}

void EvdevApparaten::probeer(const std::filesystem::path& pad) {
    if (apparaten_.contains(pad)) {
        return;
    }
    const int fd = ::open(pad.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (fd < 0) {
        if (errno == EACCES || errno == EPERM) {
            geweigerd_.insert(pad);
        }
        return;
    }
    geweigerd_.erase(pad);
    if (!isToetsenbord_(fd)) {
        ::close(fd);
        return;
    }
    apparaten_[pad].fd = fd;
    perFd_[fd] = pad;
    voegToe(epoll_, fd);
}

void EvdevApparaten::sluit(const std::filesystem::path& pad) {
    const auto it = apparaten_.find(pad);
    if (it == apparaten_.end()) {
        return;
    }
    // Closing takes it out of the epoll set too.
    ::close(it->second.fd);
    perFd_.erase(it->second.fd);
    apparaten_.erase(it);
}

void EvdevApparaten::lees(const std::filesystem::path& pad, Apparaat& a) {
    std::array<unsigned char, 64 * sizeof(input_event)> buffer{};
    while (true) {
        const ssize_t n = ::read(a.fd, buffer.data(), buffer.size());
        if (n < 0 && errno == EINTR) {
            continue;
        }
        if (n < 0 && errno == EAGAIN) {
            return;
        }
        if (n <= 0) {
            // ENODEV: unplugged; end of stream: the other side has gone.
            sluit(pad);
            return;
        }
        a.rest.insert(a.rest.end(), buffer.begin(), buffer.begin() + n);
        std::size_t i = 0;
        for (; i + sizeof(input_event) <= a.rest.size(); i += sizeof(input_event)) {
            input_event e{};
            std::memcpy(&e, a.rest.data() + i, sizeof(e));
            if (e.type == EV_SYN && e.code == SYN_DROPPED) {
                a.overgeslagen = true;
            } else if (e.type == EV_SYN && e.code == SYN_REPORT) {
                a.overgeslagen = false;
            } else if (e.type == EV_KEY && !a.overgeslagen) {
                opToets_(e.code, e.value);
            }
        }
        a.rest.erase(a.rest.begin(), a.rest.begin() + static_cast<std::ptrdiff_t>(i));
    }
}

void EvdevApparaten::verwerk() {
    std::array<epoll_event, 16> klaar{};
    const int n = ::epoll_wait(epoll_, klaar.data(), static_cast<int>(klaar.size()), 0);
    for (int i = 0; i < n; ++i) {
        const int fd = klaar[static_cast<std::size_t>(i)].data.fd;
        if (fd == inotify_) {
            alignas(inotify_event) std::array<char, 4096> buffer{};
            ssize_t gelezen = 0;
            while ((gelezen = ::read(inotify_, buffer.data(), buffer.size())) > 0) {
                for (ssize_t j = 0; j < gelezen;) {
                    const auto* e = reinterpret_cast<const inotify_event*>(buffer.data() + j);
                    const std::filesystem::path pad = map_ / (e->len > 0 ? e->name : "");
                    if (e->len > 0 && isEventNaam(pad)) {
                        if ((e->mask & IN_DELETE) != 0) {
                            geweigerd_.erase(pad);
                            sluit(pad);
                        } else {
                            probeer(pad);
                        }
                    }
                    j += static_cast<ssize_t>(sizeof(inotify_event) + e->len);
                }
            }
            continue;
        }
        // Reading may close a device; a descriptor closed earlier in this round is skipped.
        const auto it = perFd_.find(fd);
        if (it != perFd_.end()) {
            const std::filesystem::path pad = it->second;
            lees(pad, apparaten_.at(pad));
        }
    }
}

std::vector<std::filesystem::path> EvdevApparaten::toetsenborden() const {
    std::vector<std::filesystem::path> paden;
    for (const auto& [pad, a] : apparaten_) {
        paden.push_back(pad);
    }
    return paden;
}

}  // namespace tolmo
