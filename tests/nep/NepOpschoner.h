#pragma once

#include <deque>
#include <functional>
#include <iterator>
#include <memory>
#include <regex>
#include <stdexcept>
#include <string>
#include <variant>
#include <vector>

#include "TolmoKern/Opschonen/Opschoner.h"
#include "TolmoKern/Transcriptie/HerkenningsFout.h"

namespace tolmo::nep {

// A cleaner that plays a script: each call takes the next answer for its level (a text, a
// HerkenningsFout, or some other exception). Every call is recorded, for every level, in one
// shared log, so a test sees the calls of the light variant too.
class NepOpschoner final : public Opschoner {
  public:
    // Something that is not even a std::exception.
    struct VreemdeFout {};
    using Antwoord = std::variant<OpschoonUitkomst, HerkenningsFout, VreemdeFout>;

    struct Aanroep {
        Opschoonniveau niveau;
        std::string tekst;
        Stijl stijl;
    };

    struct Script {
        std::deque<Antwoord> strak;
        std::deque<Antwoord> licht;
        std::vector<Aanroep> aanroepen;
        bool heeftLicht = true;
        std::function<void()> tijdensAanroep;
    };

    NepOpschoner(Opschoonniveau niveau, std::shared_ptr<Script> script)
        : niveau_(niveau), script_(std::move(script)) {}

    Opschoonniveau niveau() const override { return niveau_; }

    std::unique_ptr<Opschoner> opNiveau(Opschoonniveau niveau) const override {
        if (niveau == Opschoonniveau::licht && !script_->heeftLicht) {
            return nullptr;
        }
        return std::make_unique<NepOpschoner>(niveau, script_);
    }

    OpschoonUitkomst schoonOp(const std::string& tekst, const std::vector<std::string>&,
                              Stijl stijl, bool, StopToken) override {
        script_->aanroepen.push_back({niveau_, tekst, stijl});
        if (script_->tijdensAanroep) {
            script_->tijdensAanroep();
        }
        auto& rij = niveau_ == Opschoonniveau::strak ? script_->strak : script_->licht;
        if (rij.empty()) {
            throw std::logic_error("NepOpschoner: geen antwoord meer in het script");
        }
        Antwoord a = std::move(rij.front());
        rij.pop_front();
        if (auto* fout = std::get_if<HerkenningsFout>(&a)) {
            throw *fout;
        }
        if (std::holds_alternative<VreemdeFout>(a)) {
            throw 42;
        }
        return std::get<OpschoonUitkomst>(std::move(a));
    }

    // Counts runs of digits: enough to tell the chain's number guard apart.
    std::int64_t telGetallen(const std::string& tekst) const override {
        static const std::regex getal("[0-9]+");
        return std::distance(std::sregex_iterator(tekst.begin(), tekst.end(), getal),
                             std::sregex_iterator());
    }

  private:
    Opschoonniveau niveau_;
    std::shared_ptr<Script> script_;
};

}  // namespace tolmo::nep
