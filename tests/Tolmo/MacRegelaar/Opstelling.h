#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Tolmo/MacRegelaar/CloudToestemming.h"
#include "Tolmo/MacRegelaar/DictaatRegelaar.h"
#include "nep/GeheugenKlembord.h"
#include "nep/GeheugenOpslag.h"
#include "nep/NepAudio.h"
#include "nep/NepAudioEngine.h"
#include "nep/NepFocus.h"
#include "nep/NepHoofdLus.h"
#include "nep/NepIndicator.h"
#include "nep/NepKluis.h"
#include "nep/NepLogOpslag.h"
#include "nep/NepMeldingen.h"
#include "nep/NepMotor.h"
#include "nep/NepOpschoner.h"
#include "nep/NepToestemmingen.h"
#include "nep/NepToestemmingsVraag.h"
#include "nep/NepToetsBron.h"
#include "nep/NepWerker.h"

namespace tolmo::test {

using Regels = std::vector<std::string>;
using Toestand = DictaatRegelaar::Toestand;
using Bron = DictaatRegelaar::Bron;

constexpr InvoerFormaat stereo48{48000, 2};
constexpr InvoerFormaat mono16{16000, 1};
constexpr InvoerFormaat geenFormaat{0, 0};
// Right Option, the default hold key, pressed and let go.
inline const ToetsBron::Gebeurtenis optionOmlaag{
    ToetsBron::Soort::modificatie, 61,
    ToetsVlaggen{ToetsVlaggen::option | ToetsVlaggen::rechterOption}};
inline const ToetsBron::Gebeurtenis optionLos{ToetsBron::Soort::modificatie, 61, ToetsVlaggen{}};

// The controller with a fake of every port, a fake clock and a scripted chain: the engine
// hears `transcript`; a dictation of fewer than eight words is tidied into `schoon` (when set),
// a longer one goes to the scripted cleaner.
struct Opstelling {
    nep::NepHoofdLus lus;
    nep::NepToestemmingen toestemmingen;
    nep::NepToetsBron toetsen;
    nep::NepAudioEngine engine;
    nep::NepOmzetterMaker omzetters;
    nep::NepSchrijverMaker schrijvers;
    nep::GeheugenKlembord klembord;
    nep::NepFocus focus;
    nep::NepToestemmingsVraag vraag;
    nep::NepIndicator indicator;
    nep::NepMeldingen meldingen;
    nep::NepLogOpslag logOpslag;
    nep::NepWerker werker;
    nep::GeheugenOpslag groep;
    nep::GeheugenOpslag standaard;
    nep::NepKluis kluis;
    nep::TijdelijkeMap map;

    std::string transcript = "dit is een korte test";
    std::optional<std::string> schoon;
    std::optional<HerkenningsFout> motorFout;
    std::optional<HerkenningsFout> bouwFout;
    std::function<void()> tijdensTranscriptie;
    std::shared_ptr<nep::NepOpschoner::Script> opschoonScript =
        std::make_shared<nep::NepOpschoner::Script>();

    // Other stores in place of the two in memory (real files, say); set before maak().
    SleutelWaardeOpslag* andereGroep = nullptr;
    SleutelWaardeOpslag* andereStandaard = nullptr;
    bool altijdViaServer = true;
    std::vector<std::string> startRegels;
    decltype(DictaatRegelaar::Opties::upload) upload;
    AudioFormaat formaat = AudioFormaat::wav;
    // The settings the chain of the last dictation was built with.
    std::optional<TolmoInstellingen> ketenInstellingen;

    std::unique_ptr<DictaatRegelaar> regelaar;
    std::size_t gelezen = 0;

    explicit Opstelling(bool metToestemming = true) {
        focus.doel = nep::nepDoel(42, "com.apple.mail", 7);
        if (metToestemming) {
            CloudToestemming{CloudToestemming::huidigeVersie, 1}.bewaar(groep);
        }
    }

    void maak() {
        DictaatRegelaar::Opties o;
        o.versie = "1.4.2";
        o.opnameMap = map.pad();
        o.wandklok = [this] { return static_cast<std::int64_t>(lus.uptime() * 1000); };
        o.opnemerTijd = {[this] { return lus.uptime(); }, [](double) {}};
        o.ketenMaker = [this](const TolmoInstellingen& i) { return keten(i); };
        o.altijdViaServer = altijdViaServer;
        o.startRegels = startRegels;
        o.upload = upload;
        o.formaat = formaat;
        regelaar = std::make_unique<DictaatRegelaar>(
            DictaatRegelaar::Poorten{lus, toestemmingen, toetsen, engine, omzetters, schrijvers,
                                     klembord, focus, vraag, indicator, meldingen, logOpslag,
                                     werker, andereGroep ? *andereGroep : groep,
                                     andereStandaard ? *andereStandaard : standaard, kluis},
            std::move(o));
        regelaar->opstarten();
        lus.draai();
        gelezen = regelaar->logboek().regels().size();
    }

    TolmoKeten keten(const TolmoInstellingen& i) {
        ketenInstellingen = i;
        if (bouwFout) {
            throw *bouwFout;
        }
        TolmoKeten k;
        auto motor = std::make_unique<nep::NepMotor>(transcript);
        motor->fout = motorFout;
        motor->tijdensAanroep = tijdensTranscriptie;
        k.transcriptie = std::move(motor);
        k.opschoner = std::make_unique<nep::NepOpschoner>(Opschoonniveau::strak, opschoonScript);
        k.woorden = i.woorden;
        k.spraakopdrachten = false;
        k.kortDictaatStap = [this](const std::string& t, Stijl) { return schoon.value_or(t); };
        return k;
    }

    // The log lines written since the last call.
    Regels nieuweRegels() {
        const auto alle = regelaar->logboek().teksten();
        Regels uit(alle.begin() + static_cast<std::ptrdiff_t>(gelezen), alle.end());
        gelezen = alle.size();
        return uit;
    }

    // Delivers `buffers` buffers of 2048 frames of 48 kHz stereo speech.
    void spreek(int buffers = 30) {
        const nep::NepBuffer b(engine.tapFormaat.isGeldig() ? engine.tapFormaat : stereo48, 2048,
                               0.1);
        for (int i = 0; i < buffers; ++i) {
            engine.lever(b.blok());
        }
    }

    // Writes bytes into the file being recorded, as an encoder would.
    void vulBestand(std::size_t bytes) const {
        std::ofstream(schrijvers.paden.back(), std::ios::binary) << std::string(bytes, 'a');
    }

    // Runs the chain's waiting task and lets its result reach the main thread.
    void verwerk() {
        ASSERT_TRUE(werker.voerUit());
        lus.draai();
    }

    // A recording started from the menu, 1.3 s of speech that the encoder wrote as `bytes`,
    // running for `duur` seconds now.
    void neemOp(double duur, std::size_t bytes = 2048) {
        regelaar->start(Bron::menu);
        spreek();
        vulBestand(bytes);
        lus.verstrijk(duur);
    }

    // One whole dictation from the menu: a recording stopped after 2 s, the chain, the paste.
    void dicteer() {
        neemOp(2.0);
        regelaar->stop();
        verwerk();
    }

    [[nodiscard]] int opnamesOpSchijf() const {
        int n = 0;
        for (const auto& e : std::filesystem::directory_iterator(map.pad())) {
            n += e.path().filename().string().starts_with("tolmo-") ? 1 : 0;
        }
        return n;
    }
};

}  // namespace tolmo::test
