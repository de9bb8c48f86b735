#include "Tolmo/linux/freedesktop/Sleutelopslag.h"

#include <sys/stat.h>

#include "Tolmo/linux/freedesktop/SleutelbosKluis.h"

namespace tolmo {

std::optional<std::string> sessieBusAdres(const BestandsKluis::Omgeving& omgeving) {
    if (!omgeving) {
        return std::nullopt;
    }
    if (auto adres = omgeving("DBUS_SESSION_BUS_ADDRESS")) {
        // "disabled:" is D-Bus's own way to say there is no bus.
        if (adres->empty() || adres->rfind("disabled:", 0) == 0) {
            return std::nullopt;
        }
        return adres;
    }
    // GLib would try an X11 autolaunch after this; that starts a bus, which no key is worth.
    if (const auto runtime = omgeving("XDG_RUNTIME_DIR")) {
        const std::string socket = *runtime + "/bus";
        struct stat st {};
        if (::stat(socket.c_str(), &st) == 0 && S_ISSOCK(st.st_mode)) {
            return "unix:path=" + socket;
        }
    }
    return std::nullopt;
}

std::unique_ptr<Sleutelbeheer> openSleutelbeheer(const std::filesystem::path& configMap,
                                                 BestandsKluis::Omgeving omgeving) {
    if (const auto adres = sessieBusAdres(omgeving)) {
        try {
            auto bos = std::make_unique<SleutelbosKluis>(*adres, omgeving, configMap);
            bos->neemBestandOver();
            return bos;
        } catch (const std::exception&) {
            // No keyring (or a broken one): the file keeps the keys, as before there was one.
        }
    }
    return std::make_unique<BestandsKluis>(configMap, std::move(omgeving));
}

}  // namespace tolmo
