#include "Tolmo/linux/freedesktop/Autostart.h"

#include <fstream>
#include <string_view>
#include <system_error>

#include "Tolmo/linux/freedesktop/XdgOpslag.h"

namespace tolmo {

std::filesystem::path Autostart::pad() {
    return XdgOpslag::configMap().parent_path() / "autostart" / "tolmo-app.desktop";
}

std::string Autostart::execArgument(const std::string& programma) {
    constexpr std::string_view gereserveerd = " \t\n\"'\\><~|&;$*?#()`=%";
    std::string uit;
    for (const char c : programma) {
        // A field code starts with %, in quotes or not.
        if (c == '%') {
            uit += "%%";
        } else if (c == '\n') {
            uit += "\\n";
        } else if (c == '"' || c == '`' || c == '$' || c == '\\') {
            // Escaped once for the quoting, and each backslash again because the value is read
            // as a string (which unescapes \\) before the command line is split.
            uit += c == '\\' ? "\\\\\\\\" : std::string("\\\\") + c;
        } else {
            uit += c;
        }
    }
    if (programma.find_first_of(gereserveerd) == std::string::npos) {
        return uit;
    }
    return '"' + uit + '"';
}

std::string Autostart::inhoud(const std::string& programma) {
    return "[Desktop Entry]\n"
           "Type=Application\n"
           "Name=Tolmo\n"
           "Comment=Dicteren: houd een toets ingedrukt, spreek, laat los\n"
           "Exec=" +
           execArgument(programma) +
           "\n"
           "Icon=tolmo-app\n"
           "Terminal=false\n"
           "X-GNOME-Autostart-enabled=true\n";
}

bool Autostart::aan(const std::filesystem::path& bestand) {
    std::ifstream in(bestand);
    if (!in) {
        return false;
    }
    // Keys may have spaces around the '='.
    const auto zonderRand = [](std::string_view t) {
        const auto begin = t.find_first_not_of(" \t\r");
        return begin == std::string_view::npos
                   ? std::string_view()
                   : t.substr(begin, t.find_last_not_of(" \t\r") - begin + 1);
    };
    bool inEntry = false;
    for (std::string regel; std::getline(in, regel);) {
        const std::string_view r = zonderRand(regel);
        const auto is = r.find('=');
        if (r.starts_with('[')) {
            inEntry = r == "[Desktop Entry]";
        } else if (inEntry && is != std::string_view::npos) {
            const auto sleutel = zonderRand(r.substr(0, is));
            const auto waarde = zonderRand(r.substr(is + 1));
            if ((sleutel == "Hidden" && waarde == "true") ||
                (sleutel == "X-GNOME-Autostart-enabled" && waarde == "false")) {
                return false;
            }
        }
    }
    return true;
}

void Autostart::zetAan(const std::filesystem::path& bestand, const std::string& programma) {
    std::filesystem::create_directories(bestand.parent_path());
    schrijfAtomisch(bestand, inhoud(programma), 0644);
}

void Autostart::zetUit(const std::filesystem::path& bestand) {
    std::filesystem::remove(bestand);
}

}  // namespace tolmo
