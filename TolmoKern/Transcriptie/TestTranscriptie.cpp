#include "TolmoKern/Transcriptie/TestTranscriptie.h"

#include <cmath>

#include "TolmoKern/Tekst/Tekst.h"

namespace tolmo {

std::string TestTranscriptie::transcribeer(const Opname& opname, const std::vector<std::string>&,
                                           StopToken) {
    const auto niveau = static_cast<long long>(std::lround(opname.meting.niveauDB()));
    return "Test: " + Tekst::getalNL("%.1f", opname.meting.duur()) + " s audio ontvangen, niveau " +
           std::to_string(niveau) + " dB";
}

}  // namespace tolmo
