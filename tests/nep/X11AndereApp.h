#pragma once

#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <X11/extensions/XTest.h>
#include <X11/keysym.h>
#include <poll.h>

#include <atomic>
#include <chrono>
#include <cstring>
#include <functional>
#include <future>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "Kind.h"
#include "Tolmo/linux/x11/X11Verbinding.h"

namespace tolmo::nep {

// Keeps our side answering for a moment: the main loop's part in a test.
inline void pomp(X11Verbinding& onze) {
    pollfd p{onze.descriptor(), POLLIN, 0};
    ::poll(&p, 1, 5);
    onze.verwerk();
}

// Another app on a connection and a thread of its own, written straight from the selection
// protocol: a window that owns the clipboard with the targets it is given (sending those over
// 64 KB in INCR parts), reads the clipboard as a pasting app does, and is put in front by the
// window manager when one runs. Every call runs on its thread; the test's own connection, when
// given, keeps answering meanwhile.
class X11AndereApp {
  public:
    // An app that pastes takes what Control-V or Control-Shift-V finds on the CLIPBOARD into
    // its field, as an editor or a terminal does.
    explicit X11AndereApp(X11Verbinding* onze = nullptr, bool plakt = false)
        : onze_(onze), plakt_(plakt), d_(x_.display()) {
        venster_ = XCreateSimpleWindow(d_, x_.wortel(), 0, 0, 400, 200, 0, 0, 0xffffff);
        XSelectInput(d_, venster_, PropertyChangeMask | KeyPressMask);
        // Structure events include the requests other apps send the window manager.
        XSelectInput(d_, x_.wortel(), StructureNotifyMask);
        XMapWindow(d_, venster_);
        XSync(d_, False);
        draad_ = std::thread([this] { lus(); });
    }
    // The next window may get the same id: a window manager must be done with this one first, or
    // it takes the new window for the old one.
    ~X11AndereApp() {
        stop_ = true;
        draad_.join();
        XDestroyWindow(d_, venster_);
        wachtTot([this] { return !beheerd(); }, std::chrono::seconds(3));
    }

    [[nodiscard]] Window venster() const { return venster_; }

    // Runs f on the app's thread; our side keeps answering meanwhile.
    template <typename F>
    auto doe(F f) {
        auto taak = std::make_shared<std::packaged_task<decltype(f())()>>(std::move(f));
        auto klaar = taak->get_future();
        {
            const std::lock_guard s(slot_);
            taken_.push_back([taak] { (*taak)(); });
        }
        while (klaar.wait_for(std::chrono::seconds(0)) != std::future_status::ready) {
            pompOnze();
        }
        return klaar.get();
    }

    // Owns the selection (the CLIPBOARD, or PRIMARY for text the user marked) with the targets.
    void bezit(std::map<std::string, std::string> doelen, const char* selectie = "CLIPBOARD") {
        doe([this, doelen, selectie] {
            bezit_ = doelen;
            XSetSelectionOwner(d_, x_.atoom(selectie), venster_, CurrentTime);
            XSync(d_, False);
        });
    }

    // Puts the window in front with this WM_CLASS and _NET_WM_PID: as a click does, through the
    // window manager when one runs, else as a manager would. Answers whether it is then the active
    // window and holds the input focus.
    bool vooraan(const std::string& instantie, const std::string& klasse, long pid) {
        doe([=, this] {
            const std::string wmKlasse = instantie + '\0' + klasse + '\0';
            zet(venster_, XA_WM_CLASS, XA_STRING, 8, wmKlasse.data(), wmKlasse.size());
            zet(venster_, x_.atoom("_NET_WM_PID"), XA_CARDINAL, 32, &pid, 1);
            if (x_.leesGetal(x_.wortel(), x_.atoom("_NET_SUPPORTING_WM_CHECK"))) {
                XEvent e{};
                e.xclient = {
                    ClientMessage, 0, False, d_, venster_, x_.atoom("_NET_ACTIVE_WINDOW"), 32, {}};
                // Source 2, a pager: the manager's focus-stealing prevention lets it through.
                e.xclient.data.l[0] = 2;
                XSendEvent(d_, x_.wortel(), False,
                           SubstructureRedirectMask | SubstructureNotifyMask, &e);
            } else {
                zet(x_.wortel(), x_.atoom("_NET_ACTIVE_WINDOW"), XA_WINDOW, 32, &venster_, 1);
                XSetInputFocus(d_, venster_, RevertToParent, CurrentTime);
            }
            XSync(d_, False);
        });
        return wachtTot([this] { return isVooraan(); }, std::chrono::seconds(3));
    }
    [[nodiscard]] bool isVooraan() {
        return doe([this] {
            Window focus = None;
            int terugval = 0;
            XGetInputFocus(d_, &focus, &terugval);
            return focus == venster_ && actiefHier() == venster_;
        });
    }
    // The root's _NET_ACTIVE_WINDOW.
    [[nodiscard]] Window actief() {
        return doe([this] { return actiefHier(); });
    }
    // The window an application last asked the window manager to activate (source 1).
    [[nodiscard]] Window appVroegActief() {
        return doe([this] { return appVroegActief_; });
    }
    [[nodiscard]] std::string titel(Window w) {
        return doe([=, this] {
            const auto naam = x_.leesEigenschap(w, x_.atoom("_NET_WM_NAME"));
            return naam ? naam->bytes : "";
        });
    }

    // Reads a target with the time stamp given; empty when the owner refuses.
    std::optional<std::string> lees(const std::string& doel, Time tijd = CurrentTime,
                                    const char* selectie = "CLIPBOARD") {
        return doe([=, this] { return leesHier(doel, tijd, selectie); });
    }

    // Acts as a clipboard manager: asked to save the clipboard, it reads every target and
    // takes the clipboard over with them.
    void wordBeheerder() {
        doe([this] {
            XSetSelectionOwner(d_, x_.atoom("CLIPBOARD_MANAGER"), venster_, CurrentTime);
            XSync(d_, False);
        });
    }
    // What the app owns now (as manager: what it saved).
    std::map<std::string, std::string> bezit() {
        return doe([this] { return bezit_; });
    }

    // Presses and releases keys with XTest: down in order, up in reverse.
    void druk(const std::vector<KeySym>& toetsen) {
        for (const KeySym s : toetsen) {
            toets(s, true);
        }
        for (auto it = toetsen.rbegin(); it != toetsen.rend(); ++it) {
            toets(*it, false);
        }
    }
    void toets(KeySym s, bool omlaag) {
        doe([=, this] {
            XTestFakeKeyEvent(d_, XKeysymToKeycode(d_, s), omlaag ? True : False, CurrentTime);
            XSync(d_, False);
        });
    }

    // Waits (our side answering) for the key press of symbool; it and the keys before it are
    // then forgotten.
    std::optional<XKeyEvent> wachtOpToets(KeySym symbool) {
        const auto einde = std::chrono::steady_clock::now() + std::chrono::seconds(3);
        for (; std::chrono::steady_clock::now() < einde; pompOnze()) {
            const std::lock_guard s(slot_);
            for (auto it = toetsen_.begin(); it != toetsen_.end(); ++it) {
                if (it->second == symbool) {
                    const XKeyEvent t = it->first;
                    toetsen_.erase(toetsen_.begin(), it + 1);
                    return t;
                }
            }
        }
        return std::nullopt;
    }

    // What an app that pastes took into its field, and the paste chords it saw (Shift+Insert
    // reads PRIMARY, as xterm does).
    struct Veld {
        std::string tekst;
        int ctrlV = 0;
        int ctrlShiftV = 0;
        int shiftInsert = 0;
    };
    [[nodiscard]] Veld veld() {
        return doe([this] { return veld_; });
    }

  private:
    struct Uitgaand {
        Window aanvrager;
        Atom eigenschap, type;
        std::string bytes;
        std::size_t positie = 0;
    };

    void pompOnze() {
        if (onze_ != nullptr) {
            pomp(*onze_);
        } else {
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    }

    Window actiefHier() const {
        return x_.leesGetal(x_.wortel(), x_.atoom("_NET_ACTIVE_WINDOW")).value_or(None);
    }

    bool beheerd() const {
        const auto lijst = x_.leesEigenschap(x_.wortel(), x_.atoom("_NET_CLIENT_LIST"));
        for (std::size_t i = 0; lijst && i < lijst->aantal; ++i) {
            Window w = None;
            std::memcpy(&w, lijst->bytes.data() + i * sizeof w, sizeof w);
            if (w == venster_) {
                return true;
            }
        }
        return false;
    }

    std::optional<std::string> leesHier(const std::string& doel, Time tijd,
                                        const char* selectie = "CLIPBOARD") {
        const Atom eigenschap = x_.atoom("LEES");
        XConvertSelection(d_, x_.atoom(selectie), x_.atoom(doel.c_str()), eigenschap, venster_,
                          tijd);
        XEvent e;
        if (!wacht(e, [](const XEvent& g) { return g.type == SelectionNotify; }) ||
            e.xselection.property == None) {
            return std::nullopt;
        }
        auto antwoord = x_.leesEigenschap(venster_, eigenschap, true);
        if (!antwoord || antwoord->type != x_.atoom("INCR")) {
            return antwoord ? std::optional(antwoord->bytes) : std::nullopt;
        }
        std::string heel;
        while (wacht(e, [&](const XEvent& g) {
            return g.type == PropertyNotify && g.xproperty.atom == eigenschap &&
                   g.xproperty.state == PropertyNewValue;
        })) {
            // A report without a value is the one of the INCR marker, read already.
            if (const auto stuk = x_.leesEigenschap(venster_, eigenschap, true)) {
                if (stuk->bytes.empty()) {
                    return heel;
                }
                heel += stuk->bytes;
            }
        }
        return std::nullopt;
    }

    // The saving a manager does: every target but the ones about the selection itself.
    void bewaar() {
        const std::string doelen = leesHier("TARGETS", CurrentTime).value_or("");
        std::map<std::string, std::string> bewaard;
        for (std::size_t i = 0; i + sizeof(long) <= doelen.size(); i += sizeof(long)) {
            long atoom = 0;
            std::memcpy(&atoom, doelen.data() + i, sizeof(long));
            const std::string naam = x_.atoomNaam(static_cast<Atom>(atoom));
            if (naam != "TARGETS" && naam != "MULTIPLE" && naam != "TIMESTAMP") {
                bewaard[naam] = leesHier(naam, CurrentTime).value_or("");
            }
        }
        bezit_ = bewaard;
        XSetSelectionOwner(d_, x_.atoom("CLIPBOARD"), venster_, CurrentTime);
    }

    void zet(Window w, Atom eigenschap, Atom type, int formaat, const void* data, std::size_t n) {
        XChangeProperty(d_, w, eigenschap, type, formaat, PropModeReplace,
                        static_cast<const unsigned char*>(data), static_cast<int>(n));
    }

    template <typename P>
    bool wacht(XEvent& e, P p) {
        const auto einde = std::chrono::steady_clock::now() + std::chrono::seconds(3);
        const auto controle = [](Display*, XEvent* g, XPointer a) -> Bool {
            return (*reinterpret_cast<P*>(a))(*g) ? True : False;
        };
        while (XCheckIfEvent(d_, &e, controle, reinterpret_cast<XPointer>(&p)) == 0) {
            // Reading its own clipboard, the app answers itself.
            if (XCheckTypedWindowEvent(d_, venster_, SelectionRequest, &e) != 0) {
                dien(e.xselectionrequest);
            } else if (std::chrono::steady_clock::now() > einde) {
                return false;
            }
            pollfd f{ConnectionNumber(d_), POLLIN, 0};
            ::poll(&f, 1, 5);
        }
        return true;
    }

    void dien(const XSelectionRequestEvent& v) {
        if (x_.atoomNaam(v.target) == "TARGETS") {
            std::this_thread::sleep_for(std::chrono::milliseconds(targetsVertragingMs.load()));
        }
        XSelectionEvent a{SelectionNotify, 0,        False, d_,    v.requestor,
                          v.selection,     v.target, None,  v.time};
        if (v.selection == x_.atoom("CLIPBOARD_MANAGER")) {
            bewaar();
            a.property = v.property != None ? v.property : v.target;
            XSendEvent(d_, v.requestor, False, 0, reinterpret_cast<XEvent*>(&a));
            return;
        }
        const std::string naam = x_.atoomNaam(v.target);
        const auto it = bezit_.find(naam);
        if (naam == "TARGETS") {
            std::vector<long> lijst{static_cast<long>(v.target)};
            for (const auto& [doel, bytes] : bezit_) {
                lijst.push_back(static_cast<long>(x_.atoom(doel.c_str())));
            }
            zet(v.requestor, v.property, XA_ATOM, 32, lijst.data(), lijst.size());
        } else if (it != bezit_.end() && it->second.size() > deelGrootte) {
            XSelectInput(d_, v.requestor, PropertyChangeMask);
            const long grootte = static_cast<long>(it->second.size());
            zet(v.requestor, v.property, x_.atoom("INCR"), 32, &grootte, 1);
            uitgaand_ = {v.requestor, v.property, v.target, it->second};
        } else if (it != bezit_.end()) {
            zet(v.requestor, v.property, v.target, 8, it->second.data(), it->second.size());
        }
        a.property = naam == "TARGETS" || it != bezit_.end() ? v.property : None;
        XSendEvent(d_, v.requestor, False, 0, reinterpret_cast<XEvent*>(&a));
    }

    void volgendDeel(const XPropertyEvent& p) {
        if (!uitgaand_ || p.window != uitgaand_->aanvrager || p.atom != uitgaand_->eigenschap ||
            p.state != PropertyDelete) {
            return;
        }
        Uitgaand& u = *uitgaand_;
        const std::size_t n = std::min(deelGrootte, u.bytes.size() - u.positie);
        zet(u.aanvrager, u.eigenschap, u.type, 8, u.bytes.data() + u.positie, n);
        u.positie += n;
        if (n == 0) {
            uitgaand_.reset();
        }
    }

    // The key's symbol is looked up here, on the app's thread: Xlib's keyboard map belongs to the
    // connection, and reloading it from the test's thread while this one reads events races.
    void toetsIn(XKeyEvent& t) {
        const KeySym s = XLookupKeysym(&t, 0);
        {
            const std::lock_guard slot(slot_);
            toetsen_.emplace_back(t, s);
        }
        if (plakt_ && (s == XK_v || s == XK_V) && (t.state & ControlMask) != 0) {
            ++((t.state & ShiftMask) != 0 ? veld_.ctrlShiftV : veld_.ctrlV);
            veld_.tekst += leesHier("UTF8_STRING", t.time).value_or("");
        }
        if (plakt_ && s == XK_Insert && (t.state & ShiftMask) != 0) {
            ++veld_.shiftInsert;
            veld_.tekst += leesHier("UTF8_STRING", t.time, "PRIMARY").value_or("");
        }
    }

    void lus() {
        while (!stop_) {
            std::vector<std::function<void()>> taken;
            {
                const std::lock_guard s(slot_);
                taken.swap(taken_);
            }
            for (auto& t : taken) {
                t();
            }
            while (XPending(d_) > 0) {
                XEvent e;
                XNextEvent(d_, &e);
                if (e.type == SelectionRequest) {
                    dien(e.xselectionrequest);
                } else if (e.type == PropertyNotify) {
                    volgendDeel(e.xproperty);
                } else if (e.type == KeyPress) {
                    toetsIn(e.xkey);
                } else if (e.type == ClientMessage && e.xclient.data.l[0] == 1 &&
                           e.xclient.message_type == x_.atoom("_NET_ACTIVE_WINDOW")) {
                    appVroegActief_ = e.xclient.window;
                }
            }
            XFlush(d_);
            pollfd f{ConnectionNumber(d_), POLLIN, 0};
            ::poll(&f, 1, 5);
        }
    }

    static constexpr std::size_t deelGrootte = 64 * 1024;
    X11Verbinding* onze_;
    const bool plakt_;
    X11Verbinding x_;
    Display* d_;
    Window venster_ = None;
    std::map<std::string, std::string> bezit_;
    std::optional<Uitgaand> uitgaand_;
    Veld veld_;
    Window appVroegActief_ = None;
    std::mutex slot_;
    std::vector<std::function<void()>> taken_;
    std::vector<std::pair<XKeyEvent, KeySym>> toetsen_;
    std::atomic<bool> stop_{false};

  public:
    // An owner slow to say what it holds, as a busy app is.
    std::atomic<int> targetsVertragingMs{0};

  private:
    std::thread draad_;
};

}  // namespace tolmo::nep
