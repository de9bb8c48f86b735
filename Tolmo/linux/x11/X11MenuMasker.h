#pragma once

#include <X11/Xlib.h>

#include <chrono>
#include <cstdint>
#include <deque>
#include <optional>
#include <set>

namespace tolmo {

class X11Verbinding;

// Keeps an app's menu from opening when the hold key is an Alt (or Super) key. Firefox and Qt
// apps open their menu bar when Alt goes down and up with no other key in between: the
// dictation's paste then lands in the menu. So while the hold key goes down we type one key that
// means nothing (a key code without a symbol), which to every app is "another key" and ends its
// wait for a lone Alt. AltGr (ISO_Level3_Shift) opens no menu and is left alone.
//
// The masking key comes through XTest and so shows up among the raw key events as well; the
// tap asks isEigen for each raw event and drops exactly the ones we made. Keys a test or another
// tool types through XTest are not ours and pass.
class X11MenuMasker {
  public:
    // The connection must outlive the masker.
    explicit X11MenuMasker(X11Verbinding& verbinding);

    // The hold key in the key source's vocabulary (61 right Option, 54 right Command); empty:
    // nothing is masked.
    void zetHoudToets(std::optional<std::uint16_t> appleToetscode) { houdToets_ = appleToetscode; }

    // A raw key event from device bron: true when it is one of ours (it is then forgotten).
    bool isEigen(int bron, unsigned int xToetscode, bool omlaag);
    // After a raw event that is not ours: a press of the hold key types the masking key.
    void naToets(unsigned int xToetscode, KeySym keysym, bool omlaag);

    // Whether a key opens a menu when it goes down and up alone.
    [[nodiscard]] static bool opentMenu(KeySym keysym);
    // The masking key (a key code the keyboard map leaves without a symbol), 0 if there is none.
    [[nodiscard]] unsigned int maskeerCode() const { return maskeerCode_; }

  private:
    struct Verwacht {
        unsigned int code;
        bool omlaag;
        std::chrono::steady_clock::time_point tijd;
    };

    X11Verbinding& x_;
    std::optional<std::uint16_t> houdToets_;
    unsigned int maskeerCode_ = 0;
    std::optional<int> xtestToetsenbord_;
    std::deque<Verwacht> verwacht_;
    // Held keys that were masked already: a key held down is masked once.
    std::set<unsigned int> omlaag_;
};

}  // namespace tolmo
