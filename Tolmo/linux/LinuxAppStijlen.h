#pragma once

#include <vector>

#include "TolmoKern/Opschonen/Stijl.h"

namespace tolmo {

// Styles for common Linux apps, known by the id the session's focus reports: the class part of
// WM_CLASS on X11, the app id on Wayland. Mail is businesslike, chat loose, editors and
// terminals literal.
const std::vector<AppStijl>& linuxAppStijlen();

}  // namespace tolmo
