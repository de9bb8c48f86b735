#include "Tolmo/linux/x11/X11Verbinding.h"

#include <X11/Xatom.h>
#include <X11/extensions/XInput2.h>
#include <X11/extensions/XTest.h>
#include <X11/extensions/Xfixes.h>

#include <cstring>
#include <mutex>
#include <stdexcept>
#include <vector>

namespace tolmo {
namespace {

// Xlib has one error handler for the whole process; it counts errors per connection instead of
// ending the program, which is what Xlib's own handler does.
std::mutex foutSlot;
std::map<Display*, unsigned long>& fouten() {
    static std::map<Display*, unsigned long> teller;
    return teller;
}

int telFout(Display* display, XErrorEvent* /*fout*/) {
    const std::lock_guard slot(foutSlot);
    ++fouten()[display];
    return 0;
}

unsigned long foutenVan(Display* display) {
    const std::lock_guard slot(foutSlot);
    const auto it = fouten().find(display);
    return it == fouten().end() ? 0 : it->second;
}

}  // namespace

X11Verbinding::X11Verbinding(const char* naam) {
    display_ = XOpenDisplay(naam);
    if (display_ == nullptr) {
        throw std::runtime_error("Geen verbinding met de X-server " +
                                 std::string(naam != nullptr ? naam : XDisplayName(nullptr)));
    }
    XSetErrorHandler(telFout);
    wortel_ = DefaultRootWindow(display_);
    int opcode = 0;
    int gebeurtenis = 0;
    int fout = 0;
    if (XQueryExtension(display_, "XInputExtension", &opcode, &gebeurtenis, &fout) != 0) {
        // The server holds a connection to the first version it announces. 2.2, because a 2.0
        // client gets no raw key events while any client has the keyboard grabbed (a menu, a
        // hot key being pressed); an older server answers with its own version, still fine.
        int hoofd = 2;
        int sub = 2;
        if (XIQueryVersion(display_, &hoofd, &sub) == Success) {
            xinput2_ = opcode;
        }
    }
    if (XFixesQueryExtension(display_, &gebeurtenis, &fout) != 0) {
        xfixes_ = gebeurtenis;
    }
    int hoofd = 0;
    int sub = 0;
    xtest_ = XTestQueryExtension(display_, &gebeurtenis, &fout, &hoofd, &sub) != 0;
}

X11Verbinding::~X11Verbinding() {
    XCloseDisplay(display_);
    const std::lock_guard slot(foutSlot);
    fouten().erase(display_);
}

void X11Verbinding::verwerk() {
    while (XPending(display_) > 0) {
        XEvent gebeurtenis;
        XNextEvent(display_, &gebeurtenis);
        const bool cookie = XGetEventData(display_, &gebeurtenis.xcookie) != 0;
        // A handler may add or forget handlers: walk a copy of the ids.
        std::vector<std::size_t> ids;
        ids.reserve(verwerkers_.size());
        for (const auto& [id, v] : verwerkers_) {
            ids.push_back(id);
        }
        for (const std::size_t id : ids) {
            const auto it = verwerkers_.find(id);
            if (it != verwerkers_.end() && it->second(gebeurtenis)) {
                break;
            }
        }
        if (cookie) {
            XFreeEventData(display_, &gebeurtenis.xcookie);
        }
    }
}

std::size_t X11Verbinding::luister(Verwerker verwerker) {
    verwerkers_.emplace(volgende_, std::move(verwerker));
    return volgende_++;
}

void X11Verbinding::vergeet(std::size_t id) {
    verwerkers_.erase(id);
}

Atom X11Verbinding::atoom(const char* naam) const {
    return XInternAtom(display_, naam, False);
}

std::string X11Verbinding::atoomNaam(Atom atoom) const {
    if (atoom == None) {
        return {};
    }
    const FoutVanger vanger(*this);
    char* naam = XGetAtomName(display_, atoom);
    if (naam == nullptr) {
        return {};
    }
    std::string uit(naam);
    XFree(naam);
    return uit;
}

std::optional<X11Verbinding::Eigenschap> X11Verbinding::leesEigenschap(Window venster,
                                                                       Atom eigenschap,
                                                                       bool verwijder) const {
    FoutVanger vanger(*this);
    Eigenschap uit;
    unsigned long rest = 0;
    unsigned char* data = nullptr;
    // Read the whole property at once: the length is in 32-bit units.
    const int status =
        XGetWindowProperty(display_, venster, eigenschap, 0, 0x1fffffff, verwijder ? True : False,
                           AnyPropertyType, &uit.type, &uit.formaat, &uit.aantal, &rest, &data);
    if (status != Success || !vanger.gelukt() || uit.type == None) {
        if (data != nullptr) {
            XFree(data);
        }
        return std::nullopt;
    }
    // Xlib hands 32-bit items as longs.
    const std::size_t breedte = uit.formaat == 32   ? sizeof(long)
                                : uit.formaat == 16 ? sizeof(short)
                                                    : 1;
    uit.bytes.assign(reinterpret_cast<const char*>(data), uit.aantal * breedte);
    XFree(data);
    return uit;
}

std::optional<unsigned long> X11Verbinding::leesGetal(Window venster, Atom eigenschap) const {
    const auto e = leesEigenschap(venster, eigenschap);
    if (!e || e->formaat != 32 || e->aantal == 0) {
        return std::nullopt;
    }
    unsigned long waarde = 0;
    std::memcpy(&waarde, e->bytes.data(), sizeof waarde);
    return waarde;
}

X11Verbinding::FoutVanger::FoutVanger(const X11Verbinding& verbinding)
    : display_(verbinding.display()) {
    XSync(display_, False);
    begin_ = foutenVan(display_);
}

X11Verbinding::FoutVanger::~FoutVanger() = default;

bool X11Verbinding::FoutVanger::gelukt() {
    XSync(display_, False);
    return foutenVan(display_) == begin_;
}

}  // namespace tolmo
