// Spoken commands on a long dictation: 1,500 words with commands spread through it, among them
// phrases that must stay words ("de nieuwe regel", "3 punt 5") so that every acceptance test runs.
#include <benchmark/benchmark.h>

#include <sstream>
#include <string>

#include "TolmoKern/Spraakopdrachten/Spraakopdrachten.h"
#include "TolmoKern/Tekst/Tekst.h"

namespace {

std::string transcript(std::size_t woorden) {
    static const char* const zinnen[] = {
        "Goedemorgen allemaal, dit is het verslag van het overleg van gisteren. Nieuwe regel.",
        "We hebben de planning besproken en de nieuwe regel geldt vanaf maandag komma",
        "dus iedereen moet zich daaraan houden punt",
        "De kosten zijn gestegen met 3 punt 5 procent ten opzichte van vorig jaar.",
        "Klopt dat vraagteken Volgens Jan wel, maar dat is een vraagteken voor mij.",
        "Open aanhalingstekens dat gaan we regelen sluit aanhalingstekens zei de directeur.",
        "Actiepunten dubbele punt opsomming offerte opvragen nieuwe regel begroting bijwerken",
        "nieuwe regel klanten bellen einde opsomming Nieuwe alinea.",
        "Dit was een zin die we niet willen houden. Schrap dat. Het budget is rond.",
        "Ik maak een opsomming van alle punten en stuur die vóór vrijdag rond uitroepteken",
        "Één ding nog: de café-eigenaar belt óók terug over de ruimte, dat is mijn laatste punt.",
    };
    std::ostringstream uit;
    std::size_t geteld = 0;
    for (std::size_t i = 0; geteld < woorden; ++i) {
        const std::string zin = zinnen[i % std::size(zinnen)];
        geteld += tolmo::Tekst::splitsOpWitruimte(zin).size();
        uit << zin << ' ';
    }
    return uit.str();
}

void BM_Spraakopdrachten1500Woorden(benchmark::State& state) {
    const std::string tekst = transcript(1500);
    for (auto _ : state) {
        benchmark::DoNotOptimize(tolmo::Spraakopdrachten::pasToe(tekst));
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * tekst.size()));
}
BENCHMARK(BM_Spraakopdrachten1500Woorden)->Unit(benchmark::kMicrosecond);

}  // namespace
