#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <string>

#include "Tolmo/Poorten/Focus.h"
#include "Tolmo/linux/freedesktop/AtSpiVeldSoort.h"

namespace tolmo {

// The focused field from AT-SPI2, over the window-level focus of the display (X11Focus).
//
// AT-SPI has no call that answers "what has focus"; the adapter follows the focus events apps
// send ("object:state-changed:focused", and the older "focus:") and keeps the last element that
// gained focus. libatspi receives them on its own D-Bus connection, dispatched by GLib's default
// main context: in tolmo-app that is Qt's event loop on the main thread (Qt's dispatcher on
// Linux is GLib's), so events and queries stay on the main thread like every other port.
//
// huidig() takes the app from the window focus and puts the followed element in as the field
// only when it still says it is focused and belongs to the process of the active window (its
// bus connection's process id against _NET_WM_PID). Otherwise, or when the accessibility bus
// does not answer, the window focus stands as it is. Where the window focus knows nothing (GNOME
// tells no client which window is in front), a focused element of another process stands for
// the app too: its process, and its id from the unit the desktop started it in. There, when no
// focus event came since the app listens (the user was typing before it started) or the element
// followed no longer says it is focused (it vanished without a focus event), the active window
// of each other app is searched for its focused element. Every query has the
// 0.5 s time-out the macOS adapter uses, so a hung app delays a paste by at most that much per
// call. Two fields are the same when they are the same accessible object: bus name and object path.
class AtSpiFocus final : public Focus {
  public:
    // The window focus must outlive this object.
    explicit AtSpiFocus(const Focus& venster);
    ~AtSpiFocus() override;
    AtSpiFocus(const AtSpiFocus&) = delete;
    AtSpiFocus& operator=(const AtSpiFocus&) = delete;

    [[nodiscard]] std::optional<Doel> huidig() const override;

    // Whether the accessibility bus answered and focus events are followed.
    [[nodiscard]] bool volgt() const;

    // The field of an accessible element (bus name and object path) that lies in the field the
    // window focus gave (venster, empty when it gave none). Two such fields are the same element;
    // against a field of the window focus alone (the bus did not answer in time at the other
    // end), the element counts as its window, so a slow bus is no switch of field.
    static FocusVeld veld(std::string bus, std::string pad, VeldSoort soort,
                          std::optional<FocusVeld> venster);

    // The app id of a process: the desktop file name in the unit the desktop started it in
    // (its cgroup, as /proc tells), else the program's name; absent when the process is gone.
    static std::optional<std::string> appIdVanProces(int pid, const std::filesystem::path& proc);

  private:
    struct Staat;
    const Focus& venster_;
    std::unique_ptr<Staat> staat_;
};

}  // namespace tolmo
