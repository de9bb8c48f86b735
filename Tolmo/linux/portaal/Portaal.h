#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>

using GDBusConnection = struct _GDBusConnection;
using GVariant = struct _GVariant;
using GVariantBuilder = struct _GVariantBuilder;

namespace tolmo {

// The desktop portals (org.freedesktop.portal.Desktop on the session bus), through GDBus. Calls
// and signals run on GLib's default main context, which Qt's loop dispatches in tolmo-app, so
// every answer arrives on the main thread.
//
// A portal answers a request twice: the call returns a Request object at once, and the result
// comes later as that object's Response signal, after the desktop has perhaps asked the user.
// The Request's path follows from our bus name and a token we choose, so vraag subscribes to it
// before calling and no answer can slip past.
class Portaal {
  public:
    // The result of a request: 0 granted, 1 cancelled by the user, 2 ended otherwise (3: the call
    // itself failed; then resultaten is null and fout says why).
    struct Antwoord {
        std::uint32_t code = 3;
        GVariant* resultaten = nullptr;  // a{sv}, owned by the caller of the callback's caller
        std::string fout;
    };
    using OpAntwoord = std::function<void(const Antwoord&)>;
    using OpSignaal = std::function<void(GVariant* parameters)>;

    // Connects to the session bus and, where the desktop keeps a registry of host apps, says
    // which app this is (appId, the desktop file's name): that must be the connection's first
    // call to the portal. Without a bus, verbonden() is false and fout() says why.
    explicit Portaal(const std::string& appId);
    ~Portaal();
    Portaal(const Portaal&) = delete;
    Portaal& operator=(const Portaal&) = delete;

    [[nodiscard]] bool verbonden() const { return bus_ != nullptr; }
    [[nodiscard]] const std::string& fout() const { return fout_; }
    // The version of a portal interface ("GlobalShortcuts"), 0 when the desktop lacks it.
    [[nodiscard]] std::uint32_t versie(const std::string& interface);

    // A request on org.freedesktop.portal.<interface>. args is the call's tuple without its
    // last member, the options a{sv}, which opties fills (the handle token is added here);
    // both floating references are taken over.
    void vraag(const std::string& interface, const std::string& methode, GVariant* args,
               std::function<void(GVariantBuilder*)> opties, OpAntwoord op);
    // A new session of a portal (CreateSession), answering its handle; empty on failure.
    void maakSessie(const std::string& interface, std::function<void(GVariantBuilder*)> opties,
                    std::function<void(const std::string& sessie, const Antwoord&)> op);
    // A plain call on org.freedesktop.portal.<interface> that answers at once; null on failure,
    // fout then says why. The caller unrefs the answer.
    GVariant* roep(const std::string& interface, const std::string& methode, GVariant* args,
                   std::string& fout);
    // Follows a signal of org.freedesktop.portal.<interface>, until the answer is destroyed.
    class Abonnement {
      public:
        Abonnement(GDBusConnection* bus, unsigned id, std::unique_ptr<OpSignaal> op)
            : bus_(bus), id_(id), op_(std::move(op)) {}
        ~Abonnement();
        Abonnement(const Abonnement&) = delete;
        Abonnement& operator=(const Abonnement&) = delete;

      private:
        GDBusConnection* bus_;
        unsigned id_;
        std::unique_ptr<OpSignaal> op_;
    };
    // pad: the object that sends it, the portal itself when empty (a session: its handle).
    [[nodiscard]] std::unique_ptr<Abonnement> volg(const std::string& interface,
                                                   const std::string& signaal, OpSignaal op,
                                                   const std::string& pad = "");
    // Closes a session (org.freedesktop.portal.Session.Close).
    void sluit(const std::string& sessie);

    [[nodiscard]] GDBusConnection* bus() const { return bus_; }
    // A token no earlier request of this process used.
    std::string nieuwToken();

  private:
    friend struct Verzoek;
    GDBusConnection* bus_ = nullptr;
    // The Response subscriptions of requests in flight, ended with the portal.
    std::set<unsigned> abonnementen_;
    // Expires with the portal, for answers that arrive after it.
    std::shared_ptr<bool> levend_ = std::make_shared<bool>(true);
    std::string fout_;
    std::string afzender_;  // our unique name as it appears in request paths
    std::uint64_t teller_ = 0;
    std::map<std::string, std::uint32_t> versies_;
};

}  // namespace tolmo
