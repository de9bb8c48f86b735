#include "TolmoServer/AanbiederDoel.h"

namespace tolmo::server {

std::optional<AanbiederDoel> AanbiederDoel::uitUrl(std::string_view url) {
    AanbiederDoel d;
    if (url.starts_with("https://")) {
        url.remove_prefix(8);
    } else if (url.starts_with("http://")) {
        d.tls = false;
        url.remove_prefix(7);
    } else {
        return std::nullopt;
    }
    const auto schuin = url.find('/');
    const std::string_view gezag = url.substr(0, schuin);
    if (schuin != std::string_view::npos) {
        d.pad = std::string(url.substr(schuin));
    }
    while (!d.pad.empty() && d.pad.back() == '/') {
        d.pad.pop_back();
    }
    const auto dubbelepunt = gezag.rfind(':');
    if (dubbelepunt != std::string_view::npos &&
        gezag.find(']', dubbelepunt) == std::string_view::npos) {
        d.host = std::string(gezag.substr(0, dubbelepunt));
        d.poort = std::string(gezag.substr(dubbelepunt + 1));
    } else {
        d.host = std::string(gezag);
        d.poort = d.tls ? "443" : "80";
    }
    if (d.host.empty() || d.poort.empty()) {
        return std::nullopt;
    }
    return d;
}

std::string AanbiederDoel::sleutel() const {
    return (tls ? "https://" : "http://") + host + ":" + poort;
}

}  // namespace tolmo::server
