#pragma once

#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <X11/Xutil.h>
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
#include <vector>

#include "Tolmo/linux/X11Verbinding.h"

namespace tolmo::nep {

// Keeps our side answering for a moment: the main loop's part in a test.
inline void pomp(X11Verbinding& onze) {
    pollfd p{onze.descriptor(), POLLIN, 0};
    ::poll(&p, 1, 5);
    onze.verwerk();
}

// Another app on a connection and a thread of its own, written straight from the selection
// protocol: it owns the clipboard with the targets it is given (sending those over 64 KB in
// INCR parts), reads the clipboard as a pasting app does, and has two windows to type into.
class X11AndereApp {
  public:
    explicit X11AndereApp(X11Verbinding& onze) : onze_(onze), d_(x_.display()) {
        for (Window& w : vensters_) {
            w = XCreateSimpleWindow(d_, x_.wortel(), 0, 0, 100, 100, 0, 0, 0);
            XSelectInput(d_, w, PropertyChangeMask | KeyPressMask);
            XMapWindow(d_, w);
        }
        XSync(d_, False);
        draad_ = std::thread([this] { lus(); });
    }
    ~X11AndereApp() {
        stop_ = true;
        draad_.join();
    }

    [[nodiscard]] Window venster() const { return vensters_[0]; }

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
            pomp(onze_);
        }
        return klaar.get();
    }

    void bezit(std::map<std::string, std::string> doelen) {
        doe([this, doelen] {
            bezit_ = doelen;
            XSetSelectionOwner(d_, x_.atoom("CLIPBOARD"), vensters_[0], CurrentTime);
            XSync(d_, False);
        });
    }

    // Puts window i in front as a window manager would, with its WM_CLASS and _NET_WM_PID.
    void vooraan(const std::string& instantie, const std::string& klasse, long pid, int i = 0) {
        doe([=, this] {
            const std::string wmKlasse = instantie + '\0' + klasse + '\0';
            zet(vensters_[i], XA_WM_CLASS, XA_STRING, 8, wmKlasse.data(), wmKlasse.size());
            zet(vensters_[i], x_.atoom("_NET_WM_PID"), XA_CARDINAL, 32, &pid, 1);
            zet(x_.wortel(), x_.atoom("_NET_ACTIVE_WINDOW"), XA_WINDOW, 32, &vensters_[i], 1);
            XSetInputFocus(d_, vensters_[i], RevertToParent, CurrentTime);
            XSync(d_, False);
        });
    }

    // Reads a target with the time stamp given; empty when the owner refuses.
    std::optional<std::string> lees(const std::string& doel, Time tijd = CurrentTime) {
        return doe([=, this] { return leesHier(doel, tijd); });
    }

    // Acts as a clipboard manager: asked to save the clipboard, it reads every target and
    // takes the clipboard over with them.
    void wordBeheerder() {
        doe([this] {
            XSetSelectionOwner(d_, x_.atoom("CLIPBOARD_MANAGER"), vensters_[1], CurrentTime);
            XSync(d_, False);
        });
    }
    // What the app owns now (as manager: what it saved).
    std::map<std::string, std::string> bezit() {
        return doe([this] { return bezit_; });
    }

    // Waits (our side answering) for the key press of symbool; it and the keys before it are
    // then forgotten.
    std::optional<XKeyEvent> wachtOpToets(KeySym symbool) {
        const auto einde = std::chrono::steady_clock::now() + std::chrono::seconds(3);
        for (; std::chrono::steady_clock::now() < einde; pomp(onze_)) {
            const std::lock_guard s(slot_);
            for (auto it = toetsen_.begin(); it != toetsen_.end(); ++it) {
                if (XLookupKeysym(&*it, 0) == symbool) {
                    const XKeyEvent t = *it;
                    toetsen_.erase(toetsen_.begin(), it + 1);
                    return t;
                }
            }
        }
        return std::nullopt;
    }

  private:
    struct Uitgaand {
        Window aanvrager;
        Atom eigenschap, type;
        std::string bytes;
        std::size_t positie = 0;
    };

    std::optional<std::string> leesHier(const std::string& doel, Time tijd) {
        const Atom eigenschap = x_.atoom("LEES");
        XConvertSelection(d_, x_.atoom("CLIPBOARD"), x_.atoom(doel.c_str()), eigenschap,
                          vensters_[0], tijd);
        XEvent e;
        if (!wacht(e, [](const XEvent& g) { return g.type == SelectionNotify; }) ||
            e.xselection.property == None) {
            return std::nullopt;
        }
        auto antwoord = x_.leesEigenschap(vensters_[0], eigenschap, true);
        if (!antwoord || antwoord->type != x_.atoom("INCR")) {
            return antwoord ? std::optional(antwoord->bytes) : std::nullopt;
        }
        std::string heel;
        while (wacht(e, [&](const XEvent& g) {
            return g.type == PropertyNotify && g.xproperty.atom == eigenschap &&
                   g.xproperty.state == PropertyNewValue;
        })) {
            // A report without a value is the one of the INCR marker, read already.
            if (const auto stuk = x_.leesEigenschap(vensters_[0], eigenschap, true)) {
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
        XSetSelectionOwner(d_, x_.atoom("CLIPBOARD"), vensters_[0], CurrentTime);
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
            if (std::chrono::steady_clock::now() > einde) {
                return false;
            }
            pollfd f{ConnectionNumber(d_), POLLIN, 0};
            ::poll(&f, 1, 5);
        }
        return true;
    }

    void dien(const XSelectionRequestEvent& v) {
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
                    const std::lock_guard s(slot_);
                    toetsen_.push_back(e.xkey);
                }
            }
            XFlush(d_);
            pollfd f{ConnectionNumber(d_), POLLIN, 0};
            ::poll(&f, 1, 5);
        }
    }

    static constexpr std::size_t deelGrootte = 64 * 1024;
    X11Verbinding& onze_;
    X11Verbinding x_;
    Display* d_;
    Window vensters_[2] = {None, None};
    std::map<std::string, std::string> bezit_;
    std::optional<Uitgaand> uitgaand_;
    std::mutex slot_;
    std::vector<std::function<void()>> taken_;
    std::vector<XKeyEvent> toetsen_;
    std::atomic<bool> stop_{false};
    std::thread draad_;
};

}  // namespace tolmo::nep
