#pragma once

#include <exception>
#include <string>
#include <system_error>

namespace tolmo {

// A system error as messages and log lines show it: the common causes in Dutch words (a full
// disk, a read-only file system, no permission, a device that is gone), with the system's own
// text after it in parentheses for whoever looks further; other errors in the system's words.
std::string systeemFout(const std::error_code& code);

// What an exception says, its error code in Dutch where it carries one (std::system_error,
// std::filesystem::filesystem_error).
std::string foutOmschrijving(const std::exception& fout);

}  // namespace tolmo
