#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <map>
#include <mutex>
#include <string>

namespace tolmo::server {

// The counters /metrics shows in Prometheus's text format: requests by route, provider and
// status; refusals by kind; the providers' latency as a histogram; audio seconds forwarded; open
// connections.
class Metingen {
  public:
    void verzoek(const std::string& route, const std::string& aanbieder, unsigned status);
    void weigering(const std::string& soort);
    void aanbiederDuur(double seconden);
    void audio(double seconden);
    void verbindingOpen() { ++verbindingen_; }
    void verbindingDicht() { --verbindingen_; }

    [[nodiscard]] std::string tekst() const;

  private:
    static constexpr std::array<double, 12> grenzen{0.005, 0.01, 0.025, 0.05, 0.1, 0.25,
                                                    0.5,   1,    2.5,   5,    10,  30};
    mutable std::mutex m_;
    std::map<std::string, std::uint64_t> verzoeken_;
    std::map<std::string, std::uint64_t> weigeringen_;
    std::array<std::uint64_t, grenzen.size()> emmers_{};
    std::uint64_t duurAantal_ = 0;
    double duurSom_ = 0;
    double audioSeconden_ = 0;
    std::atomic<std::int64_t> verbindingen_{0};
};

}  // namespace tolmo::server
