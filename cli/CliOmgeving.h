#pragma once

#include <filesystem>
#include <functional>
#include <iosfwd>
#include <optional>
#include <stdexcept>
#include <string>

namespace tolmo::cli {

// What a command may touch of the outside world; main() passes the real ones, tests their own.
struct CliOmgeving {
    std::istream& in;
    std::ostream& uit;
    std::ostream& fout;
    bool foutIsTerminal = false;
    std::filesystem::path configMap;
    std::function<std::optional<std::string>(const char*)> omgeving;
};

// A command line that does not follow the usage: exit status 2.
class GebruiksFout : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

// Input that cannot be used (a value, a file, a key): exit status 1.
class InvoerFout : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

}  // namespace tolmo::cli
