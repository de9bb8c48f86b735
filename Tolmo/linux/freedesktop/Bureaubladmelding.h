#pragma once

#include <string>

namespace tolmo {

// A notice through the desktop's notification service (org.freedesktop.Notifications on the
// session bus): a banner that never takes the keyboard, where a window of our own would on a
// Wayland desktop that decides focus itself. False when no service answers.
bool stuurBureaubladmelding(const std::string& titel, const std::string& tekst);

}  // namespace tolmo
