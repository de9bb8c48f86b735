#pragma once

#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "Debian13.h"
#include "Kind.h"
#include "LopendProces.h"

namespace tolmo::nep {

// A shortcut an app may use without being asked: its id, what it does, and the keys in GTK's
// notation ("<Control><Alt>d").
struct GnomeSneltoets {
    std::string id;
    std::string beschrijving;
    std::string toetsen;
};

// GNOME Shell 48 from the Debian 13 root, headless on a virtual monitor, with a system bus and a
// session bus of its own on which the desktop portals are activated. WAYLAND_DISPLAY (the full
// socket path), DBUS_SESSION_BUS_ADDRESS and XDG_CURRENT_DESKTOP are set for this process and
// DISPLAY is removed, so an app started afterwards reaches this shell and its portals.
//
// The shell runs in unsafe mode, so that a test may take screenshots and run script in it.
// Everything the buses activate is reparented away from us; what we end is therefore every
// process in the mount namespaces of the programs we started.
class GnomeServer {
  public:
    explicit GnomeServer(const std::filesystem::path& root) : root_(root) {
        if (!std::filesystem::exists(root / "usr/bin/gnome-shell")) {
            fout_ =
                "de Debian 13-root heeft geen GNOME Shell; scripts/debian13-root.sh maakt er "
                "een nieuwe";
            return;
        }
        auto sjabloon = (std::filesystem::temp_directory_path() / "tolmo-gnome-XXXXXX").string();
        if (::mkdtemp(sjabloon.data()) == nullptr) {
            fout_ = "geen tijdelijke map";
            return;
        }
        map_ = sjabloon;
        const auto run = map_ / "run";
        std::filesystem::create_directory(run);
        ::chmod(run.c_str(), 0700);
        // The portal looks up an app's desktop file here; the folder must exist before it
        // starts for it to notice files written later.
        std::filesystem::create_directories(map_ / ".local/share/applications");
        systeemBus_ = "unix:path=" + (map_ / "system").string();
        sessieBus_ = "unix:path=" + (map_ / "bus").string();
        // Debian's own system bus would activate colord and udisks, which cannot run here; the
        // shell waits 25 s for each. A bus that activates nothing answers at once.
        std::ofstream(map_ / "system.conf")
            << "<busconfig><type>system</type><listen>" << systeemBus_
            << "</listen><auth>EXTERNAL</auth><policy context=\"default\"><allow user=\"*\"/>"
               "<allow own=\"*\"/><allow send_destination=\"*\"/>"
               "<allow send_type=\"method_call\"/><allow send_type=\"signal\"/>"
               "<allow send_type=\"method_return\"/><allow send_type=\"error\"/>"
               "<allow receive_type=\"method_call\"/><allow receive_type=\"signal\"/>"
               "<allow receive_type=\"method_return\"/><allow receive_type=\"error\"/>"
               "</policy></busconfig>\n";
        start({"dbus-daemon", "--config-file=" + (map_ / "system.conf").string(), "--nofork",
               "--nopidfile"});
        // A clean environment: what the session bus activates inherits it.
        start({"env", "-i", "PATH=/usr/bin:/bin", "LANG=C.UTF-8", "dbus-daemon", "--session",
               "--nofork", "--address=" + sessieBus_});
        if (!wachtTot([&] {
                return std::filesystem::exists(map_ / "bus") &&
                       std::filesystem::exists(map_ / "system");
            })) {
            fout_ = "de bussen starten niet";
            return;
        }
        for (const auto& [naam, waarde] : omgeving()) {
            activatieOmgeving_.push_back(naam + "=" + waarde);
        }
        std::vector<std::string> bijwerken{"env", "-i", "DBUS_SESSION_BUS_ADDRESS=" + sessieBus_,
                                           "dbus-update-activation-environment"};
        bijwerken.insert(bijwerken.end(), activatieOmgeving_.begin(), activatieOmgeving_.end());
        if (inDeRoot(bijwerken).status != 0) {
            fout_ = "de activatie-omgeving is niet te zetten";
            return;
        }
        // Without logind the shell waits for a seat that never comes.
        std::vector<std::string> shell{"sh", "-c",  "rm -rf /run/systemd/seats && exec \"$@\"",
                                       "sh", "env", "-i"};
        shell.insert(shell.end(), activatieOmgeving_.begin(), activatieOmgeving_.end());
        shell.insert(shell.end(),
                     {"gnome-shell", "--headless", "--wayland", "--no-x11", "--unsafe-mode",
                      "--virtual-monitor", "1280x800", "--wayland-display", "wayland-gnome"});
        const auto begin = std::chrono::steady_clock::now();
        start(shell);
        if (!wachtTot([&] { return evalueer("Main.layoutManager._startingUp") == "false"; },
                      std::chrono::seconds(30))) {
            fout_ = "GNOME Shell start niet";
            return;
        }
        // The shell starts in the overview, where the shortcuts apps bind do not fire.
        (void)gdbus({"call", "-d", "org.gnome.Shell", "-o", "/org/gnome/Shell", "-m",
                     "org.freedesktop.DBus.Properties.Set", "org.gnome.Shell", "OverviewActive",
                     "<false>"});
        const bool klaar = wachtTot(
            [&] {
                return evalueer("Main.overview.visible") == "false" &&
                       gdbus({"call", "-d", "org.freedesktop.portal.Desktop", "-o",
                              "/org/freedesktop/portal/desktop", "-m",
                              "org.freedesktop.DBus.Properties.Get",
                              "org.freedesktop.portal.GlobalShortcuts", "version"})
                               .status == 0;
            },
            std::chrono::seconds(30));
        if (!klaar) {
            fout_ = "de portalen antwoorden niet";
            return;
        }
        opstartTijd_ = std::chrono::duration_cast<std::chrono::milliseconds>(
            std::chrono::steady_clock::now() - begin);
        ::setenv("WAYLAND_DISPLAY", (run / "wayland-gnome").c_str(), 1);
        ::setenv("DBUS_SESSION_BUS_ADDRESS", sessieBus_.c_str(), 1);
        ::setenv("XDG_CURRENT_DESKTOP", "GNOME", 1);
        ::unsetenv("DISPLAY");
        ::unsetenv("XDG_SESSION_TYPE");
    }

    ~GnomeServer() {
        // Ask first, so the shell and the buses can close their sockets; then force what stays.
        for (int ronde = 0; ronde < 60; ++ronde) {
            const auto over = onzeProcessen();
            if (over.empty()) {
                break;
            }
            for (pid_t pid : over) {
                ::kill(pid, ronde < 20 ? SIGTERM : SIGKILL);
            }
            for (pid_t pid : kinderen_) {
                ::waitpid(pid, nullptr, WNOHANG);
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
        }
        for (pid_t pid : kinderen_) {
            ::kill(pid, SIGKILL);
            ::waitpid(pid, nullptr, 0);
        }
        std::error_code e;
        std::filesystem::remove_all(map_, e);
    }
    GnomeServer(const GnomeServer&) = delete;
    GnomeServer& operator=(const GnomeServer&) = delete;

    // Empty when the shell runs and the portals answer.
    [[nodiscard]] const std::string& fout() const { return fout_; }
    [[nodiscard]] const std::filesystem::path& map() const { return map_; }
    [[nodiscard]] std::chrono::milliseconds opstartTijd() const { return opstartTijd_; }

    // gdbus from the root on this session bus: gdbus({"call", "-d", ...}).
    [[nodiscard]] ProcesUitkomst gdbus(const std::vector<std::string>& args) const {
        std::vector<std::string> opdracht{"env", "-i", "DBUS_SESSION_BUS_ADDRESS=" + sessieBus_,
                                          "gdbus"};
        opdracht.insert(opdracht.end(), args.begin(), args.end());
        for (std::size_t i = 4; i + 1 < opdracht.size(); ++i) {
            if (opdracht[i] == "call") {
                opdracht.insert(opdracht.begin() + static_cast<std::ptrdiff_t>(i) + 1, "--session");
                break;
            }
        }
        return inDeRoot(opdracht);
    }

    // Runs script in the shell; what it evaluates to as JSON ("false", "\"titel\""), or empty
    // when it fails.
    [[nodiscard]] std::string evalueer(const std::string& script) const {
        const auto r = gdbus({"call", "-d", "org.gnome.Shell", "-o", "/org/gnome/Shell", "-m",
                              "org.gnome.Shell.Eval", script});
        // gdbus quotes the answer with ' unless it holds one, then with ".
        const std::string begin = "(true, ";
        if (r.status != 0 || !r.uit.starts_with(begin) || r.uit.size() < begin.size() + 3) {
            return "";
        }
        const char aanhalingsteken = r.uit[begin.size()];
        const auto einde = r.uit.rfind(std::string(1, aanhalingsteken) + ")");
        return einde == std::string::npos || einde <= begin.size()
                   ? ""
                   : r.uit.substr(begin.size() + 1, einde - begin.size() - 1);
    }

    // Presses or releases a key, as a keyboard would. The shell's virtual keyboard lives as
    // long as the shell: a remote-desktop session would end with each gdbus call, and loses the
    // first key it is sent.
    bool toets(std::uint32_t keysym, bool ingedrukt) const {
        return evalueer(
                   "const C = imports.gi.Clutter; global._tolmoToetsen ||= "
                   "C.get_default_backend().get_default_seat().create_virtual_device("
                   "C.InputDeviceType.KEYBOARD_DEVICE); "
                   "global._tolmoToetsen.notify_keyval(C.get_current_event_time() * 1000, " +
                   std::to_string(keysym) + ", C.KeyState." + (ingedrukt ? "PRESSED" : "RELEASED") +
                   "); true") == "true";
    }

    // Several presses and releases at once, as a hand lets go of a combination: each one
    // through its own call would be a tenth of a second apart.
    bool toetsen(const std::vector<std::pair<std::uint32_t, bool>>& reeks) const {
        std::string script =
            "const C = imports.gi.Clutter; global._tolmoToetsen ||= "
            "C.get_default_backend().get_default_seat().create_virtual_device("
            "C.InputDeviceType.KEYBOARD_DEVICE); ";
        for (const auto& [keysym, ingedrukt] : reeks) {
            script += "global._tolmoToetsen.notify_keyval(C.get_current_event_time() * 1000, " +
                      std::to_string(keysym) + ", C.KeyState." +
                      (ingedrukt ? "PRESSED" : "RELEASED") + "); ";
        }
        return evalueer(script + "true") == "true";
    }

    // A PNG of the whole screen at pad.
    bool schermafdruk(const std::filesystem::path& pad) const {
        // The shell writes in its own root; only /tmp is shared.
        const auto tussen = map_ / "schermafdruk.png";
        const auto r = gdbus(
            {"call", "-d", "org.gnome.Shell.Screenshot", "-o", "/org/gnome/Shell/Screenshot", "-m",
             "org.gnome.Shell.Screenshot.Screenshot", "false", "false", tussen.string()});
        std::error_code e;
        return r.status == 0 && r.uit.starts_with("(true,") &&
               std::filesystem::copy_file(tussen, pad,
                                          std::filesystem::copy_options::overwrite_existing, e);
    }

    // Authorises appId the way an administrator can, so that neither the shortcuts nor the
    // remote-desktop session ask: its desktop file, its shortcuts in the settings, and a
    // keyboard-only remote-desktop grant in the permission store. Answers the restore token
    // that grant starts without a dialog, empty when something failed. GNOME binds shortcuts
    // only for app ids with a dot in them.
    std::string machtig(const std::string& appId, const std::vector<GnomeSneltoets>& sneltoetsen) {
        // The portal drops a desktop file whose program it cannot find.
        std::ofstream(map_ / ".local/share/applications" / (appId + ".desktop"))
            << "[Desktop Entry]\nType=Application\nName=" << appId << "\nExec=true\n";
        apps_.push_back(appId);
        std::string lijst = "[";
        for (const auto& a : apps_) {
            lijst += (lijst.size() > 1 ? ", " : "") + tekst(a);
        }
        std::string toetsen = "[";
        for (const auto& s : sneltoetsen) {
            toetsen += (toetsen.size() > 1 ? ", " : "") +
                       ("(" + tekst(s.id) + ", {'description': <" + tekst(s.beschrijving) +
                        ">, 'shortcuts': <[" + tekst(s.toetsen) + "]>})");
        }
        const bool sneltoetsenGezet =
            gsettings({"set", "org.gnome.settings-daemon.global-shortcuts", "applications",
                       lijst + "]"}) &&
            gsettings({"set",
                       "org.gnome.settings-daemon.global-shortcuts.application:/org/gnome/"
                       "settings-daemon/global-shortcuts/" +
                           appId + "/",
                       "shortcuts", sneltoetsen.empty() ? "@a(sa{sv}) []" : toetsen + "]"});
        std::string token;
        std::getline(std::ifstream("/proc/sys/kernel/random/uuid"), token);
        const std::vector<std::string> opslag{"call",
                                              "-d",
                                              "org.freedesktop.impl.portal.PermissionStore",
                                              "-o",
                                              "/org/freedesktop/impl/portal/PermissionStore",
                                              "-m"};
        auto toestemming = opslag;
        toestemming.insert(toestemming.end(),
                           {"org.freedesktop.impl.portal.PermissionStore.SetPermission",
                            "remote-desktop", "true", token, appId, "['yes']"});
        // What the GNOME backend stores for a session it may restore: its creation and last
        // use, the devices (1: keyboard), the clipboard, and no screen-cast streams.
        auto waarde = opslag;
        waarde.insert(waarde.end(),
                      {"org.freedesktop.impl.portal.PermissionStore.SetValue", "remote-desktop",
                       "true", token,
                       "<('GNOME', uint32 1, <(int64 0, int64 0, uint32 1, true, @a(uuv) "
                       "[])>)>"});
        if (!sneltoetsenGezet || token.size() != 36 || gdbus(toestemming).status != 0 ||
            gdbus(waarde).status != 0) {
            return "";
        }
        return token;
    }

    // gnome-text-editor from the root on an empty file, with the keyboard focus; false when
    // its window does not come.
    bool startTekstverwerker() {
        std::ofstream(map_ / "tekst.txt").close();
        std::vector<std::string> args{"env", "-i"};
        args.insert(args.end(), activatieOmgeving_.begin(), activatieOmgeving_.end());
        // Cairo draws without GL, which a machine without a GPU lacks.
        args.insert(args.end(), {"GSK_RENDERER=cairo", "gnome-text-editor", "--standalone",
                                 "--ignore-session", (map_ / "tekst.txt").string()});
        start(args);
        return wachtTot([&] { return evalueer(focusTitel).find("tekst.txt") != std::string::npos; },
                        std::chrono::seconds(20));
    }

    // Saves the editor's text (Ctrl+S) and answers it; empty when nothing was saved in time.
    [[nodiscard]] std::string bewaardeTekst() const {
        const auto pad = map_ / "tekst.txt";
        std::error_code e;
        const auto voor = std::filesystem::last_write_time(pad, e);
        toets(0xffe3, true);  // Control_L
        toets('s', true);
        toets('s', false);
        toets(0xffe3, false);
        std::string inhoud;
        wachtTot([&] {
            // The editor may replace the file, so it can be missing for a moment.
            if (std::filesystem::last_write_time(pad, e) == voor || e) {
                return false;
            }
            std::stringstream s;
            s << std::ifstream(pad).rdbuf();
            inhoud = s.str();
            return true;
        });
        return inhoud;
    }

    // The title of the window with the keyboard focus, as JSON; "null" when none has it.
    static constexpr const char* focusTitel = "global.display.focus_window?.get_title() ?? null";

    // The command (unshare first, by its full path) that runs args inside the root in the
    // session's environment, for a test's own clients of the session.
    [[nodiscard]] std::vector<std::string> inSessie(const std::vector<std::string>& args) const {
        std::vector<std::string> opdracht{"env", "-i"};
        opdracht.insert(opdracht.end(), activatieOmgeving_.begin(), activatieOmgeving_.end());
        opdracht.insert(opdracht.end(), args.begin(), args.end());
        opdracht = inRoot(root_, "0:0", opdracht);
        opdracht.front() = "/usr/bin/unshare";
        return opdracht;
    }

  private:
    // The variables the shell and everything it or the bus starts run with.
    [[nodiscard]] std::vector<std::pair<std::string, std::string>> omgeving() const {
        return {{"PATH", "/usr/bin:/bin"},
                {"HOME", map_.string()},
                {"XDG_RUNTIME_DIR", (map_ / "run").string()},
                {"DBUS_SESSION_BUS_ADDRESS", sessieBus_},
                {"DBUS_SYSTEM_BUS_ADDRESS", systeemBus_},
                {"LANG", "C.UTF-8"},
                {"XDG_CURRENT_DESKTOP", "GNOME"},
                {"XDG_SESSION_TYPE", "wayland"},
                {"WAYLAND_DISPLAY", "wayland-gnome"}};
    }

    // A GVariant string literal.
    static std::string tekst(const std::string& s) {
        std::string uit = "'";
        for (char c : s) {
            if (c == '\'' || c == '\\') {
                uit += '\\';
            }
            uit += c;
        }
        return uit + "'";
    }

    bool gsettings(std::vector<std::string> args) const {
        args.insert(args.begin(), "gsettings");
        const auto opdracht = inSessie(args);
        return voerProcesUit(opdracht.front(), {opdracht.begin() + 1, opdracht.end()}).status == 0;
    }

    [[nodiscard]] ProcesUitkomst inDeRoot(const std::vector<std::string>& args) const {
        const auto opdracht = inRoot(root_, "0:0", args);
        return voerProcesUit("/usr/bin/unshare", {opdracht.begin() + 1, opdracht.end()});
    }

    // Starts args inside the root and remembers its mount namespace once it has its own.
    void start(const std::vector<std::string>& args) {
        const pid_t pid = startKind(inRoot(root_, "0:0", args));
        if (pid <= 0) {
            return;
        }
        kinderen_.push_back(pid);
        const std::string eigen = mountNamespace(::getpid());
        wachtTot([&] {
            const std::string ns = mountNamespace(pid);
            if (ns.empty() || ns == eigen) {
                return false;
            }
            namespaces_.insert(ns);
            return true;
        });
    }

    static std::string mountNamespace(pid_t pid) {
        std::error_code e;
        const auto ns =
            std::filesystem::read_symlink("/proc/" + std::to_string(pid) + "/ns/mnt", e);
        return e ? "" : ns.string();
    }

    [[nodiscard]] std::vector<pid_t> onzeProcessen() const {
        std::vector<pid_t> gevonden;
        std::error_code e;
        for (const auto& p : std::filesystem::directory_iterator("/proc", e)) {
            const std::string naam = p.path().filename().string();
            if (naam.find_first_not_of("0123456789") != std::string::npos) {
                continue;
            }
            const pid_t pid = std::stoi(naam);
            if (namespaces_.contains(mountNamespace(pid))) {
                gevonden.push_back(pid);
            }
        }
        return gevonden;
    }

    std::filesystem::path root_;
    std::filesystem::path map_;
    std::string systeemBus_;
    std::string sessieBus_;
    std::vector<std::string> activatieOmgeving_;
    std::vector<std::string> apps_;
    std::vector<pid_t> kinderen_;
    std::set<std::string> namespaces_;
    std::chrono::milliseconds opstartTijd_{0};
    std::string fout_;
};

}  // namespace tolmo::nep
