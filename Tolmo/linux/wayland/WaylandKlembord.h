#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Tolmo/Plakker/KlembordPoort.h"
#include "Tolmo/linux/wayland/WaylandFocus.h"
#include "Tolmo/linux/wayland/WaylandVerbinding.h"

struct wl_proxy;
struct zwp_virtual_keyboard_v1;

namespace tolmo {

struct DataControl;

// The clipboard of a Wayland seat through a data-control protocol (ext-data-control-v1, else
// zwlr_data_control_unstable_v1 from version 2), which lets a client without a focused window
// read and set the selection, and the paste keystroke through a virtual keyboard of our own
// (zwp_virtual_keyboard_v1). Main thread only: the compositor's requests for our data arrive
// through WaylandVerbinding::verwerk.
//
// A Wayland selection is one item with its data per MIME type, so a snapshot holds one item of
// (MIME type, bytes) pairs. The data source's `send` is a read: the paste's read is a text read
// after the keystroke went out, and the reads of clipboard managers, which fetch a new selection
// at once, are waited out before the keystroke.
class WaylandKlembord final : public KlembordPoort {
  public:
    // How long a snapshot may take in all; an owner that does not answer in time loses the types
    // it did not deliver.
    static constexpr std::chrono::milliseconds momentopnameTermijn{1000};
    // How long one reply may take to write when the reader does not empty its pipe.
    static constexpr std::chrono::milliseconds schrijfTermijn{1000};
    // After setting the dictation: the time clipboard managers get to fetch it before the
    // keystroke, so that their reads are not taken for the paste's.
    static constexpr std::chrono::milliseconds beheerderStilte{40};

    // Both must outlive the clipboard; the focus tells terminals by their app id.
    WaylandKlembord(WaylandVerbinding& verbinding, const WaylandFocus& focus);
    ~WaylandKlembord() override;
    WaylandKlembord(const WaylandKlembord&) = delete;
    WaylandKlembord& operator=(const WaylandKlembord&) = delete;

    // The data-control protocol in use ("ext-data-control-v1"), empty without one.
    [[nodiscard]] std::string_view protocol() const;
    [[nodiscard]] bool kanPlakken() const { return toetsenbord_ != nullptr; }

    [[nodiscard]] std::int64_t wijzigingsTeller() const override;
    [[nodiscard]] Momentopname maakMomentopname() const override;
    // Offers the text with the hint clipboard managers honour to keep it out of their history
    // (x-kde-passwordManagerHint, value "secret").
    std::int64_t schrijf(const std::string& tekst) override;
    void zetTekst(const std::string& tekst) override;
    // An empty snapshot clears the selection: it was empty before the dictation.
    void herstel(const Momentopname& momentopname) override;
    // Ctrl+V, or Ctrl+Shift+V when the window in front is a terminal.
    void stuurPlakToets() override;
    [[nodiscard]] bool toontLezen() const override { return true; }
    void zetOpGelezen(std::function<void()> opGelezen) override {
        opGelezen_ = std::move(opGelezen);
    }

    // Terminals paste with Ctrl+Shift+V. Compared without case, whole or as the last part of a
    // reverse-domain id ("org.wezfurlong.wezterm").
    [[nodiscard]] static bool isTerminal(std::string_view appId);

    struct Aanbod;
    struct Bron;

  private:
    using Paren = std::vector<std::pair<std::string, std::string>>;

    void neem(Paren paren, bool dictaat);
    void nieuweSelectie(wl_proxy* aanbod);
    void dien(Bron& bron, const char* mime, int fd);
    void vergeetBron(Bron* bron);
    void maakToetsenbord();
    void toets(std::uint32_t code, bool omlaag, std::uint32_t modifiers);

    WaylandVerbinding& verbinding_;
    const WaylandFocus& focus_;
    const DataControl* protocol_ = nullptr;
    wl_proxy* beheerder_ = nullptr;
    wl_proxy* apparaat_ = nullptr;

    // Offers announced and not yet made the selection, with their types so far.
    std::map<wl_proxy*, std::vector<std::string>> aanbiedingen_;
    // The seat's selection: another client's offer (absent while it is empty).
    wl_proxy* selectie_ = nullptr;
    std::vector<std::string> selectieTypen_;
    std::int64_t teller_ = 0;

    // Our sources: the one that holds the selection is the last.
    std::vector<std::unique_ptr<Bron>> bronnen_;
    Bron* bron_ = nullptr;
    bool plakGestuurd_ = false;
    std::function<void()> opGelezen_;

    ::zwp_virtual_keyboard_v1* toetsenbord_ = nullptr;
    std::uint32_t ctrl_ = 0, shift_ = 0;
    std::chrono::steady_clock::time_point begin_ = std::chrono::steady_clock::now();
};

}  // namespace tolmo
