#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include "Tolmo/Poorten/Focus.h"

struct DBusConnection;

namespace tolmo {

// The window in front on KDE Plasma. KWin tells no ordinary Wayland client which window is
// active, but it runs scripts, and a script may call out over D-Bus. So the app writes a small
// script that calls it back with the active window's resource class (the app id, for a Wayland
// window), caption and id each time the active window changes, has KWin load and run it over
// the session bus (org.kde.KWin, /Scripting), and unloads it again when it ends; a script left
// behind by a crash is replaced at the next start.
//
// The session bus is a private libdbus connection whose descriptor the app's loop watches, so
// the calls arrive on the main thread with everything else and need no other event loop.
class KWinFocus final : public Focus {
  public:
    // scriptMap: where the script file is written (the runtime directory), which KWin must be
    // able to read.
    explicit KWinFocus(std::filesystem::path scriptMap);
    ~KWinFocus() override;
    KWinFocus(const KWinFocus&) = delete;
    KWinFocus& operator=(const KWinFocus&) = delete;

    [[nodiscard]] std::optional<Doel> huidig() const override;
    // Whether KWin runs the script; otherwise fout() says why not.
    [[nodiscard]] bool beschikbaar() const { return beschikbaar_; }
    [[nodiscard]] const std::string& fout() const { return fout_; }
    // The bus connection's descriptor, -1 without one.
    [[nodiscard]] int descriptor() const;
    // Handles what the bus delivered; does not block.
    void verwerk();

    struct Venster {
        std::string appId;
        std::string titel;
        std::string id;  // KWin's own id of the window, which no other window shares
    };
    [[nodiscard]] const std::optional<Venster>& actief() const { return actief_; }

    // The script KWin runs, calling back the bus name dienst.
    static std::string script(const std::string& dienst);

  private:
    struct Ontvanger;
    bool laadScript();
    void verbreek();

    DBusConnection* bus_ = nullptr;
    std::string kwin_;  // KWin's unique name on the bus, the only sender believed
    std::filesystem::path scriptPad_;
    std::optional<Venster> actief_;
    bool beschikbaar_ = false;
    std::string fout_;
};

}  // namespace tolmo
