#pragma once

#include <X11/Xlib.h>
#include <X11/extensions/Xfixes.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "Tolmo/Plakker/KlembordPoort.h"
#include "Tolmo/linux/x11/X11Focus.h"
#include "Tolmo/linux/x11/X11PlakToetsen.h"
#include "Tolmo/linux/x11/X11Verbinding.h"

namespace tolmo {

// The X11 CLIPBOARD selection, owned through a hidden window of our own, and the paste keystroke
// through XTest. Main thread only: requests from other clients are answered from the handler this
// adds to the connection, so the main loop must keep calling X11Verbinding::verwerk.
//
// Another app's clipboard is copied on a thread with a display connection of its own, so an owner
// that is slow to answer (up to momentopnameTermijn) never holds up the main loop. The snapshot
// handed out meanwhile stands for that copy; what would change the clipboard or paste
// (schrijf, zetTekst, herstel, stuurPlakToets) waits until the copy is done and then runs in
// the order it was asked, so the owner still has its data while it is copied and the paste
// reads what was written. The change count already counts the writes still waiting.
//
// X11 has one item per clipboard: a snapshot holds one item whose pairs are (target, bytes), the
// key naming the reply's type and format as well when they differ from the target's own name in
// 8-bit items (TEXT answered as UTF8_STRING), so a restore answers exactly as the owner did.
class X11Klembord final : public KlembordPoort {
  public:
    // Gets the window of the client that fetched the dictation's text.
    using Gelezen = std::function<void(Window)>;

    // How long a snapshot may take in all; an owner that does not answer in time loses the
    // targets it did not deliver.
    static constexpr std::chrono::milliseconds momentopnameTermijn{1000};
    // How long the paste keystroke waits for the user to let go of every modifier.
    static constexpr std::chrono::milliseconds modifierTermijn{500};

    // eigenRegels: the user's own rows of paste chords per app, before the built-in ones.
    explicit X11Klembord(X11Verbinding& verbinding,
                         std::vector<X11PlakToetsen::Regel> eigenRegels = {});
    ~X11Klembord() override;
    X11Klembord(const X11Klembord&) = delete;
    X11Klembord& operator=(const X11Klembord&) = delete;

    [[nodiscard]] std::int64_t wijzigingsTeller() const override;
    [[nodiscard]] Momentopname maakMomentopname() const override;
    // Offers the text with the hint clipboard managers honour to keep it out of their history
    // (target x-kde-passwordManagerHint, value "secret"). When the active app pastes from
    // PRIMARY (xterm), PRIMARY offers the text as well, and its text comes back with herstel.
    std::int64_t schrijf(const std::string& tekst) override;
    // Text for the user to paste: on the CLIPBOARD, and on PRIMARY too when the active app
    // pastes from there.
    void zetTekst(const std::string& tekst) override;
    // An empty snapshot gives the clipboard up: it was empty before the dictation.
    void herstel(const Momentopname& momentopname) override;
    // The active app's paste chord (Ctrl+V, Ctrl+Shift+V for terminals, Shift+Insert for
    // xterm). Waits (at most modifierTermijn) until no modifier is held, or the keystroke would
    // be another shortcut.
    void stuurPlakToets() override;
    [[nodiscard]] std::optional<std::string> plakToetsNaam() const override;

    // Called from verwerk when the app we pasted into has fetched the dictation's text (see
    // isPlakLezing), at most once per paste keystroke, after the answer went out: the clipboard
    // may be restored right away.
    void opGelezen(Gelezen gelezen) { gelezen_ = std::move(gelezen); }

    [[nodiscard]] bool toontLezen() const override { return true; }
    void zetOpGelezen(std::function<void()> opGelezen) override;

    [[nodiscard]] bool bezitKlembord() const { return eigen_.has_value(); }
    // Whether another app's clipboard is still being copied.
    [[nodiscard]] bool momentopnameLoopt() const { return lopend_ != nullptr; }

    // Before the app quits: X11 keeps no copy of a selection whose owner has gone, so what we
    // own is handed to a running clipboard manager (SAVE_TARGETS on CLIPBOARD_MANAGER), which
    // reads every target and takes the clipboard over. True once the manager reports it done;
    // false without a manager, without ownership, or when termijn runs out.
    bool geefAanBeheerder(std::chrono::milliseconds termijn);
    [[nodiscard]] Window venster() const { return venster_; }

    // A request for our clipboard, as far as telling the paste's read apart needs.
    struct Lezing {
        std::string_view doel;  // the target asked for
        bool dictaat = false;   // what we offer is a dictation (not a restore, not zetTekst)
        // Server time taken just before the paste keystroke went out; empty until then.
        std::optional<Time> plakTijd;
        Time tijd = CurrentTime;  // the request's time stamp
        // The requestor belongs to the client or the process that made the active window at
        // the paste.
        bool uitDoelApp = false;
    };
    // Whether a request is the pasting app fetching the dictation's text. Apps paste on the key
    // event and convert with that event's time, which is at or after plakTijd. Clipboard
    // managers react to the owner change instead: they convert with CurrentTime or with a time
    // from around the change, which stuurPlakToets keeps a few milliseconds before plakTijd.
    // They also ask for targets that are not text (TARGETS, SAVE_TARGETS, the hint) first; only
    // a text target counts. Some toolkits paste with CurrentTime as well; such a read counts when
    // the X server says the requestor belongs to the app we pasted into: the very client that
    // made its window, or the same process (LibreOffice's own toolkit reads the selection over a
    // second connection of its own).
    [[nodiscard]] static bool isPlakLezing(const Lezing& lezing);

  private:
    struct Doel {
        Atom doel = None;
        Atom type = None;
        int formaat = 8;
        std::shared_ptr<const std::string> bytes;
    };
    // A copy of another owner's clipboard on its own thread and connection.
    struct Lopend {
        std::uint64_t id = 0;
        std::mutex slot;
        bool klaar = false;
        Momentopname uitkomst;
        std::thread draad;
    };
    // A reply too large for one request, sent in parts as the requestor deletes each one.
    struct Overdracht {
        Window aanvrager = None;
        Atom eigenschap = None;
        Doel doel;
        std::size_t positie = 0;
        std::chrono::steady_clock::time_point laatst;
    };

    bool verwerk(XEvent& gebeurtenis);
    void telWissel(const XFixesSelectionNotifyEvent& wissel) const;
    void bijwerken() const;
    [[nodiscard]] Time serverTijd() const;
    void neem(std::vector<Doel> doelen, bool dictaat);
    void geefOp();
    // PRIMARY, for the apps that paste from there.
    void neemPrimair(std::vector<Doel> doelen, bool dictaat);
    [[nodiscard]] X11PlakToetsen::Profiel doelProfiel() const;
    [[nodiscard]] std::optional<std::string> primairTekst() const;
    [[nodiscard]] std::vector<Doel> tekstDoelen(const std::string& tekst) const;
    // Reads a target of another owner's selection into `venster`'s property, INCR included;
    // blocks until einde at most.
    static std::optional<X11Verbinding::Eigenschap> haal(
        X11Verbinding& verbinding, Window venster, Atom doel,
        std::chrono::steady_clock::time_point einde, Atom selectie);
    static Momentopname haalMomentopname(X11Verbinding& verbinding, Window venster, Atom selectie);
    // Runs stap now, or after the running copy in the order asked.
    void naMomentopname(std::function<void()> stap);
    // The copy is done: keeps it and runs what waited for it.
    void momentopnameKlaar() const;
    // Blocks until the running copy is done; wat waited runs unless `vergeet`.
    void wachtOpMomentopname(bool vergeet) const;
    std::int64_t schrijfNu(const std::string& tekst);
    void herstelNu(const Momentopname& momentopname);
    void dienVerzoek(const XSelectionRequestEvent& verzoek);
    bool dien(const std::vector<Doel>& doelen, Window aanvrager, Atom doel, Atom eigenschap);
    bool dienMultiple(const std::vector<Doel>& doelen, Window aanvrager, Atom eigenschap);
    bool stuurVolgendDeel(const XPropertyEvent& gebeurtenis);
    void wachtOpLosgelatenModifiers() const;
    static std::size_t xlibBreedte(int formaat);
    // Who made a window, as the X server knows it: the client (connection) and, for a local
    // client, its process.
    struct Maker {
        std::optional<XID> client;
        std::optional<long> proces;
    };
    static Maker makerVan(Display* display, Window venster);

    X11Verbinding& verbinding_;
    Display* display_;
    Window venster_ = None;
    std::size_t luisterId_ = 0;
    X11PlakToetsen plakToetsen_;
    Gelezen gelezen_;
    // The largest property a single request carries; larger replies go INCR.
    std::size_t maxDeel_ = 0;

    Atom klembord_, primair_, targets_, multiple_, timestamp_, incr_, atomPaar_, utf8_, tekstPlain_,
        tekst_, hint_, ontvang_, tijd_, beheerder_;

    // What we serve while we own CLIPBOARD.
    std::optional<std::vector<Doel>> eigen_;
    bool dictaat_ = false;
    // What we serve while we own PRIMARY; primairVoor_ is the user's text it held before a
    // dictation took it.
    std::optional<std::vector<Doel>> primairEigen_;
    bool primairDictaat_ = false;
    std::optional<std::string> primairVoor_;
    Time eigenaarTijd_ = CurrentTime;
    std::optional<Time> plakTijd_;
    // Who made the active window at the paste keystroke.
    Maker plakMaker_;
    std::vector<Overdracht> overdrachten_;
    bool doorBeheerderBewaard_ = false;

    mutable std::unique_ptr<Lopend> lopend_;
    mutable std::deque<std::function<void()>> wachtrij_;
    // The newest finished copy, by id: the only one a restore can still ask for.
    mutable std::optional<std::pair<std::uint64_t, Momentopname>> gemaakt_;
    mutable std::uint64_t volgendeId_ = 0;
    // Owner changes of our own still waiting in wachtrij_.
    std::int64_t voorspeld_ = 0;
    bool afsluiten_ = false;
    Atom klaarAtoom_ = None;

    // The count moves on every owner change; reading it first takes in the changes the server
    // has reported, hence mutable.
    mutable std::int64_t teller_ = 0;
    // Times of our own give-ups, whose owner-change reports were counted when we made them.
    mutable std::vector<Time> eigenLoslatingen_;
};

}  // namespace tolmo
