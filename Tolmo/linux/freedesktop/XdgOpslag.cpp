#include "Tolmo/linux/freedesktop/XdgOpslag.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <system_error>

#include "Tolmo/MacRegelaar/SysteemFout.h"

namespace tolmo {
namespace {

[[noreturn]] void systeemFout(const std::string& wat) {
    throw std::system_error(errno, std::generic_category(), wat);
}

void schrijfAlles(int fd, const std::string& data) {
    std::size_t geschreven = 0;
    while (geschreven < data.size()) {
        const ssize_t n = ::write(fd, data.data() + geschreven, data.size() - geschreven);
        if (n < 0) {
            if (errno == EINTR) {
                continue;
            }
            systeemFout("schrijven");
        }
        geschreven += static_cast<std::size_t>(n);
    }
}

}  // namespace

void schrijfAtomisch(const std::filesystem::path& pad, const std::string& data, unsigned rechten,
                     const std::function<void()>& voorHernoemen) {
    const std::filesystem::path map = pad.parent_path();
    std::filesystem::create_directories(map);
    std::string sjabloon = (map / ("." + pad.filename().string() + ".XXXXXX")).string();
    const int fd = ::mkstemp(sjabloon.data());
    if (fd < 0) {
        systeemFout("tijdelijk bestand maken");
    }
    try {
        if (::fchmod(fd, static_cast<mode_t>(rechten)) != 0) {
            systeemFout("rechten zetten");
        }
        schrijfAlles(fd, data);
        if (::fsync(fd) != 0) {
            systeemFout("fsync");
        }
    } catch (...) {
        ::close(fd);
        ::unlink(sjabloon.c_str());
        throw;
    }
    ::close(fd);
    if (voorHernoemen) {
        voorHernoemen();
    }
    if (::rename(sjabloon.c_str(), pad.c_str()) != 0) {
        const int e = errno;
        ::unlink(sjabloon.c_str());
        errno = e;
        systeemFout("hernoemen");
    }
    // Make the rename itself durable.
    const int mapFd = ::open(map.c_str(), O_RDONLY | O_DIRECTORY);
    if (mapFd >= 0) {
        ::fsync(mapFd);
        ::close(mapFd);
    }
}

XdgOpslag::XdgOpslag(std::filesystem::path map, std::string suite, Logger log)
    : bestand_(std::move(map) / (suite + ".json")), log_(std::move(log)) {
    laad();
}

std::filesystem::path XdgOpslag::configMap() {
    if (const char* xdg = std::getenv("XDG_CONFIG_HOME"); xdg != nullptr && *xdg == '/') {
        return std::filesystem::path(xdg) / "tolmo";
    }
    const char* home = std::getenv("HOME");
    return std::filesystem::path(home != nullptr ? home : ".") / ".config" / "tolmo";
}

void XdgOpslag::laad() {
    std::error_code ec;
    if (!std::filesystem::exists(bestand_, ec)) {
        return;
    }
    std::ifstream in(bestand_, std::ios::binary);
    std::stringstream inhoud;
    inhoud << in.rdbuf();
    std::string reden;
    if (!in) {
        reden = "niet te lezen";
    } else {
        nlohmann::json j = nlohmann::json::parse(inhoud.str(), nullptr, false);
        if (j.is_discarded()) {
            reden = "geen geldige JSON";
        } else if (!j.is_object()) {
            reden = "geen JSON-object";
        } else {
            document_ = std::move(j);
            return;
        }
    }
    // Keep the unreadable document for the user (or us) to look at, and start from defaults.
    const auto stempel = std::chrono::duration_cast<std::chrono::seconds>(
                             std::chrono::system_clock::now().time_since_epoch())
                             .count();
    std::filesystem::path opzij = bestand_;
    opzij += ".onleesbaar-" + std::to_string(stempel);
    std::filesystem::rename(bestand_, opzij, ec);
    if (log_) {
        log_("Instellingen in " + bestand_.string() + " onleesbaar (" + reden + "); bewaard als " +
             opzij.string() + ", standaardwaarden gebruikt");
    }
}

void XdgOpslag::schrijf() {
    try {
        schrijfAtomisch(bestand_, document_.dump(2) + "\n");
    } catch (const std::exception& e) {
        if (log_) {
            log_("Instellingen bewaren in " + bestand_.string() +
                 " mislukt: " + foutOmschrijving(e));
        }
    }
}

std::optional<OpslagWaarde> XdgOpslag::lees(const std::string& sleutel) const {
    const auto it = document_.find(sleutel);
    if (it == document_.end()) {
        return std::nullopt;
    }
    if (it->is_boolean()) {
        return OpslagWaarde(it->get<bool>());
    }
    if (it->is_string()) {
        return OpslagWaarde(it->get<std::string>());
    }
    // A document stored as JSON itself (as a person might write it by hand) reads as its text.
    return OpslagWaarde(it->dump());
}

void XdgOpslag::zet(const std::string& sleutel, OpslagWaarde waarde) {
    if (const bool* b = std::get_if<bool>(&waarde)) {
        document_[sleutel] = *b;
    } else {
        const std::string& data = std::get<std::string>(waarde);
        // Documents are kept readable in the file: a JSON value is nested, anything else a string.
        nlohmann::json genest = nlohmann::json::parse(data, nullptr, false);
        if (!genest.is_discarded() && (genest.is_object() || genest.is_array())) {
            document_[sleutel] = std::move(genest);
        } else {
            document_[sleutel] = data;
        }
    }
    schrijf();
}

void XdgOpslag::verwijder(const std::string& sleutel) {
    if (document_.erase(sleutel) > 0) {
        schrijf();
    }
}

}  // namespace tolmo
