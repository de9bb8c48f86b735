#pragma once

#include <string>
#include <vector>

#include "TolmoKern/Tekst/RuweWaarden.h"

namespace tolmo {

// Writing style of the text for the target app.
enum class Stijl { zakelijk, neutraal, los, letterlijk };

inline constexpr RuweWaarden<Stijl, 4> stijlWaarden{{{{Stijl::zakelijk, "zakelijk"},
                                                      {Stijl::neutraal, "neutraal"},
                                                      {Stijl::los, "los"},
                                                      {Stijl::letterlijk, "letterlijk"}}}};

// The kind of the focused input field.
enum class InvoerSoort { gewoon, chat, adres, zoeken };

inline constexpr RuweWaarden<InvoerSoort, 4> invoerSoortWaarden{
    {{{InvoerSoort::gewoon, "gewoon"},
      {InvoerSoort::chat, "chat"},
      {InvoerSoort::adres, "adres"},
      {InvoerSoort::zoeken, "zoeken"}}}};

// The style for one application, identified by its bundle identifier.
struct AppStijl {
    std::string bundleId;
    std::string naam;
    Stijl stijl = Stijl::neutraal;

    bool operator==(const AppStijl&) const = default;
};

// The built-in application list, the default of the user's per-app styles.
const std::vector<AppStijl>& standaardApps();

}  // namespace tolmo
