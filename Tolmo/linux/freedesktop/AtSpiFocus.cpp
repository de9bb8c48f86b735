#include "Tolmo/linux/freedesktop/AtSpiFocus.h"

#include <atspi/atspi.h>
#include <unistd.h>

#include <fstream>
#include <string>
#include <utility>
#include <vector>

#include "Tolmo/linux/freedesktop/AtSpiVeldSoort.h"

namespace tolmo {

namespace {

// What GLib hands out, freed the way it asks.
struct GVrij {
    void operator()(gchar* s) const { g_free(s); }
    void operator()(GHashTable* t) const { g_hash_table_unref(t); }
    void operator()(GError* e) const { g_error_free(e); }
    void operator()(AtspiStateSet* s) const { g_object_unref(s); }
};
template <typename T>
using GEigen = std::unique_ptr<T, GVrij>;

class AtSpiVeldIdentiteit final : public FocusVeld::Identiteit {
  public:
    AtSpiVeldIdentiteit(std::string bus, std::string pad, VeldSoort soort,
                        std::optional<FocusVeld> venster)
        : bus_(std::move(bus)), pad_(std::move(pad)), soort_(soort), venster_(std::move(venster)) {}
    [[nodiscard]] bool gelijkAan(const Identiteit& ander) const override {
        if (const auto* a = dynamic_cast<const AtSpiVeldIdentiteit*>(&ander)) {
            return a->bus_ == bus_ && a->pad_ == pad_;
        }
        // Like with like: the other end knew only the window.
        return venster_ && venster_->identiteit() != nullptr &&
               venster_->identiteit()->gelijkAan(ander);
    }
    [[nodiscard]] InvoerSoort soort() const override { return soort_.soort; }
    [[nodiscard]] bool geheim() const override { return soort_.geheim; }

  private:
    std::string bus_;
    std::string pad_;
    VeldSoort soort_;
    std::optional<FocusVeld> venster_;
};

constexpr const char* focusGebeurtenissen[] = {"object:state-changed:focused", "focus:"};

// The field's description; empty when the element is gone or does not answer in time.
std::optional<AtSpiVeld> beschrijf(AtspiAccessible* element) {
    GError* f = nullptr;
    const AtspiRole rol = atspi_accessible_get_role(element, &f);
    GEigen<GError> fout(f);
    if (fout) {
        return std::nullopt;
    }
    AtSpiVeld veld;
    if (const GEigen<gchar> naam{atspi_role_get_name(rol)}) {
        veld.rol = naam.get();
    }
    const GEigen<gchar> naam{atspi_accessible_get_name(element, nullptr)};
    if (naam) {
        veld.naam = naam.get();
    }
    if (const GEigen<GHashTable> attributen{atspi_accessible_get_attributes(element, nullptr)}) {
        GHashTableIter it;
        gpointer sleutel = nullptr;
        gpointer waarde = nullptr;
        g_hash_table_iter_init(&it, attributen.get());
        while (g_hash_table_iter_next(&it, &sleutel, &waarde) != 0) {
            veld.attributen.emplace(static_cast<const char*>(sleutel),
                                    static_cast<const char*>(waarde));
        }
    }
    return veld;
}

// The focused element inside a window, with a reference of ours; null when none says so. The
// app is asked to search itself (its Collection interface) first, and walked through otherwise.
AtspiAccessible* gefocustIn(AtspiAccessible* venster) {
    AtspiAccessible* gevonden = nullptr;
    if (AtspiCollection* collectie = atspi_accessible_get_collection_iface(venster)) {
        AtspiStateSet* toestand = atspi_state_set_new(nullptr);
        atspi_state_set_add(toestand, ATSPI_STATE_FOCUSED);
        AtspiMatchRule* regel = atspi_match_rule_new(
            toestand, ATSPI_Collection_MATCH_ALL, nullptr, ATSPI_Collection_MATCH_ALL, nullptr,
            ATSPI_Collection_MATCH_ALL, nullptr, ATSPI_Collection_MATCH_ALL, FALSE);
        if (GArray* treffers = atspi_collection_get_matches(
                collectie, regel, ATSPI_Collection_SORT_ORDER_CANONICAL, 1, TRUE, nullptr)) {
            for (guint i = 0; i < treffers->len; ++i) {
                auto* element = g_array_index(treffers, AtspiAccessible*, i);
                if (gevonden == nullptr) {
                    gevonden = element;
                } else {
                    g_object_unref(element);
                }
            }
            g_array_free(treffers, TRUE);
        }
        g_object_unref(regel);
        g_object_unref(toestand);
        g_object_unref(collectie);
    }
    // Breadth first, within bounds: a window of thousands of elements is not walked whole.
    std::vector<AtspiAccessible*> rij{venster};
    g_object_ref(venster);
    for (std::size_t i = 0; i < rij.size(); ++i) {
        AtspiAccessible* element = rij[i];
        if (gevonden == nullptr && i > 0) {
            const GEigen<AtspiStateSet> toestanden{atspi_accessible_get_state_set(element)};
            if (toestanden && atspi_state_set_contains(toestanden.get(), ATSPI_STATE_FOCUSED)) {
                gevonden = element;
                g_object_ref(gevonden);
            }
        }
        const gint kinderen = gevonden != nullptr || rij.size() > 400
                                  ? 0
                                  : atspi_accessible_get_child_count(element, nullptr);
        for (gint k = 0; k < kinderen; ++k) {
            if (AtspiAccessible* kind = atspi_accessible_get_child_at_index(element, k, nullptr)) {
                rij.push_back(kind);
            }
        }
    }
    for (AtspiAccessible* element : rij) {
        g_object_unref(element);
    }
    return gevonden;
}

// The focused element in the active window of another process, with a reference of ours: for
// when no focus event came since we listen (the user was typing before the app started).
AtspiAccessible* zoekGefocust() {
    AtspiAccessible* bureaublad = atspi_get_desktop(0);
    if (bureaublad == nullptr) {
        return nullptr;
    }
    AtspiAccessible* gevonden = nullptr;
    const gint apps = atspi_accessible_get_child_count(bureaublad, nullptr);
    for (gint a = 0; a < apps && gevonden == nullptr; ++a) {
        AtspiAccessible* app = atspi_accessible_get_child_at_index(bureaublad, a, nullptr);
        if (app == nullptr) {
            continue;
        }
        const guint pid = atspi_accessible_get_process_id(app, nullptr);
        const gint vensters = pid == 0 || pid == static_cast<guint>(::getpid())
                                  ? 0
                                  : atspi_accessible_get_child_count(app, nullptr);
        for (gint v = 0; v < vensters && gevonden == nullptr; ++v) {
            AtspiAccessible* venster = atspi_accessible_get_child_at_index(app, v, nullptr);
            if (venster == nullptr) {
                continue;
            }
            // What libatspi cached of a window may be from before it was activated; the
            // window and what lies in it are asked afresh.
            atspi_accessible_clear_cache(venster);
            const GEigen<AtspiStateSet> toestanden{atspi_accessible_get_state_set(venster)};
            if (toestanden && atspi_state_set_contains(toestanden.get(), ATSPI_STATE_ACTIVE)) {
                gevonden = gefocustIn(venster);
            }
            g_object_unref(venster);
        }
        g_object_unref(app);
    }
    g_object_unref(bureaublad);
    return gevonden;
}

// The target with the element as its field, when the element still says it is focused and lies
// in the app of the window focus (doel), or stands for the app where that knows none; empty
// when the element tells nothing usable.
std::optional<Doel> metElement(AtspiAccessible* element, std::optional<Doel> doel) {
    GError* f = nullptr;
    const guint pid = atspi_accessible_get_process_id(element, &f);
    if (const GEigen<GError> fout{f};
        fout || (doel ? pid != static_cast<guint>(doel->procesId)
                      : pid == 0 || pid == static_cast<guint>(::getpid()))) {
        return std::nullopt;
    }
    // Cached states may predate a focus change whose event was lost; ask the app itself.
    atspi_accessible_clear_cache(element);
    const GEigen<AtspiStateSet> toestanden{atspi_accessible_get_state_set(element)};
    if (!toestanden || atspi_state_set_contains(toestanden.get(), ATSPI_STATE_FOCUSED) == 0) {
        return std::nullopt;
    }
    const auto veld = beschrijf(element);
    const AtspiObject& object = element->parent;
    if (!veld || object.app == nullptr || object.app->bus_name == nullptr ||
        object.path == nullptr) {
        return std::nullopt;
    }
    if (!doel) {
        // No window focus to go by (GNOME tells no client which window is in front): the
        // focused element stands for the app too.
        doel = Doel{};
        doel->procesId = static_cast<decltype(doel->procesId)>(pid);
        if (auto id = AtSpiFocus::appIdVanProces(static_cast<int>(pid), "/proc")) {
            doel->bundleId = std::move(*id);
        }
    }
    doel->veld = AtSpiFocus::veld(object.app->bus_name, object.path, veldSoort(*veld), doel->veld);
    return doel;
}

}  // namespace

struct AtSpiFocus::Staat {
    AtspiEventListener* luisteraar = nullptr;
    // The element that gained focus last, with a reference of ours.
    AtspiAccessible* gevolgd = nullptr;

    void volg(AtspiAccessible* element) {
        if (element != nullptr) {
            g_object_ref(element);
        }
        if (gevolgd != nullptr) {
            g_object_unref(gevolgd);
        }
        gevolgd = element;
    }

    static void opGebeurtenis(AtspiEvent* gebeurtenis, void* data) {
        auto& staat = *static_cast<Staat*>(data);
        const std::string soort = gebeurtenis->type != nullptr ? gebeurtenis->type : "";
        // "focus:" always means gained; the state change says gained (1) or lost (0). libatspi
        // keeps one object per element, so the lost one is known by its pointer.
        if (soort.starts_with("focus:") || gebeurtenis->detail1 != 0) {
            staat.volg(gebeurtenis->source);
        } else if (gebeurtenis->source == staat.gevolgd) {
            staat.volg(nullptr);
        }
        g_boxed_free(atspi_event_get_type(), gebeurtenis);
    }
};

AtSpiFocus::AtSpiFocus(const Focus& venster)
    : venster_(venster), staat_(std::make_unique<Staat>()) {
    // 0 is a first start, 1 an earlier one in this process; anything else found no bus.
    const int begin = atspi_init();
    if ((begin != 0 && begin != 1) || atspi_get_a11y_bus() == nullptr) {
        return;
    }
    atspi_set_timeout(500, 500);
    staat_->luisteraar = atspi_event_listener_new(&Staat::opGebeurtenis, staat_.get(), nullptr);
    for (const char* soort : focusGebeurtenissen) {
        GError* f = nullptr;
        atspi_event_listener_register(staat_->luisteraar, soort, &f);
        if (const GEigen<GError> fout{f}) {
            g_object_unref(staat_->luisteraar);
            staat_->luisteraar = nullptr;
            return;
        }
    }
}

AtSpiFocus::~AtSpiFocus() {
    if (staat_->luisteraar != nullptr) {
        for (const char* soort : focusGebeurtenissen) {
            atspi_event_listener_deregister(staat_->luisteraar, soort, nullptr);
        }
        g_object_unref(staat_->luisteraar);
    }
    staat_->volg(nullptr);
}

bool AtSpiFocus::volgt() const {
    return staat_->luisteraar != nullptr;
}

std::optional<Doel> AtSpiFocus::huidig() const {
    auto doel = venster_.huidig();
    // Our own windows are left to the window focus: asking our own toolkit over the bus from
    // the main thread would wait for the main thread, up to the time-out.
    if (staat_->luisteraar == nullptr ||
        (doel && (doel->procesId <= 0 || doel->procesId == ::getpid()))) {
        return doel;
    }
    if (staat_->gevolgd != nullptr) {
        if (auto metVeld = metElement(staat_->gevolgd, doel)) {
            return metVeld;
        }
    }
    if (doel) {
        return doel;
    }
    // Nothing else knows the field here. The element followed may have lost focus without an
    // event that reached us (a window or banner that vanished, an app that died), or none came
    // since we listen (the user was typing before the app started): the active windows are
    // searched afresh rather than the target be unknown.
    staat_->volg(nullptr);
    if (AtspiAccessible* gevonden = zoekGefocust()) {
        staat_->volg(gevonden);
        g_object_unref(gevonden);
        return metElement(staat_->gevolgd, doel);
    }
    return doel;
}

std::optional<std::string> AtSpiFocus::appIdVanProces(int pid, const std::filesystem::path& proc) {
    // A desktop starts each app in a unit of its own named after its desktop file:
    // app-gnome-org.gnome.TextEditor-1234.scope, app-org.kde.kate@1a2b.service.
    std::ifstream cgroup(proc / std::to_string(pid) / "cgroup");
    std::string regel;
    while (std::getline(cgroup, regel)) {
        const auto laatste = regel.rfind('/');
        std::string unit = laatste == std::string::npos ? regel : regel.substr(laatste + 1);
        if (!unit.starts_with("app-")) {
            continue;
        }
        unit.erase(0, 4);
        for (const char* lanceerder : {"gnome-", "kde-", "flatpak-"}) {
            if (unit.starts_with(lanceerder)) {
                unit.erase(0, std::string_view(lanceerder).size());
                break;
            }
        }
        if (const auto apenstaart = unit.find('@'); apenstaart != std::string::npos) {
            unit.erase(apenstaart);
        } else if (unit.ends_with(".scope") || unit.ends_with(".service")) {
            unit.erase(unit.rfind('.'));
            // The scope ends in a number of the launch, after the last dash.
            if (const auto streep = unit.rfind('-');
                streep != std::string::npos &&
                unit.find_first_not_of("0123456789", streep + 1) == std::string::npos) {
                unit.erase(streep);
            }
        }
        if (!unit.empty()) {
            return unit;
        }
    }
    // Started otherwise (a terminal, a test): the program's name.
    std::ifstream comm(proc / std::to_string(pid) / "comm");
    std::string naam;
    if (std::getline(comm, naam) && !naam.empty()) {
        return naam;
    }
    return std::nullopt;
}

FocusVeld AtSpiFocus::veld(std::string bus, std::string pad, VeldSoort soort,
                           std::optional<FocusVeld> venster) {
    return FocusVeld(std::make_shared<AtSpiVeldIdentiteit>(std::move(bus), std::move(pad), soort,
                                                           std::move(venster)));
}

}  // namespace tolmo
