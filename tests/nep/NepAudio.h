#pragma once

#include <cmath>
#include <cstdint>
#include <deque>
#include <filesystem>
#include <fstream>
#include <memory>
#include <numbers>
#include <system_error>
#include <vector>

#include "TijdelijkeOpname.h"
#include "Tolmo/AudioOpnemer/AudioSchrijver.h"
#include "Tolmo/AudioOpnemer/Omzetter.h"

namespace tolmo::nep {

// A test signal held as interleaved floats, with the view the tap would hand out.
class NepBuffer {
  public:
    // A sine of the given peak amplitude on every channel (silence when amplitude is 0).
    NepBuffer(InvoerFormaat formaat, std::uint32_t frames, double amplitude,
              double frequentie = 440.0, std::uint64_t beginFrame = 0)
        : formaat_(formaat), frames_(frames), data_(std::size_t{frames} * formaat.kanalen) {
        for (std::uint32_t i = 0; i < frames; ++i) {
            const double t = static_cast<double>(beginFrame + i) / formaat.sampleRate;
            const auto v =
                static_cast<float>(amplitude * std::sin(2 * std::numbers::pi * frequentie * t));
            for (std::uint32_t c = 0; c < formaat.kanalen; ++c) {
                data_[std::size_t{i} * formaat.kanalen + c] = v;
            }
        }
        for (std::uint32_t c = 0; c < formaat.kanalen; ++c) {
            kanalen_.push_back(data_.data() + c);
        }
    }
    [[nodiscard]] AudioBlok blok() const {
        return {formaat_, frames_, kanalen_.data(), formaat_.kanalen};
    }
    std::vector<float>& data() { return data_; }

  private:
    InvoerFormaat formaat_;
    std::uint32_t frames_;
    std::vector<float> data_;
    std::vector<const float*> kanalen_;
};

// Converts by averaging the channels and keeping every n-th frame (rates that divide evenly).
// Records the room each conversion was given for its output, in frames.
class NepOmzetterMaker final : public Omzetter::Maker {
  public:
    bool weigert = false;
    // Refuses inputs with more channels, as AVAudioFormat's standard format does above two.
    std::uint32_t maxKanalen = 2;
    int gemaakt = 0;
    std::vector<std::size_t> ruimte;
    std::unique_ptr<Omzetter> maak(const InvoerFormaat& van, const InvoerFormaat&) override {
        if (weigert || van.kanalen > maxKanalen) {
            return nullptr;
        }
        ++gemaakt;
        return std::make_unique<NepOmzetter>(van, ruimte);
    }

  private:
    class NepOmzetter final : public Omzetter {
      public:
        NepOmzetter(InvoerFormaat van, std::vector<std::size_t>& ruimte)
            : van_(van), ruimte_(ruimte) {}
        const InvoerFormaat& invoer() const override { return van_; }
        std::size_t zetOm(const AudioBlok& b, std::span<float> uit,
                          std::error_code&) noexcept override {
            ruimte_.push_back(uit.size());
            const auto stap = static_cast<std::size_t>(van_.sampleRate / doelFormaat.sampleRate);
            std::size_t n = 0;
            for (std::size_t i = 0; i < b.frames && n < uit.size(); i += stap) {
                float som = 0;
                for (std::uint32_t c = 0; c < b.formaat.kanalen; ++c) {
                    som += b.sample(c, i);
                }
                uit[n++] = som / static_cast<float>(b.formaat.kanalen);
            }
            return n;
        }
        std::size_t spoel(std::span<float>, std::error_code&) noexcept override { return 0; }

      private:
        InvoerFormaat van_;
        std::vector<std::size_t>& ruimte_;
    };
};

// Keeps what each file is given in memory (and creates the file, so deleting it can be checked).
class NepSchrijverMaker final : public AudioSchrijver::Maker {
  public:
    struct Stand {
        std::vector<float> samples;
        int schrijfacties = 0;
        bool gesloten = false;
    };
    // Writing fails from this write of a file on (0: never).
    int faaltVanaf = 0;
    // The file cannot be created, as on a full or read-only disk.
    bool openFaalt = false;
    // Finishing the file fails, as when its header cannot be rewritten.
    bool sluitenFaalt = false;
    std::vector<std::filesystem::path> paden;
    std::deque<Stand> standen;
    std::unique_ptr<AudioSchrijver> open(const std::filesystem::path& pad, AudioFormaat) override {
        if (openFaalt) {
            throw std::system_error(std::make_error_code(std::errc::read_only_file_system),
                                    pad.string());
        }
        std::ofstream(pad).put('x');
        paden.push_back(pad);
        return std::make_unique<NepSchrijver>(*this, standen.emplace_back());
    }

  private:
    class NepSchrijver final : public AudioSchrijver {
      public:
        NepSchrijver(const NepSchrijverMaker& m, Stand& s) : maker_(m), stand_(s) {}
        void schrijf(std::span<const float> s, std::error_code& fout) noexcept override {
            if (++stand_.schrijfacties >= maker_.faaltVanaf && maker_.faaltVanaf > 0) {
                fout = std::make_error_code(std::errc::no_space_on_device);
                return;
            }
            stand_.samples.insert(stand_.samples.end(), s.begin(), s.end());
        }
        bool sluit() noexcept override {
            stand_.gesloten = true;
            return !maker_.sluitenFaalt;
        }

      private:
        const NepSchrijverMaker& maker_;
        Stand& stand_;
    };
};

}  // namespace tolmo::nep
