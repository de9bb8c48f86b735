#include "Tolmo/linux/X11Focus.h"

#include <memory>

namespace tolmo {

std::optional<Window> actiefVenster(const X11Verbinding& verbinding) {
    const auto venster =
        verbinding.leesGetal(verbinding.wortel(), verbinding.atoom("_NET_ACTIVE_WINDOW"));
    if (!venster || *venster == None) {
        return std::nullopt;
    }
    return static_cast<Window>(*venster);
}

std::optional<WmKlasse> leesWmKlasse(const X11Verbinding& verbinding, Window venster) {
    const auto e = verbinding.leesEigenschap(venster, verbinding.atoom("WM_CLASS"));
    if (!e || e->formaat != 8 || e->bytes.empty()) {
        return std::nullopt;
    }
    // Two NUL-terminated strings; some clients leave off the last NUL or the class part.
    const std::string& b = e->bytes;
    const std::size_t eind = b.find('\0');
    WmKlasse uit;
    uit.instantie = b.substr(0, eind);
    if (eind != std::string::npos) {
        const std::string rest = b.substr(eind + 1);
        uit.klasse = rest.substr(0, rest.find('\0'));
    }
    return uit;
}

bool X11VensterIdentiteit::gelijkAan(const Identiteit& ander) const {
    const auto* a = dynamic_cast<const X11VensterIdentiteit*>(&ander);
    return a != nullptr && a->venster_ == venster_;
}

std::optional<Doel> X11Focus::huidig() const {
    const auto actief = actiefVenster(verbinding_);
    if (!actief) {
        return std::nullopt;
    }
    Doel doel;
    if (const auto pid = verbinding_.leesGetal(*actief, verbinding_.atoom("_NET_WM_PID"))) {
        doel.procesId = static_cast<std::int32_t>(*pid);
    }
    if (const auto klasse = leesWmKlasse(verbinding_, *actief); klasse && !klasse->klasse.empty()) {
        doel.bundleId = klasse->klasse;
    }
    Window focus = None;
    int terugval = 0;
    XGetInputFocus(verbinding_.display(), &focus, &terugval);
    // None and PointerRoot name no window: there is no field to compare.
    if (focus != None && focus != PointerRoot) {
        doel.veld = FocusVeld(std::make_shared<X11VensterIdentiteit>(focus));
    }
    return doel;
}

const std::vector<AppStijl>& linuxAppStijlen() {
    static const std::vector<AppStijl> apps{
        {"thunderbird", "Thunderbird", Stijl::zakelijk},
        {"Evolution", "Evolution", Stijl::zakelijk},
        {"Geary", "Geary", Stijl::zakelijk},
        {"kmail", "KMail", Stijl::zakelijk},
        {"TelegramDesktop", "Telegram", Stijl::los},
        {"Signal", "Signal", Stijl::los},
        {"discord", "Discord", Stijl::los},
        {"Slack", "Slack", Stijl::neutraal},
        {"Element", "Element", Stijl::neutraal},
        {"Code", "Visual Studio Code", Stijl::letterlijk},
        {"Cursor", "Cursor", Stijl::letterlijk},
        {"jetbrains-idea", "IntelliJ IDEA", Stijl::letterlijk},
        {"jetbrains-pycharm", "PyCharm", Stijl::letterlijk},
        {"Emacs", "Emacs", Stijl::letterlijk},
        {"Gedit", "gedit", Stijl::letterlijk},
        {"kate", "Kate", Stijl::letterlijk},
        {"Gnome-terminal", "GNOME Terminal", Stijl::letterlijk},
        {"konsole", "Konsole", Stijl::letterlijk},
        {"kitty", "kitty", Stijl::letterlijk},
        {"Alacritty", "Alacritty", Stijl::letterlijk},
        {"XTerm", "XTerm", Stijl::letterlijk},
        {"org.wezfurlong.wezterm", "WezTerm", Stijl::letterlijk},
        {"foot", "foot", Stijl::letterlijk},
        {"Tilix", "Tilix", Stijl::letterlijk},
        {"Terminator", "Terminator", Stijl::letterlijk},
        {"Xfce4-terminal", "Xfce Terminal", Stijl::letterlijk},
    };
    return apps;
}

}  // namespace tolmo
