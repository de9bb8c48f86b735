#pragma once

#include <string>
#include <system_error>

namespace tolmo {

// Error codes of Apple's frameworks (an NSError's code) as std::error_code, for errors that
// must be kept on the audio thread and read later on the main thread.
const std::error_category& appleFoutCategorie() noexcept;

}  // namespace tolmo
