#pragma once

#include <X11/Xlib.h>

#include <cstddef>
#include <functional>
#include <map>
#include <optional>
#include <string>

namespace tolmo {

// The app's own Xlib connection, beside the toolkit's. Raw key events, key grabs, selection
// ownership and property reads go through it, so the adapters see every event they asked for and
// never depend on what a toolkit passes on. Main thread only: the main loop calls verwerk when the
// connection's descriptor is readable and before it goes to sleep (Xlib may have queued events
// while answering a request).
//
// X errors never end the program: they are counted per connection, so a call that may fail (a
// grab another client holds, a window that has just closed) is checked with FoutVanger.
class X11Verbinding {
  public:
    // Handles an event; answers true when it was meant for this handler.
    using Verwerker = std::function<bool(XEvent&)>;

    // Opens the display named (or $DISPLAY); throws std::runtime_error when there is none.
    explicit X11Verbinding(const char* naam = nullptr);
    ~X11Verbinding();
    X11Verbinding(const X11Verbinding&) = delete;
    X11Verbinding& operator=(const X11Verbinding&) = delete;

    [[nodiscard]] Display* display() const { return display_; }
    [[nodiscard]] Window wortel() const { return wortel_; }
    [[nodiscard]] int descriptor() const { return ConnectionNumber(display_); }

    // Hands every event waiting to the handlers, in the order they were added.
    void verwerk();
    // Handlers live until vergeet; a handler may add or forget handlers while it runs.
    std::size_t luister(Verwerker verwerker);
    void vergeet(std::size_t id);

    [[nodiscard]] Atom atoom(const char* naam) const;
    [[nodiscard]] std::string atoomNaam(Atom atoom) const;

    // The XInput2 major opcode (2.0 or later), empty without the extension.
    [[nodiscard]] std::optional<int> xinput2() const { return xinput2_; }
    // The XFixes event base (selection-owner events), empty without the extension.
    [[nodiscard]] std::optional<int> xfixes() const { return xfixes_; }
    [[nodiscard]] bool xtest() const { return xtest_; }

    // A window property as bytes (8-, 16- or 32-bit items as Xlib returns them); empty when
    // the window or the property is not there.
    struct Eigenschap {
        Atom type = None;
        int formaat = 0;
        std::string bytes;
        unsigned long aantal = 0;
    };
    [[nodiscard]] std::optional<Eigenschap> leesEigenschap(Window venster, Atom eigenschap,
                                                           bool verwijder = false) const;
    // A 32-bit property's first item (a window, a PID, a cardinal).
    [[nodiscard]] std::optional<unsigned long> leesGetal(Window venster, Atom eigenschap) const;

    // Counts the X errors on this connection while it lives; gelukt() syncs and tells whether
    // none came.
    class FoutVanger {
      public:
        explicit FoutVanger(const X11Verbinding& verbinding);
        ~FoutVanger();
        FoutVanger(const FoutVanger&) = delete;
        FoutVanger& operator=(const FoutVanger&) = delete;
        [[nodiscard]] bool gelukt();

      private:
        Display* display_;
        unsigned long begin_;
    };

  private:
    Display* display_ = nullptr;
    Window wortel_ = None;
    std::optional<int> xinput2_;
    std::optional<int> xfixes_;
    bool xtest_ = false;
    std::map<std::size_t, Verwerker> verwerkers_;
    std::size_t volgende_ = 0;
};

}  // namespace tolmo
