#include "Tolmo/linux/wayland/WaylandAdapters.h"

namespace tolmo {

WaylandAdapters::WaylandAdapters(bool xwaylandIndicator) : xwaylandIndicator_(xwaylandIndicator) {}

std::vector<Vermogen> WaylandAdapters::vermogens() const {
    using S = Vermogen::Soort;
    std::vector<Vermogen> v;
    if (kde()) {
        v.push_back({S::houdToets, "",
                     "KDE voert een sneltoets niet uit bij loslaten, dus een houdtoets kan hier "
                     "niet. Gebruik de wisselsneltoets."});
        v.push_back({S::wisselSneltoets, "sneltoets van KDE (tolmo-bediening --wissel)",
                     "Maak in Systeeminstellingen > Sneltoetsen een eigen sneltoets die "
                     "tolmo-bediening --wissel uitvoert."});
    } else {
        v.push_back({S::houdToets, "sneltoets van de compositor (tolmo-bediening --start/--stop)",
                     "Zet de regels onder Sneltoetsen van je compositor (of van tolmo-app "
                     "--bindingen sway|hyprland) in de configuratie van je compositor."});
        v.push_back({S::wisselSneltoets, "sneltoets van de compositor (tolmo-bediening --wissel)",
                     "Zet de regels onder Sneltoetsen van je compositor (of van tolmo-app "
                     "--bindingen sway|hyprland) in de configuratie van je compositor."});
    }
    if (!klembord_.protocol().empty()) {
        v.push_back({S::klembord, std::string(klembord_.protocol()), ""});
    } else {
        v.push_back({S::klembord, "",
                     "Deze compositor biedt geen data-control-protocol: Tolmo kan het klembord "
                     "niet lezen of zetten."});
    }
    if (plakToetsMogelijk()) {
        v.push_back({S::plakken, "zwp_virtual_keyboard_v1", ""});
    } else if (kde() || !klembord_.kanPlakken()) {
        v.push_back({S::plakken, "",
                     "Deze compositor biedt geen virtueel toetsenbord. De tekst komt op het "
                     "klembord en je plakt hem zelf met Ctrl+V; plakken via het "
                     "RemoteDesktop-portaal komt in een volgende versie."});
    } else {
        v.push_back({S::plakken, "",
                     "Zonder lijst van vensters weet Tolmo niet waar de tekst heen gaat. De "
                     "tekst komt op het klembord en je plakt hem zelf."});
    }
    if (focus_.beschikbaar()) {
        v.push_back({S::focus, "zwlr_foreign_toplevel_manager_v1 (app-id en titel)", ""});
    } else {
        v.push_back({S::focus, "",
                     "Deze compositor vertelt niet welke app vooraan staat, dus kiest Tolmo "
                     "geen stijl per app."});
    }
    if (xwaylandIndicator_) {
        v.push_back({S::indicator, "X11-venster via XWayland dat de focus weigert", ""});
    } else {
        v.push_back({S::indicator, "Wayland-venster van Qt",
                     "Zonder XWayland kan de opnamebalk de focus nemen; het systeemvak toont "
                     "de stand ook."});
    }
    return v;
}

}  // namespace tolmo
