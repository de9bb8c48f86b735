#include "Tolmo/linux/x11/X11Klembord.h"

#include <X11/Xatom.h>

#include <algorithm>
#include <cstring>
#include <string_view>
#include <thread>

#include "Tolmo/linux/x11/X11KlembordHulp.h"

// Reading another owner's selection: the snapshot of every type it offers, made on a thread with
// a connection of its own so that a slow owner never holds up the main loop.
namespace tolmo {
namespace {

using namespace x11klembord;

// Targets that describe the selection or act on it rather than hold its contents. DELETE and
// the INSERT_ ones have side effects on the owner; asking for them would be a fault.
constexpr std::string_view metaDoelen[] = {
    "TARGETS",         "MULTIPLE",     "TIMESTAMP",
    "DELETE",          "SAVE_TARGETS", "INSERT_SELECTION",
    "INSERT_PROPERTY", "LENGTH",       "LIST_LENGTH",
    "CLIENT_WINDOW",   "HOST_NAME",    "USER",
    "PROCESS",         "TASK",         "OWNER_OS",
};

}  // namespace

std::optional<X11Verbinding::Eigenschap> X11Klembord::haal(X11Verbinding& verbinding,
                                                           Window venster, Atom doel,
                                                           Klok::time_point einde, Atom selectie) {
    Display* display = verbinding.display();
    const Atom ontvang = verbinding.atoom("TOLMO_KLEMBORD");
    const Atom incr = verbinding.atoom("INCR");
    XDeleteProperty(display, venster, ontvang);
    XConvertSelection(display, selectie, doel, ontvang, venster, CurrentTime);
    XEvent e;
    const bool beantwoord = wachtOp(
        display, e,
        [&](const XEvent& g) {
            return g.type == SelectionNotify && g.xselection.requestor == venster &&
                   g.xselection.selection == selectie && g.xselection.target == doel;
        },
        einde);
    if (!beantwoord || e.xselection.property == None) {
        return std::nullopt;
    }
    // Reading with delete is what asks an INCR owner for its first part.
    auto antwoord = verbinding.leesEigenschap(venster, ontvang, true);
    if (!antwoord || antwoord->type != incr) {
        return antwoord;
    }
    X11Verbinding::Eigenschap heel;
    for (;;) {
        const bool nieuw = wachtOp(
            display, e,
            [&](const XEvent& g) {
                return g.type == PropertyNotify && g.xproperty.window == venster &&
                       g.xproperty.atom == ontvang && g.xproperty.state == PropertyNewValue;
            },
            einde);
        if (!nieuw) {
            return std::nullopt;
        }
        auto deel = verbinding.leesEigenschap(venster, ontvang, true);
        if (!deel) {
            // The report of a value already read (the INCR marker itself).
            continue;
        }
        if (deel->aantal == 0) {
            return heel;
        }
        heel.type = deel->type;
        heel.formaat = deel->formaat;
        heel.bytes += deel->bytes;
        heel.aantal += deel->aantal;
    }
}

KlembordPoort::Momentopname X11Klembord::maakMomentopname() const {
    // A second copy before the first was used (not how the paster works): the first must be
    // done before the clipboard can be looked at again.
    wachtOpMomentopname(false);
    const Window eigenaar = XGetSelectionOwner(display_, klembord_);
    if (eigenaar == None) {
        return {};
    }
    if (eigenaar == venster_) {
        if (!eigen_) {
            return {};
        }
        std::vector<std::pair<std::string, std::string>> item;
        for (const Doel& d : *eigen_) {
            item.emplace_back(
                sleutel(verbinding_.atoomNaam(d.doel), verbinding_.atoomNaam(d.type), d.formaat),
                *d.bytes);
        }
        return {item};
    }
    auto lopend = std::make_unique<Lopend>();
    lopend->id = ++volgendeId_;
    lopend->draad = std::thread([naam = std::string(DisplayString(display_)), melder = venster_,
                                 l = lopend.get()] {
        Momentopname uitkomst;
        std::optional<X11Verbinding> eigen;
        try {
            eigen.emplace(naam.c_str());
            XSetWindowAttributes kenmerken{};
            kenmerken.event_mask = PropertyChangeMask;
            const Window venster = XCreateWindow(eigen->display(), eigen->wortel(), -10, -10, 1, 1,
                                                 0, 0, InputOnly, nullptr, CWEventMask, &kenmerken);
            uitkomst = haalMomentopname(*eigen, venster, eigen->atoom("CLIPBOARD"));
            XDestroyWindow(eigen->display(), venster);
        } catch (const std::exception&) {
            // No second connection: nothing could be copied; the paste still goes ahead.
        }
        {
            const std::lock_guard slot(l->slot);
            l->uitkomst = std::move(uitkomst);
            l->klaar = true;
        }
        // Wakes the main loop: the change is reported on our main window's connection.
        if (eigen) {
            const unsigned char niets = 0;
            XChangeProperty(eigen->display(), melder, eigen->atoom("TOLMO_MOMENTOPNAME"), XA_STRING,
                            8, PropModeAppend, &niets, 0);
            XSync(eigen->display(), False);
        }
    });
    const auto id = lopend->id;
    lopend_ = std::move(lopend);
    return {{{std::string(wachtSleutel), std::to_string(id)}}};
}

KlembordPoort::Momentopname X11Klembord::haalMomentopname(X11Verbinding& verbinding, Window venster,
                                                          Atom selectie) {
    Display* display = verbinding.display();
    const auto einde = Klok::now() + momentopnameTermijn;
    const auto lijst = haal(verbinding, venster, verbinding.atoom("TARGETS"), einde, selectie);
    if (!lijst || lijst->formaat != 32 || lijst->aantal == 0) {
        return {};
    }
    std::vector<Atom> doelen(lijst->aantal);
    for (std::size_t i = 0; i < doelen.size(); ++i) {
        long a = 0;
        std::memcpy(&a, lijst->bytes.data() + i * sizeof(long), sizeof a);
        doelen[i] = static_cast<Atom>(a);
    }
    // One round trip for every name; an atom the server does not know keeps an empty name.
    std::vector<std::string> namen(doelen.size());
    {
        std::vector<char*> ruw(doelen.size(), nullptr);
        XGetAtomNames(display, doelen.data(), static_cast<int>(doelen.size()), ruw.data());
        for (std::size_t i = 0; i < ruw.size(); ++i) {
            if (ruw[i] != nullptr) {
                namen[i] = ruw[i];
                XFree(ruw[i]);
            }
        }
    }
    std::vector<std::pair<std::string, std::string>> item;
    std::vector<Atom> gehad;
    for (std::size_t i = 0; i < doelen.size() && Klok::now() < einde; ++i) {
        const std::string& naam = namen[i];
        const bool meta =
            std::find(std::begin(metaDoelen), std::end(metaDoelen), naam) != std::end(metaDoelen);
        if (naam.empty() || meta ||
            std::find(gehad.begin(), gehad.end(), doelen[i]) != gehad.end()) {
            continue;
        }
        gehad.push_back(doelen[i]);
        if (auto e = haal(verbinding, venster, doelen[i], einde, selectie)) {
            const std::string type = e->type == doelen[i] ? naam : verbinding.atoomNaam(e->type);
            item.emplace_back(sleutel(naam, type, e->formaat), std::move(e->bytes));
        }
    }
    if (item.empty()) {
        return {};
    }
    return {item};
}

void X11Klembord::naMomentopname(std::function<void()> stap) {
    if (lopend_ || !wachtrij_.empty()) {
        wachtrij_.push_back(std::move(stap));
    } else {
        stap();
    }
}

void X11Klembord::momentopnameKlaar() const {
    if (!lopend_) {
        return;
    }
    {
        const std::lock_guard slot(lopend_->slot);
        if (!lopend_->klaar) {
            return;
        }
    }
    if (lopend_->draad.joinable()) {
        lopend_->draad.join();
    }
    gemaakt_.emplace(lopend_->id, std::move(lopend_->uitkomst));
    lopend_.reset();
    while (!wachtrij_.empty() && !lopend_) {
        auto stap = std::move(wachtrij_.front());
        wachtrij_.pop_front();
        stap();
    }
}

void X11Klembord::wachtOpMomentopname(bool vergeet) const {
    if (!lopend_) {
        return;
    }
    lopend_->draad.join();
    if (vergeet) {
        lopend_.reset();
        wachtrij_.clear();
        return;
    }
    momentopnameKlaar();
}

}  // namespace tolmo
