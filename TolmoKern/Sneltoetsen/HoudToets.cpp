#include "TolmoKern/Sneltoetsen/HoudToets.h"

#include "TolmoKern/Sneltoetsen/ToetsVlaggen.h"

namespace tolmo {

std::string_view label(HoudToets t) {
    switch (t) {
        case HoudToets::fn:
            return "Fn (wereldbol)";
        case HoudToets::rechterOption:
            return "Rechter Option (⌥)";
        case HoudToets::rechterCommand:
            return "Rechter Command (⌘)";
        case HoudToets::rechterControl:
            return "Rechter Control (⌃)";
        case HoudToets::uit:
            return "Uit";
    }
    return {};
}

std::optional<std::uint16_t> toetscode(HoudToets t) {
    switch (t) {
        case HoudToets::fn:
            return 63;
        case HoudToets::rechterOption:
            return 61;
        case HoudToets::rechterCommand:
            return 54;
        case HoudToets::rechterControl:
            return 62;
        case HoudToets::uit:
            return std::nullopt;
    }
    return std::nullopt;
}

std::uint64_t apparaatVlag(HoudToets t) {
    switch (t) {
        case HoudToets::fn:
            return ToetsVlaggen::fn;
        case HoudToets::rechterOption:
            return ToetsVlaggen::rechterOption;
        case HoudToets::rechterCommand:
            return ToetsVlaggen::rechterCommand;
        case HoudToets::rechterControl:
            return ToetsVlaggen::rechterControl;
        case HoudToets::uit:
            return 0;
    }
    return 0;
}

std::uint64_t algemeneVlag(HoudToets t) {
    switch (t) {
        case HoudToets::fn:
            return ToetsVlaggen::fn;
        case HoudToets::rechterOption:
            return ToetsVlaggen::option;
        case HoudToets::rechterCommand:
            return ToetsVlaggen::command;
        case HoudToets::rechterControl:
            return ToetsVlaggen::control;
        case HoudToets::uit:
            return 0;
    }
    return 0;
}

}  // namespace tolmo
