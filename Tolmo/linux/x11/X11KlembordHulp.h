#pragma once

// What the two halves of X11Klembord share: how a snapshot names each (target, type, format)
// pair, and waiting for one event on a connection. Included by X11Klembord's own files only.

#include <X11/Xlib.h>
#include <poll.h>

#include <chrono>
#include <cstdlib>
#include <string>
#include <string_view>

namespace tolmo::x11klembord {

using Klok = std::chrono::steady_clock;

// The one pair of a snapshot that stands for a copy still being made on its own thread; a
// newline starts no target's name.
constexpr std::string_view wachtSleutel = "\nTOLMO_MOMENTOPNAME";

inline std::string sleutel(const std::string& doel, const std::string& type, int formaat) {
    if (type == doel && formaat == 8) {
        return doel;
    }
    return doel + '\n' + type + '\n' + std::to_string(formaat);
}

struct Sleutel {
    std::string doel;
    std::string type;
    int formaat = 8;
};

inline Sleutel leesSleutel(const std::string& s) {
    const std::size_t a = s.find('\n');
    const std::size_t b = a == std::string::npos ? a : s.find('\n', a + 1);
    if (b == std::string::npos) {
        return {s, s, 8};
    }
    const int formaat = std::atoi(s.c_str() + b + 1);
    return {s.substr(0, a), s.substr(a + 1, b - a - 1),
            formaat == 16 || formaat == 32 ? formaat : 8};
}

// Waits for the first event the predicate accepts, leaving every other event queued for
// verwerk; false when the time is up.
template <typename P>
bool wachtOp(Display* display, XEvent& uit, P predicaat, Klok::time_point einde) {
    const auto controle = [](Display*, XEvent* e, XPointer arg) -> Bool {
        return (*reinterpret_cast<P*>(arg))(*e) ? True : False;
    };
    XFlush(display);
    for (;;) {
        if (XCheckIfEvent(display, &uit, controle, reinterpret_cast<XPointer>(&predicaat)) != 0) {
            return true;
        }
        const auto over = std::chrono::ceil<std::chrono::milliseconds>(einde - Klok::now()).count();
        if (over <= 0) {
            return false;
        }
        pollfd p{ConnectionNumber(display), POLLIN, 0};
        ::poll(&p, 1, static_cast<int>(over));
    }
}

}  // namespace tolmo::x11klembord
