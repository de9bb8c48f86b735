#pragma once

#include <string_view>

#include "TolmoKern/Opschonen/Stijl.h"

namespace tolmo {

// What a focused element's accessibility role and subrole ("AXTextField", "AXSecureTextField",
// ...) say about the field: its kind and whether it is secret. AppKit's NSSecureTextField and a
// web page's password input both report the secure subrole, search fields the search subrole,
// whatever role they carry (text field or combo box).
struct ToegankelijkheidsVeld {
    static constexpr std::string_view geheimeSubrol = "AXSecureTextField";
    static constexpr std::string_view zoekSubrol = "AXSearchField";

    InvoerSoort soort = InvoerSoort::gewoon;
    bool geheim = false;

    static ToegankelijkheidsVeld van(std::string_view rol, std::string_view subrol);

    bool operator==(const ToegankelijkheidsVeld&) const = default;
};

}  // namespace tolmo
