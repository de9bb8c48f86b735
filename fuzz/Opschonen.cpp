// Feeds arbitrary bytes to the rule cleaner and the cleaning labels. They must never crash and
// must always hand back valid UTF-8, whatever arrives from the recogniser or a language model.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "TolmoKern/Opschonen/Opschoonlabel.h"
#include "TolmoKern/Opschonen/RegelOpschoner.h"
#include "TolmoKern/Tekst/Patroon.h"
#include "TolmoKern/Tekst/Tekst.h"

namespace {

void eis(bool waar) {
    if (!waar) {
        std::abort();
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 1) {
        return 0;
    }
    // First byte: the style and which word list; the rest is split at the first NUL into the
    // raw text and a second text (the "cleaned" side of the labels, and a word-list term).
    const auto stijl = static_cast<tolmo::Stijl>(data[0] % 4);
    const std::string_view rest(reinterpret_cast<const char*>(data + 1), size - 1);
    const std::size_t nul = rest.find('\0');
    const std::string_view ruw = rest.substr(0, nul);
    const std::string_view tweede =
        nul == std::string_view::npos ? std::string_view() : rest.substr(nul + 1);
    std::vector<std::string> woorden;
    if ((data[0] & 4U) != 0) {
        woorden.emplace_back(tweede);
    }

    const std::string basis = tolmo::RegelOpschoner::basisOpschoning(ruw, stijl);
    eis(tolmo::Tekst::isGeldigeUtf8(basis));
    const std::string schoon = tolmo::RegelOpschoner::maakSchoon(ruw, woorden, stijl);
    eis(tolmo::Tekst::isGeldigeUtf8(schoon));
    eis(tolmo::Tekst::isGeldigeUtf8(tolmo::RegelOpschoner::eersteWoord(ruw)));
    // In the literal style the cleaning ends with the stammer collapse, which repeats the
    // pattern only around changed words: it must equal repeating it over the whole text.
    if (stijl == tolmo::Stijl::letterlijk && !schoon.empty()) {
        static const tolmo::Patroon herhaling(
            R"((?i)(?<![\p{L}\p{N}'’-])([\p{L}\p{N}]+)[ \t]+\1(?![\p{L}\p{N}'’-]))");
        std::string volledig = basis;
        for (std::string vorige; vorige != volledig;) {
            vorige = volledig;
            volledig = herhaling.vervangAlles(vorige, "$1");
        }
        eis(schoon == volledig);
    }

    for (const auto& paar : {std::pair{ruw, std::string_view(schoon)}, std::pair{ruw, tweede}}) {
        for (const tolmo::Opschoonlabel& label : tolmo::opschoonlabels(paar.first, paar.second)) {
            if (const auto* z = std::get_if<tolmo::Opschoonlabel::Zelfcorrectie>(&label.waarde())) {
                eis(tolmo::Tekst::isGeldigeUtf8(z->eerst) &&
                    tolmo::Tekst::isGeldigeUtf8(z->daarna));
                eis(!z->eerst.empty() && !z->daarna.empty());
            } else if (const auto* eh =
                           std::get_if<tolmo::Opschoonlabel::EhWeggehaald>(&label.waarde())) {
                eis(eh->aantal > 0);
            }
        }
    }
    return 0;
}
