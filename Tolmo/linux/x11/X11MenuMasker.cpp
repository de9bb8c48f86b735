#include "Tolmo/linux/x11/X11MenuMasker.h"

#include <X11/extensions/XInput2.h>
#include <X11/extensions/XTest.h>
#include <X11/keysym.h>

#include <string_view>

#include "Tolmo/linux/x11/X11Toetsen.h"
#include "Tolmo/linux/x11/X11Verbinding.h"

namespace tolmo {

using namespace std::chrono_literals;

namespace {

// The highest key code without a symbol in any group or level: nothing in any app is bound to
// it, yet the server delivers its press and release as key events like any other.
unsigned int kaleToets(Display* d) {
    int laagste = 0;
    int hoogste = 0;
    XDisplayKeycodes(d, &laagste, &hoogste);
    int perCode = 0;
    KeySym* kaart =
        XGetKeyboardMapping(d, static_cast<KeyCode>(laagste), hoogste - laagste + 1, &perCode);
    if (kaart == nullptr) {
        return 0;
    }
    unsigned int gevonden = 0;
    for (int code = hoogste; code >= laagste && gevonden == 0; --code) {
        bool leeg = true;
        for (int i = 0; i < perCode && leeg; ++i) {
            leeg = kaart[(code - laagste) * perCode + i] == NoSymbol;
        }
        if (leeg) {
            gevonden = static_cast<unsigned int>(code);
        }
    }
    XFree(kaart);
    return gevonden;
}

// The slave keyboard XTest types on: raw events name it as their source.
std::optional<int> xtestToetsenbord(Display* d) {
    int aantal = 0;
    XIDeviceInfo* apparaten = XIQueryDevice(d, XIAllDevices, &aantal);
    std::optional<int> id;
    for (int i = 0; i < aantal && !id; ++i) {
        const std::string_view naam = apparaten[i].name != nullptr ? apparaten[i].name : "";
        if (apparaten[i].use == XISlaveKeyboard && naam.find("XTEST") != std::string_view::npos) {
            id = apparaten[i].deviceid;
        }
    }
    XIFreeDeviceInfo(apparaten);
    return id;
}

}  // namespace

X11MenuMasker::X11MenuMasker(X11Verbinding& verbinding) : x_(verbinding) {
    if (x_.xtest() && x_.xinput2()) {
        maskeerCode_ = kaleToets(x_.display());
        xtestToetsenbord_ = xtestToetsenbord(x_.display());
    }
}

bool X11MenuMasker::opentMenu(KeySym keysym) {
    switch (keysym) {
        case XK_Alt_L:
        case XK_Alt_R:
        case XK_Meta_L:
        case XK_Meta_R:
        case XK_Super_L:
        case XK_Super_R:
        case XK_Hyper_L:
        case XK_Hyper_R:
            return true;
        default:
            return false;
    }
}

bool X11MenuMasker::isEigen(int bron, unsigned int xToetscode, bool omlaag) {
    const auto nu = std::chrono::steady_clock::now();
    // A masking key the server never reported (the device went away) is not waited for.
    while (!verwacht_.empty() && nu - verwacht_.front().tijd > 2s) {
        verwacht_.pop_front();
    }
    if (verwacht_.empty() || bron != xtestToetsenbord_ || verwacht_.front().code != xToetscode ||
        verwacht_.front().omlaag != omlaag) {
        return false;
    }
    verwacht_.pop_front();
    return true;
}

void X11MenuMasker::naToets(unsigned int xToetscode, KeySym keysym, bool omlaag) {
    if (!omlaag) {
        omlaag_.erase(xToetscode);
        return;
    }
    if (maskeerCode_ == 0 || !xtestToetsenbord_ || !houdToets_ || !opentMenu(keysym) ||
        appleToetscode(keysym) != houdToets_ || !omlaag_.insert(xToetscode).second) {
        return;
    }
    const auto nu = std::chrono::steady_clock::now();
    verwacht_.push_back({maskeerCode_, true, nu});
    verwacht_.push_back({maskeerCode_, false, nu});
    XTestFakeKeyEvent(x_.display(), maskeerCode_, True, CurrentTime);
    XTestFakeKeyEvent(x_.display(), maskeerCode_, False, CurrentTime);
    XFlush(x_.display());
}

}  // namespace tolmo
