#include "Tolmo/MacVertaling/ToegankelijkheidsVeld.h"

namespace tolmo {

ToegankelijkheidsVeld ToegankelijkheidsVeld::van(std::string_view rol, std::string_view subrol) {
    // The subrole decides on its own: an app that gives its password field an unusual role
    // still marks it secure, and that must never be pasted into.
    if (subrol == geheimeSubrol) {
        return {InvoerSoort::gewoon, true};
    }
    // Only fields one types into are search fields; a search button says nothing.
    const bool invoer = rol == "AXTextField" || rol == "AXComboBox" || rol == "AXTextArea";
    if (invoer && subrol == zoekSubrol) {
        return {InvoerSoort::zoeken, false};
    }
    return {};
}

}  // namespace tolmo
