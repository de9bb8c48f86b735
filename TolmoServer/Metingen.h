#pragma once

#include <atomic>
#include <cstdint>
#include <map>
#include <mutex>
#include <ostream>
#include <string>
#include <vector>

namespace tolmo::server {

// The counters /metrics shows in Prometheus's text format: requests by route, provider and
// status; refusals by kind; the providers' and the store's latency as histograms; the store's
// errors; audio seconds forwarded; open connections.
class Metingen {
  public:
    void verzoek(const std::string& route, const std::string& aanbieder, unsigned status);
    void weigering(const std::string& soort);
    void aanbiederDuur(double seconden);
    void opslagDuur(double seconden);
    void opslagFout();
    void audio(double seconden);
    void verbindingOpen() { ++verbindingen_; }
    void verbindingDicht() { --verbindingen_; }

    [[nodiscard]] std::string tekst() const;

  private:
    struct Histogram {
        std::vector<double> grenzen;
        std::vector<std::uint64_t> emmers = std::vector<std::uint64_t>(grenzen.size());
        std::uint64_t aantal = 0;
        double som = 0;
        void tel(double seconden);
        void schrijf(std::ostream& o, const char* naam, const char* uitleg) const;
    };
    mutable std::mutex m_;
    std::map<std::string, std::uint64_t> verzoeken_;
    std::map<std::string, std::uint64_t> weigeringen_;
    Histogram aanbieder_{{0.005, 0.01, 0.025, 0.05, 0.1, 0.25, 0.5, 1, 2.5, 5, 10, 30}};
    Histogram opslag_{{0.0005, 0.001, 0.0025, 0.005, 0.01, 0.025, 0.05, 0.1, 0.25, 1, 5}};
    std::uint64_t opslagFouten_ = 0;
    double audioSeconden_ = 0;
    std::atomic<std::int64_t> verbindingen_{0};
};

}  // namespace tolmo::server
