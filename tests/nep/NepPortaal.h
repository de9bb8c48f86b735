#pragma once

#include <gio/gio.h>

#include <cstdint>
#include <future>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace tolmo::nep {

// A desktop's RemoteDesktop backend, as the real portal frontend calls it: it answers
// CreateSession, SelectDevices and Start, keeps the sessions as objects the frontend can close,
// and writes down what it was asked. A Start without restore data stands for the dialog a
// desktop shows; with restore data it stands for the silent restore. It runs on a thread and a
// bus connection of its own, so it answers the frontend whatever the test's thread is doing.
class NepPortaal {
  public:
    static constexpr const char* busNaam = "org.freedesktop.impl.portal.desktop.tolmotest";

    struct Toets {
        int keysym = 0;
        std::uint32_t stand = 0;
        bool operator==(const Toets&) const = default;
    };

    explicit NepPortaal(const std::string& busAdres) {
        std::promise<std::string> klaar;
        auto uitkomst = klaar.get_future();
        draad_ = std::thread([this, busAdres, &klaar] { draai(busAdres, klaar); });
        fout_ = uitkomst.get();
    }
    ~NepPortaal() {
        // Quit from inside the loop: a quit before the thread reaches g_main_loop_run is lost.
        if (fout_.empty()) {
            GSource* stop = g_idle_source_new();
            g_source_set_callback(
                stop,
                [](gpointer lus) {
                    g_main_loop_quit(static_cast<GMainLoop*>(lus));
                    return G_SOURCE_REMOVE;
                },
                lus_, nullptr);
            g_source_attach(stop, g_main_loop_get_context(lus_));
            g_source_unref(stop);
        }
        draad_.join();
    }
    NepPortaal(const NepPortaal&) = delete;
    NepPortaal& operator=(const NepPortaal&) = delete;

    // Empty when the backend owns its name.
    [[nodiscard]] const std::string& fout() const { return fout_; }

    // The answer to the next Starts: 0 granted, 1 the user refused.
    void zetStartAntwoord(std::uint32_t code) {
        std::lock_guard slot(mutex_);
        startAntwoord_ = code;
    }
    // Starts that asked the user.
    [[nodiscard]] int dialogen() const {
        std::lock_guard slot(mutex_);
        return dialogen_;
    }
    // The restore data the frontend handed to SelectDevices, in order.
    [[nodiscard]] std::vector<std::string> herstelGegevens() const {
        std::lock_guard slot(mutex_);
        return herstel_;
    }
    [[nodiscard]] std::vector<Toets> toetsen() const {
        std::lock_guard slot(mutex_);
        return toetsen_;
    }
    [[nodiscard]] std::vector<std::string> gesloten() const {
        std::lock_guard slot(mutex_);
        return gesloten_;
    }
    [[nodiscard]] std::vector<std::string> sessies() const {
        std::lock_guard slot(mutex_);
        return sessies_;
    }
    // The desktop ends a session on its own (the user stopped it).
    void sluitSessie(const std::string& pad) {
        g_dbus_connection_emit_signal(bus_, nullptr, pad.c_str(),
                                      "org.freedesktop.impl.portal.Session", "Closed", nullptr,
                                      nullptr);
        g_dbus_connection_flush_sync(bus_, nullptr, nullptr);
    }

  private:
    static constexpr const char* xml = R"(<node>
  <interface name="org.freedesktop.impl.portal.RemoteDesktop">
    <method name="CreateSession">
      <arg type="o" direction="in"/><arg type="o" direction="in"/><arg type="s" direction="in"/>
      <arg type="a{sv}" direction="in"/>
      <arg type="u" direction="out"/><arg type="a{sv}" direction="out"/>
    </method>
    <method name="SelectDevices">
      <arg type="o" direction="in"/><arg type="o" direction="in"/><arg type="s" direction="in"/>
      <arg type="a{sv}" direction="in"/>
      <arg type="u" direction="out"/><arg type="a{sv}" direction="out"/>
    </method>
    <method name="Start">
      <arg type="o" direction="in"/><arg type="o" direction="in"/><arg type="s" direction="in"/>
      <arg type="s" direction="in"/><arg type="a{sv}" direction="in"/>
      <arg type="u" direction="out"/><arg type="a{sv}" direction="out"/>
    </method>
    <method name="NotifyKeyboardKeysym">
      <arg type="o" direction="in"/><arg type="a{sv}" direction="in"/>
      <arg type="i" direction="in"/><arg type="u" direction="in"/>
    </method>
    <property name="AvailableDeviceTypes" type="u" access="read"/>
    <property name="version" type="u" access="read"/>
  </interface>
  <interface name="org.freedesktop.impl.portal.Session">
    <method name="Close"/>
    <signal name="Closed"/>
    <property name="version" type="u" access="read"/>
  </interface>
</node>)";

    void draai(const std::string& busAdres, std::promise<std::string>& klaar) {
        GMainContext* context = g_main_context_new();
        g_main_context_push_thread_default(context);
        lus_ = g_main_loop_new(context, FALSE);
        GError* e = nullptr;
        bus_ = g_dbus_connection_new_for_address_sync(
            busAdres.c_str(),
            static_cast<GDBusConnectionFlags>(G_DBUS_CONNECTION_FLAGS_AUTHENTICATION_CLIENT |
                                              G_DBUS_CONNECTION_FLAGS_MESSAGE_BUS_CONNECTION),
            nullptr, nullptr, &e);
        knopen_ = g_dbus_node_info_new_for_xml(xml, nullptr);
        std::string fout;
        if (bus_ == nullptr) {
            fout = e->message;
            g_error_free(e);
        } else {
            g_dbus_connection_register_object(bus_, "/org/freedesktop/portal/desktop",
                                              knopen_->interfaces[0], &vtabel, this, nullptr,
                                              nullptr);
            GVariant* r = g_dbus_connection_call_sync(
                bus_, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
                "RequestName", g_variant_new("(su)", busNaam, 4U), G_VARIANT_TYPE("(u)"),
                G_DBUS_CALL_FLAGS_NONE, 5000, nullptr, nullptr);
            if (r == nullptr) {
                fout = "de naam van de nepbackend is niet te krijgen";
            } else {
                g_variant_unref(r);
            }
        }
        const bool draait = fout.empty();
        klaar.set_value(fout);
        if (draait) {
            g_main_loop_run(lus_);
        }
        if (bus_ != nullptr) {
            g_dbus_connection_close_sync(bus_, nullptr, nullptr);
            g_object_unref(bus_);
        }
        g_dbus_node_info_unref(knopen_);
        g_main_loop_unref(lus_);
        g_main_context_pop_thread_default(context);
        g_main_context_unref(context);
    }

    static void roep(GDBusConnection*, const gchar*, const gchar* pad, const gchar* interface,
                     const gchar* methode, GVariant* p, GDBusMethodInvocation* aanroep,
                     gpointer data) {
        auto* zelf = static_cast<NepPortaal*>(data);
        const std::string m = methode;
        std::lock_guard slot(zelf->mutex_);
        if (std::string(interface) == "org.freedesktop.impl.portal.Session") {
            zelf->gesloten_.push_back(pad);
            g_dbus_connection_unregister_object(zelf->bus_, zelf->sessieObjecten_[pad]);
            g_dbus_method_invocation_return_value(aanroep, nullptr);
            return;
        }
        const gchar* sessie = nullptr;
        if (m == "NotifyKeyboardKeysym") {
            gint32 keysym = 0;
            guint32 stand = 0;
            g_variant_get(p, "(&o@a{sv}iu)", &sessie, nullptr, &keysym, &stand);
            zelf->toetsen_.push_back({keysym, stand});
            g_dbus_method_invocation_return_value(aanroep, nullptr);
            return;
        }
        GVariant* opties = nullptr;
        g_variant_get_child(p, 1, "&o", &sessie);
        g_variant_get_child(p, m == "Start" ? 4 : 3, "@a{sv}", &opties);
        GVariantBuilder uit;
        g_variant_builder_init(&uit, G_VARIANT_TYPE_VARDICT);
        std::uint32_t code = 0;
        if (m == "CreateSession") {
            zelf->sessies_.emplace_back(sessie);
            zelf->sessieObjecten_[sessie] = g_dbus_connection_register_object(
                zelf->bus_, sessie, zelf->knopen_->interfaces[1], &vtabel, zelf, nullptr, nullptr);
        } else if (m == "SelectDevices") {
            // The frontend puts the data it kept for a valid restore token in place of the token.
            const gchar* bron = nullptr;
            guint32 versie = 0;
            GVariant* gegevens = nullptr;
            if (g_variant_lookup(opties, "restore_data", "(&suv)", &bron, &versie, &gegevens)) {
                zelf->herstel_.emplace_back(g_variant_get_string(gegevens, nullptr));
                zelf->hersteld_[sessie] = g_variant_get_string(gegevens, nullptr);
                g_variant_unref(gegevens);
            }
        } else if (m == "Start") {
            std::string toestemming;
            if (const auto h = zelf->hersteld_.find(sessie); h != zelf->hersteld_.end()) {
                toestemming = h->second;
            } else {
                toestemming = "toestemming-" + std::to_string(++zelf->dialogen_);
                code = zelf->startAntwoord_;
            }
            if (code == 0) {
                g_variant_builder_add(&uit, "{sv}", "devices", g_variant_new_uint32(1));
                g_variant_builder_add(&uit, "{sv}", "persist_mode", g_variant_new_uint32(2));
                g_variant_builder_add(&uit, "{sv}", "restore_data",
                                      g_variant_new("(suv)", "tolmotest", 1U,
                                                    g_variant_new_string(toestemming.c_str())));
            }
        }
        g_variant_unref(opties);
        g_dbus_method_invocation_return_value(
            aanroep, g_variant_new("(u@a{sv})", code, g_variant_builder_end(&uit)));
    }

    static GVariant* eigenschap(GDBusConnection*, const gchar*, const gchar*, const gchar*,
                                const gchar* naam, GError**, gpointer) {
        return g_variant_new_uint32(std::string(naam) == "version" ? 2 : 1);
    }

    static constexpr GDBusInterfaceVTable vtabel{roep, eigenschap, nullptr, {}};

    std::thread draad_;
    GMainLoop* lus_ = nullptr;
    GDBusConnection* bus_ = nullptr;
    GDBusNodeInfo* knopen_ = nullptr;
    std::string fout_;
    mutable std::mutex mutex_;
    std::uint32_t startAntwoord_ = 0;
    int dialogen_ = 0;
    std::vector<std::string> herstel_;
    std::vector<Toets> toetsen_;
    std::vector<std::string> sessies_;
    std::vector<std::string> gesloten_;
    std::map<std::string, std::string> hersteld_;
    std::map<std::string, guint> sessieObjecten_;
};

}  // namespace tolmo::nep
