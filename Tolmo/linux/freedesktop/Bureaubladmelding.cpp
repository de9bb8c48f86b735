#include "Tolmo/linux/freedesktop/Bureaubladmelding.h"

#include <gio/gio.h>

namespace tolmo {

bool stuurBureaubladmelding(const std::string& titel, const std::string& tekst) {
    GDBusConnection* bus = g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, nullptr);
    if (bus == nullptr) {
        return false;
    }
    GVariantBuilder hints;
    g_variant_builder_init(&hints, G_VARIANT_TYPE_VARDICT);
    // The desktop shows the app's name and icon from its desktop file.
    g_variant_builder_add(&hints, "{sv}", "desktop-entry", g_variant_new_string("app.tolmo.Tolmo"));
    GVariant* antwoord = g_dbus_connection_call_sync(
        bus, "org.freedesktop.Notifications", "/org/freedesktop/Notifications",
        "org.freedesktop.Notifications", "Notify",
        g_variant_new("(susss@asa{sv}i)", "Tolmo", 0U, "tolmo-app", titel.c_str(), tekst.c_str(),
                      g_variant_new_strv(nullptr, 0), &hints, -1),
        G_VARIANT_TYPE("(u)"), G_DBUS_CALL_FLAGS_NONE, 2000, nullptr, nullptr);
    g_object_unref(bus);
    if (antwoord == nullptr) {
        return false;
    }
    g_variant_unref(antwoord);
    return true;
}

}  // namespace tolmo
