#include "Tolmo/linux/x11/X11PlakToetsen.h"

#include <algorithm>
#include <cctype>

namespace tolmo {
namespace {

std::string klein(std::string_view s) {
    std::string uit(s);
    std::transform(uit.begin(), uit.end(), uit.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return uit;
}

std::string_view bijgesneden(std::string_view s) {
    while (!s.empty() && std::isspace(static_cast<unsigned char>(s.front())) != 0) {
        s.remove_prefix(1);
    }
    while (!s.empty() && std::isspace(static_cast<unsigned char>(s.back())) != 0) {
        s.remove_suffix(1);
    }
    return s;
}

bool past(std::string_view deel, const std::string& app) {
    if (deel.empty()) {
        return false;
    }
    const std::string naam = klein(deel);
    const std::size_t punt = naam.rfind('.');
    return app == naam || (punt != std::string::npos && app == naam.substr(punt + 1));
}

}  // namespace

const std::vector<X11PlakToetsen::Regel>& X11PlakToetsen::ingebouwd() {
    constexpr Profiel terminal{Akkoord::ctrlShiftV, Selectie::klembord};
    constexpr Profiel primair{Akkoord::shiftInsert, Selectie::primair};
    static const std::vector<Regel> regels{
        {"xterm", primair},           {"uxterm", primair},
        {"urxvt", primair},           {"rxvt", primair},
        {"gnome-terminal", terminal}, {"gnome-terminal-server", terminal},
        {"konsole", terminal},        {"kitty", terminal},
        {"alacritty", terminal},      {"wezterm", terminal},
        {"foot", terminal},           {"tilix", terminal},
        {"terminator", terminal},     {"xfce4-terminal", terminal},
        {"lxterminal", terminal},     {"mate-terminal", terminal},
        {"qterminal", terminal},      {"terminology", terminal},
    };
    return regels;
}

X11PlakToetsen::X11PlakToetsen(std::vector<Regel> eigenRegels) : regels_(std::move(eigenRegels)) {
    for (Regel& r : regels_) {
        r.app = klein(r.app);
    }
    regels_.insert(regels_.end(), ingebouwd().begin(), ingebouwd().end());
}

X11PlakToetsen::Profiel X11PlakToetsen::voor(const std::optional<WmKlasse>& klasse) const {
    if (klasse) {
        for (const Regel& r : regels_) {
            if (past(klasse->instantie, r.app) || past(klasse->klasse, r.app)) {
                return r.profiel;
            }
        }
    }
    return {};
}

std::string X11PlakToetsen::naam(Akkoord akkoord) {
    switch (akkoord) {
        case Akkoord::ctrlV:
            return "Ctrl+V";
        case Akkoord::ctrlShiftV:
            return "Ctrl+Shift+V";
        case Akkoord::shiftInsert:
            return "Shift+Insert";
    }
    return "Ctrl+V";
}

std::vector<X11PlakToetsen::Regel> X11PlakToetsen::leesRegels(std::string_view tekst,
                                                              std::vector<std::string>* fouten) {
    std::vector<Regel> regels;
    while (!tekst.empty()) {
        const std::size_t eind = tekst.find(';');
        const std::string_view rij = bijgesneden(tekst.substr(0, eind));
        tekst.remove_prefix(eind == std::string_view::npos ? tekst.size() : eind + 1);
        if (rij.empty()) {
            continue;
        }
        const std::size_t is = rij.find('=');
        const std::string_view app = bijgesneden(rij.substr(0, is));
        std::string_view rest = is == std::string_view::npos ? "" : bijgesneden(rij.substr(is + 1));
        const std::size_t spatie = rest.find(' ');
        const std::string akkoord = klein(bijgesneden(rest.substr(0, spatie)));
        const std::string selectie =
            spatie == std::string_view::npos ? "" : klein(bijgesneden(rest.substr(spatie)));
        std::optional<Akkoord> a;
        for (const Akkoord k : {Akkoord::ctrlV, Akkoord::ctrlShiftV, Akkoord::shiftInsert}) {
            if (akkoord == klein(naam(k))) {
                a = k;
            }
        }
        const bool selectieGoed =
            selectie.empty() || selectie == "primary" || selectie == "clipboard";
        if (app.empty() || !a || !selectieGoed) {
            if (fouten != nullptr) {
                fouten->emplace_back(rij);
            }
            continue;
        }
        const bool primair =
            selectie == "primary" || (selectie.empty() && *a == Akkoord::shiftInsert);
        regels.push_back(
            {std::string(app), {*a, primair ? Selectie::primair : Selectie::klembord}});
    }
    return regels;
}

}  // namespace tolmo
