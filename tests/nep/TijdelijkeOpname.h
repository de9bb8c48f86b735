#pragma once

#include <unistd.h>

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>

#include "TolmoKern/Audio/Opname.h"

namespace tolmo::nep {

// A temporary directory, removed with everything in it when the object goes.
class TijdelijkeMap {
  public:
    TijdelijkeMap() {
        static std::atomic<int> teller{0};
        pad_ = std::filesystem::temp_directory_path() /
               ("tolmo-test-" + std::to_string(::getpid()) + "-" + std::to_string(teller++));
        std::filesystem::create_directories(pad_);
    }
    ~TijdelijkeMap() {
        std::error_code ec;
        std::filesystem::remove_all(pad_, ec);
    }
    TijdelijkeMap(const TijdelijkeMap&) = delete;
    TijdelijkeMap& operator=(const TijdelijkeMap&) = delete;

    [[nodiscard]] const std::filesystem::path& pad() const { return pad_; }

    std::filesystem::path schrijf(const std::string& naam, const std::string& bytes) const {
        const auto p = pad_ / naam;
        std::ofstream(p, std::ios::binary)
            .write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
        return p;
    }

  private:
    std::filesystem::path pad_;
};

// A recording of the given length at 16 kHz, whose file holds the given bytes (the engines do
// not look inside the file).
inline Opname opnameVan(const std::filesystem::path& bestand, double seconden,
                        AudioFormaat formaat = AudioFormaat::wav, double somKwadraten = 1.0) {
    Opname o;
    o.bestand = bestand;
    o.formaat = formaat;
    o.meting.registreerSampleRate(16000);
    o.meting.aantalSamples = static_cast<std::int64_t>(seconden * 16000 + 0.5);
    o.meting.somKwadraten = somKwadraten;
    return o;
}

// Sets (or with nothing, unsets) an environment variable for the life of the object and then
// puts the old value back.
class OmgevingsVariabele {
  public:
    OmgevingsVariabele(std::string naam, const std::optional<std::string>& waarde)
        : naam_(std::move(naam)) {
        if (const char* oud = std::getenv(naam_.c_str())) {
            oud_ = oud;
        }
        zet(waarde);
    }
    ~OmgevingsVariabele() { zet(oud_); }
    OmgevingsVariabele(const OmgevingsVariabele&) = delete;
    OmgevingsVariabele& operator=(const OmgevingsVariabele&) = delete;

  private:
    void zet(const std::optional<std::string>& waarde) const {
        if (waarde) {
            ::setenv(naam_.c_str(), waarde->c_str(), 1);
        } else {
            ::unsetenv(naam_.c_str());
        }
    }

    std::string naam_;
    std::optional<std::string> oud_;
};

}  // namespace tolmo::nep
