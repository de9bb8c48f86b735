#pragma once

#include <map>
#include <string>

#include "TolmoKern/Opschonen/Stijl.h"

namespace tolmo {

// What AT-SPI tells of a focused element: its role's name as libatspi spells it ("password
// text", "entry"), its accessible name and its object attributes ("xml-roles",
// "placeholder-text", "text-input-type").
struct AtSpiVeld {
    std::string rol;
    std::string naam;
    std::map<std::string, std::string> attributen;
};

struct VeldSoort {
    InvoerSoort soort = InvoerSoort::gewoon;
    bool geheim = false;
    bool operator==(const VeldSoort&) const = default;
};

// The kind of field from what AT-SPI reports. Browsers say what a web field is for in its
// attributes; native toolkits do not, so a text entry whose name or placeholder speaks of an
// address or a search counts as one. Address before search: browsers' location bars are named
// "Address and search bar" and the like.
VeldSoort veldSoort(const AtSpiVeld& veld);

}  // namespace tolmo
