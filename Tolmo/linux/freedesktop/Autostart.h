#pragma once

#include <filesystem>
#include <string>

namespace tolmo {

// Start at login through the XDG autostart folder, which GNOME, KDE, Xfce and most other
// sessions read: a desktop entry there named after the app starts it with the session.
class Autostart {
  public:
    // $XDG_CONFIG_HOME/autostart/tolmo-app.desktop, or ~/.config/autostart/tolmo-app.desktop.
    static std::filesystem::path pad();

    // The entry that starts `programma`, an absolute path.
    static std::string inhoud(const std::string& programma);
    // `programma` as one argument of an Exec line, quoted where the desktop entry rules ask it.
    static std::string execArgument(const std::string& programma);

    // On when the entry is there and not switched off: a session's own startup settings may
    // keep the file and mark it Hidden or not enabled.
    static bool aan(const std::filesystem::path& bestand);
    // Throw std::system_error when the file cannot be written or removed.
    static void zetAan(const std::filesystem::path& bestand, const std::string& programma);
    static void zetUit(const std::filesystem::path& bestand);
};

}  // namespace tolmo
