#include "Tolmo/linux/wayland/KWinFocus.h"

#include <dbus/dbus.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <memory>

namespace tolmo {

namespace {

constexpr const char* objectPad = "/nl/tolmo/Focus";
constexpr const char* interfaceNaam = "nl.tolmo.Focus";
// One name for every run: a script a crashed app left in KWin is unloaded by the next start.
constexpr const char* pluginNaam = "tolmo-focus";

struct Fout {
    Fout() { dbus_error_init(&e); }
    ~Fout() { dbus_error_free(&e); }
    Fout(const Fout&) = delete;
    Fout& operator=(const Fout&) = delete;
    [[nodiscard]] bool gezet() const { return dbus_error_is_set(&e) != 0; }
    DBusError e;
};

struct BerichtWeg {
    void operator()(DBusMessage* m) const { dbus_message_unref(m); }
};
using Bericht = std::unique_ptr<DBusMessage, BerichtWeg>;

// A call with string arguments that waits at most 2 s for its answer; null with the reason in
// fout when none came.
Bericht roep(DBusConnection* bus, const char* dienst, const char* pad, const char* interface,
             const char* methode, std::initializer_list<const char*> args, std::string& fout) {
    Bericht vraag(dbus_message_new_method_call(dienst, pad, interface, methode));
    DBusMessageIter it;
    dbus_message_iter_init_append(vraag.get(), &it);
    for (const char* a : args) {
        dbus_message_iter_append_basic(&it, DBUS_TYPE_STRING, &a);
    }
    Fout f;
    Bericht antwoord(dbus_connection_send_with_reply_and_block(bus, vraag.get(), 2000, &f.e));
    if (!antwoord) {
        fout =
            std::string(methode) + ": " + (f.e.message != nullptr ? f.e.message : "geen antwoord");
    }
    return antwoord;
}

}  // namespace

struct KWinFocus::Ontvanger {
    static DBusHandlerResult bericht(DBusConnection* bus, DBusMessage* m, void* data) {
        auto* focus = static_cast<KWinFocus*>(data);
        if (dbus_message_is_method_call(m, interfaceNaam, "Actief") == 0) {
            return DBUS_HANDLER_RESULT_NOT_YET_HANDLED;
        }
        const char* app = "";
        const char* titel = "";
        const char* id = "";
        Fout f;
        const char* afzender = dbus_message_get_sender(m);
        // Only KWin says which window is in front; another client on the bus is not believed.
        if (afzender != nullptr && focus->kwin_ == afzender &&
            dbus_message_get_args(m, &f.e, DBUS_TYPE_STRING, &app, DBUS_TYPE_STRING, &titel,
                                  DBUS_TYPE_STRING, &id, DBUS_TYPE_INVALID) != 0) {
            focus->actief_.reset();
            if (*id != '\0') {
                focus->actief_ = Venster{app, titel, id};
            }
        }
        if (dbus_message_get_no_reply(m) == 0) {
            Bericht antwoord(dbus_message_new_method_return(m));
            dbus_connection_send(bus, antwoord.get(), nullptr);
        }
        return DBUS_HANDLER_RESULT_HANDLED;
    }
};

std::string KWinFocus::script(const std::string& dienst) {
    return "// Tolmo: tells the app which window is in front, so that its text goes there.\n"
           "function meld(w) {\n"
           "    callDBus(\"" +
           dienst + "\", \"" + objectPad + "\", \"" + interfaceNaam +
           "\", \"Actief\",\n"
           "             w ? String(w.resourceClass) : \"\", w ? String(w.caption) : \"\",\n"
           "             w ? String(w.internalId) : \"\");\n"
           "}\n"
           "workspace.windowActivated.connect(meld);\n"
           "meld(workspace.activeWindow);\n";
}

KWinFocus::KWinFocus(std::filesystem::path scriptMap)
    : scriptPad_(std::move(scriptMap) /
                 ("tolmo-kwin-focus-" + std::to_string(::getpid()) + ".js")) {
    Fout f;
    // The address as it is now: libdbus keeps the first session address it read for the whole
    // process, and its own lookup adds the defaults where none is set.
    const char* adres = std::getenv("DBUS_SESSION_BUS_ADDRESS");
    if (adres == nullptr) {
        bus_ = dbus_bus_get_private(DBUS_BUS_SESSION, &f.e);
    } else if ((bus_ = dbus_connection_open_private(adres, &f.e)) != nullptr &&
               dbus_bus_register(bus_, &f.e) == 0) {
        verbreek();
    }
    if (bus_ == nullptr) {
        fout_ = std::string("geen sessiebus: ") + (f.e.message != nullptr ? f.e.message : "");
        return;
    }
    dbus_connection_set_exit_on_disconnect(bus_, FALSE);
    static const DBusObjectPathVTable tabel{nullptr, &Ontvanger::bericht, nullptr, nullptr, nullptr,
                                            nullptr};
    if (dbus_connection_register_object_path(bus_, objectPad, &tabel, this) == 0) {
        fout_ = "geen objectpad op de sessiebus";
        verbreek();
        return;
    }
    beschikbaar_ = laadScript();
    if (!beschikbaar_) {
        verbreek();
    }
}

KWinFocus::~KWinFocus() {
    if (beschikbaar_) {
        std::string fout;
        roep(bus_, "org.kde.KWin", "/Scripting", "org.kde.kwin.Scripting", "unloadScript",
             {pluginNaam}, fout);
    }
    verbreek();
    std::error_code e;
    std::filesystem::remove(scriptPad_, e);
}

bool KWinFocus::laadScript() {
    const auto eigenaar = roep(bus_, "org.freedesktop.DBus", "/org/freedesktop/DBus",
                               "org.freedesktop.DBus", "GetNameOwner", {"org.kde.KWin"}, fout_);
    const char* naam = nullptr;
    if (!eigenaar || dbus_message_get_args(eigenaar.get(), nullptr, DBUS_TYPE_STRING, &naam,
                                           DBUS_TYPE_INVALID) == 0) {
        fout_ = "KWin is niet op de sessiebus (" + fout_ + ")";
        return false;
    }
    kwin_ = naam;
    {
        std::ofstream uit(scriptPad_);
        uit << script(dbus_bus_get_unique_name(bus_));
        if (!uit.flush()) {
            fout_ = "het KWin-script is niet te schrijven in " + scriptPad_.parent_path().string();
            return false;
        }
    }
    std::string genegeerd;
    roep(bus_, "org.kde.KWin", "/Scripting", "org.kde.kwin.Scripting", "unloadScript", {pluginNaam},
         genegeerd);
    const std::string pad = scriptPad_.string();
    if (!roep(bus_, "org.kde.KWin", "/Scripting", "org.kde.kwin.Scripting", "loadScript",
              {pad.c_str(), pluginNaam}, fout_) ||
        !roep(bus_, "org.kde.KWin", "/Scripting", "org.kde.kwin.Scripting", "start", {}, fout_)) {
        fout_ = "KWin laadt het script niet (" + fout_ + ")";
        return false;
    }
    return true;
}

void KWinFocus::verbreek() {
    if (bus_ != nullptr) {
        dbus_connection_close(bus_);
        dbus_connection_unref(bus_);
        bus_ = nullptr;
    }
}

int KWinFocus::descriptor() const {
    int fd = -1;
    if (bus_ == nullptr || dbus_connection_get_unix_fd(bus_, &fd) == 0) {
        return -1;
    }
    return fd;
}

void KWinFocus::verwerk() {
    if (bus_ == nullptr) {
        return;
    }
    dbus_connection_read_write(bus_, 0);
    while (dbus_connection_dispatch(bus_) == DBUS_DISPATCH_DATA_REMAINS) {
    }
}

std::optional<Doel> KWinFocus::huidig() const {
    if (!actief_) {
        return std::nullopt;
    }
    // KWin's id of the window stands for the field: Wayland tells no process, so AT-SPI cannot
    // add one, and another window of the same app is another place for the text.
    struct VensterIdentiteit final : FocusVeld::Identiteit {
        explicit VensterIdentiteit(std::string i) : id(std::move(i)) {}
        [[nodiscard]] bool gelijkAan(const Identiteit& ander) const override {
            const auto* a = dynamic_cast<const VensterIdentiteit*>(&ander);
            return a != nullptr && a->id == id;
        }
        std::string id;
    };
    Doel doel;
    if (!actief_->appId.empty()) {
        doel.bundleId = actief_->appId;
    }
    doel.veld = FocusVeld(std::make_shared<VensterIdentiteit>(actief_->id));
    return doel;
}

}  // namespace tolmo
