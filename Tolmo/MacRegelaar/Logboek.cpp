#include "Tolmo/MacRegelaar/Logboek.h"

#include <algorithm>
#include <utility>

namespace tolmo {

Logboek::Logboek(LogOpslag& opslag, std::string bron, std::function<std::int64_t()> nu)
    : opslag_(opslag), bron_(std::move(bron)), nu_(std::move(nu)) {}

void Logboek::laad() {
    std::vector<LogRegel> oud = opslag_.laad();
    const std::size_t weg = oud.size() > maximum ? oud.size() - maximum : 0;
    regels_.assign(oud.begin() + static_cast<std::ptrdiff_t>(weg), oud.end());
    for (const LogRegel& r : regels_) {
        volgendeId_ = std::max(volgendeId_, r.id + 1);
    }
}

void Logboek::schrijf(const std::string& tekst) {
    regels_.push_back({volgendeId_++, nu_(), bron_, tekst});
    while (regels_.size() > maximum) {
        regels_.pop_front();
    }
    opslag_.voegToe(regels_.back());
}

std::vector<std::string> Logboek::teksten() const {
    std::vector<std::string> uit;
    uit.reserve(regels_.size());
    for (const LogRegel& r : regels_) {
        uit.push_back(r.tekst);
    }
    return uit;
}

}  // namespace tolmo
