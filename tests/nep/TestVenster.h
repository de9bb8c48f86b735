#pragma once

#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <X11/extensions/XTest.h>
#include <poll.h>
#include <unistd.h>

#include <chrono>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace tolmo::nep {

// Another app on the private X server: a window with a text field that takes what Control-V (or
// Control-Shift-V) pastes from the CLIPBOARD, and that can own the clipboard itself. It asks the
// window manager to put it in front, or without one publishes itself as the active window. Its
// keys go through XTest.
class TestVenster {
  public:
    explicit TestVenster(const std::string& klasse) {
        d_ = XOpenDisplay(nullptr);
        if (d_ == nullptr) {
            return;
        }
        w_ = XCreateSimpleWindow(d_, DefaultRootWindow(d_), 0, 0, 400, 200, 0, 0, 0xffffff);
        std::string naam = klasse;
        XClassHint hint{naam.data(), naam.data()};
        XSetClassHint(d_, w_, &hint);
        const long pid = ::getpid();
        XChangeProperty(d_, w_, atoom("_NET_WM_PID"), XA_CARDINAL, 32, PropModeReplace,
                        reinterpret_cast<const unsigned char*>(&pid), 1);
        XSelectInput(d_, w_, KeyPressMask | PropertyChangeMask);
        // Structure events include the requests other apps send the window manager.
        XSelectInput(d_, DefaultRootWindow(d_), PropertyChangeMask | StructureNotifyMask);
        XMapWindow(d_, w_);
        XSync(d_, False);
        activeer();
    }
    // The next window may get the same id: the manager must be done with this one first, or it
    // takes the new window for the old one.
    ~TestVenster() {
        if (d_ == nullptr) {
            return;
        }
        const bool wm = vensterbeheer();
        XDestroyWindow(d_, w_);
        XSync(d_, False);
        if (wm) {
            pomp([this] { return !beheerd(); }, std::chrono::seconds(3));
        }
        XCloseDisplay(d_);
    }
    TestVenster(const TestVenster&) = delete;
    TestVenster& operator=(const TestVenster&) = delete;

    [[nodiscard]] bool ok() const { return d_ != nullptr; }
    [[nodiscard]] Window venster() const { return w_; }

    // What the user's click does; answers whether this window is the active one, holding the
    // input focus, afterwards.
    bool activeer() {
        const Window wortel = DefaultRootWindow(d_);
        if (vensterbeheer()) {
            // Source 2, a pager: the manager's focus-stealing prevention lets it through.
            XEvent e{};
            e.xclient.type = ClientMessage;
            e.xclient.window = w_;
            e.xclient.message_type = atoom("_NET_ACTIVE_WINDOW");
            e.xclient.format = 32;
            e.xclient.data.l[0] = 2;
            e.xclient.data.l[1] = CurrentTime;
            XSendEvent(d_, wortel, False, SubstructureRedirectMask | SubstructureNotifyMask, &e);
        } else {
            XChangeProperty(d_, wortel, atoom("_NET_ACTIVE_WINDOW"), XA_WINDOW, 32, PropModeReplace,
                            reinterpret_cast<const unsigned char*>(&w_), 1);
            XSetInputFocus(d_, w_, RevertToParent, CurrentTime);
        }
        XSync(d_, False);
        return pomp(
            [&] {
                Window focus = None;
                int terugval = 0;
                XGetInputFocus(d_, &focus, &terugval);
                return actief() == w_ && focus == w_;
            },
            std::chrono::seconds(3));
    }

    // The root's _NET_ACTIVE_WINDOW.
    Window actief() { return venster(DefaultRootWindow(d_), "_NET_ACTIVE_WINDOW"); }

    // Owns the clipboard with these targets (name to bytes) until someone else takes it.
    void kopieer(std::map<std::string, std::string> doelen) {
        eigen_ = std::move(doelen);
        XSetSelectionOwner(d_, atoom("CLIPBOARD"), w_, CurrentTime);
        XSync(d_, False);
    }

    // Asks the clipboard's owner for a target, serving requests meanwhile; empty on time-out.
    std::string leesKlembord(const std::string& doel) {
        XConvertSelection(d_, atoom("CLIPBOARD"), atoom(doel.c_str()), atoom("TOLMO_TEST"), w_,
                          CurrentTime);
        gelezen_.reset();
        pomp([this] { return gelezen_.has_value(); }, std::chrono::seconds(3));
        return gelezen_.value_or("");
    }

    // Presses and releases keys with XTest: down in order, up in reverse.
    void druk(const std::vector<KeySym>& toetsen) {
        for (KeySym s : toetsen) {
            XTestFakeKeyEvent(d_, XKeysymToKeycode(d_, s), True, CurrentTime);
        }
        for (auto it = toetsen.rbegin(); it != toetsen.rend(); ++it) {
            XTestFakeKeyEvent(d_, XKeysymToKeycode(d_, *it), False, CurrentTime);
        }
        XSync(d_, False);
    }
    void toets(KeySym s, bool omlaag) {
        XTestFakeKeyEvent(d_, XKeysymToKeycode(d_, s), omlaag ? True : False, CurrentTime);
        XSync(d_, False);
    }

    // Handles events until klaar() or the time is up; answers klaar().
    bool pomp(const std::function<bool()>& klaar, std::chrono::milliseconds maximaal) {
        const auto einde = std::chrono::steady_clock::now() + maximaal;
        while (true) {
            while (XPending(d_) > 0) {
                XEvent e;
                XNextEvent(d_, &e);
                verwerk(e);
            }
            if (klaar()) {
                return true;
            }
            const auto rest = einde - std::chrono::steady_clock::now();
            if (rest <= std::chrono::milliseconds(0)) {
                return false;
            }
            pollfd p{ConnectionNumber(d_), POLLIN, 0};
            ::poll(&p, 1, 20);
        }
    }

    // The window an application last asked the window manager to activate (source 1).
    Window appVroegActief = None;
    // Everything the field received, and the paste chords it saw.
    std::string veld;
    int plakCtrlV = 0;
    int plakCtrlShiftV = 0;

  private:
    Atom atoom(const char* naam) { return XInternAtom(d_, naam, False); }

    bool vensterbeheer() {
        return venster(DefaultRootWindow(d_), "_NET_SUPPORTING_WM_CHECK") != None;
    }
    bool beheerd() {
        Atom type = None;
        int formaat = 0;
        unsigned long n = 0;
        unsigned long rest = 0;
        unsigned char* p = nullptr;
        XGetWindowProperty(d_, DefaultRootWindow(d_), atoom("_NET_CLIENT_LIST"), 0, 1024, False,
                           XA_WINDOW, &type, &formaat, &n, &rest, &p);
        bool gevonden = false;
        for (unsigned long i = 0; p != nullptr && i < n; ++i) {
            gevonden = gevonden || reinterpret_cast<const unsigned long*>(p)[i] == w_;
        }
        if (p != nullptr) {
            XFree(p);
        }
        return gevonden;
    }
    Window venster(Window van, const char* eigenschap) {
        Atom type = None;
        int formaat = 0;
        unsigned long n = 0;
        unsigned long rest = 0;
        unsigned char* p = nullptr;
        Window w = None;
        XGetWindowProperty(d_, van, atoom(eigenschap), 0, 1, False, XA_WINDOW, &type, &formaat, &n,
                           &rest, &p);
        if (p != nullptr) {
            if (n == 1 && formaat == 32) {
                w = static_cast<Window>(*reinterpret_cast<const unsigned long*>(p));
            }
            XFree(p);
        }
        return w;
    }

    void verwerk(XEvent& e) {
        if (e.type == KeyPress) {
            const KeySym s = XLookupKeysym(&e.xkey, 0);
            if ((s == XK_v || s == XK_V) && (e.xkey.state & ControlMask) != 0) {
                ((e.xkey.state & ShiftMask) != 0 ? plakCtrlShiftV : plakCtrlV)++;
                plakken_ = true;
                XConvertSelection(d_, atoom("CLIPBOARD"), atoom("UTF8_STRING"), atoom("TOLMO_TEST"),
                                  w_, e.xkey.time);
            }
        } else if (e.type == SelectionNotify) {
            Atom type = None;
            std::string data =
                e.xselection.property != None ? neemEigenschap(e.xselection.property, type) : "";
            if (type == atoom("INCR")) {
                // Large replies come in parts, each announced by a new value of the property.
                incr_ = std::string();
                return;
            }
            lever(std::move(data));
        } else if (e.type == PropertyNotify && incr_ && e.xproperty.state == PropertyNewValue &&
                   e.xproperty.atom == atoom("TOLMO_TEST")) {
            Atom type = None;
            const std::string deel = neemEigenschap(e.xproperty.atom, type);
            if (!deel.empty()) {
                *incr_ += deel;
                return;
            }
            std::string heel = std::move(*incr_);
            incr_.reset();
            lever(std::move(heel));
        } else if (e.type == ClientMessage && e.xclient.data.l[0] == 1 &&
                   e.xclient.message_type == atoom("_NET_ACTIVE_WINDOW")) {
            appVroegActief = e.xclient.window;
        } else if (e.type == SelectionRequest) {
            dien(e.xselectionrequest);
        }
    }

    // Reads 8-bit data and deletes the property, which asks an INCR sender for the next part.
    std::string neemEigenschap(Atom eigenschap, Atom& type) {
        int formaat = 0;
        unsigned long n = 0;
        unsigned long rest = 0;
        unsigned char* p = nullptr;
        std::string data;
        XGetWindowProperty(d_, w_, eigenschap, 0, 1 << 24, True, AnyPropertyType, &type, &formaat,
                           &n, &rest, &p);
        if (p != nullptr) {
            data.assign(reinterpret_cast<const char*>(p), formaat == 8 ? n : 0);
            XFree(p);
        }
        return data;
    }

    void lever(std::string data) {
        if (plakken_) {
            plakken_ = false;
            veld += data;
        } else {
            gelezen_ = std::move(data);
        }
    }

    void dien(const XSelectionRequestEvent& v) {
        XSelectionEvent antwoord{};
        antwoord.type = SelectionNotify;
        antwoord.requestor = v.requestor;
        antwoord.selection = v.selection;
        antwoord.target = v.target;
        antwoord.time = v.time;
        antwoord.property = None;
        if (v.target == atoom("TARGETS")) {
            std::vector<Atom> doelen{atoom("TARGETS")};
            for (const auto& [naam, data] : eigen_) {
                doelen.push_back(atoom(naam.c_str()));
            }
            XChangeProperty(d_, v.requestor, v.property, XA_ATOM, 32, PropModeReplace,
                            reinterpret_cast<const unsigned char*>(doelen.data()),
                            static_cast<int>(doelen.size()));
            antwoord.property = v.property;
        } else {
            char* naam = XGetAtomName(d_, v.target);
            const auto it = eigen_.find(naam != nullptr ? naam : "");
            XFree(naam);
            if (it != eigen_.end()) {
                XChangeProperty(d_, v.requestor, v.property, v.target, 8, PropModeReplace,
                                reinterpret_cast<const unsigned char*>(it->second.data()),
                                static_cast<int>(it->second.size()));
                antwoord.property = v.property;
            }
        }
        XSendEvent(d_, v.requestor, False, 0, reinterpret_cast<XEvent*>(&antwoord));
        XFlush(d_);
    }

    Display* d_ = nullptr;
    Window w_ = None;
    std::map<std::string, std::string> eigen_;
    std::optional<std::string> gelezen_;
    std::optional<std::string> incr_;
    bool plakken_ = false;
};

}  // namespace tolmo::nep
