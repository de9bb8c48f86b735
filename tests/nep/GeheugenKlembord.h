#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace tolmo::nep {

// An in-memory clipboard: items of (type, data) pairs and a change count that moves on every
// write, like a real pasteboard. Records the pastes it was asked to post.
class GeheugenKlembord {
  public:
    using Item = std::vector<std::pair<std::string, std::string>>;
    using Momentopname = std::vector<Item>;

    std::vector<Item> items;
    std::int64_t teller = 0;
    int plakToetsen = 0;
    int herstellingen = 0;

    std::int64_t wijzigingsTeller() const { return teller; }
    Momentopname maakMomentopname() const { return items; }
    std::int64_t schrijf(const std::string& tekst) {
        items = {{{"public.utf8-plain-text", tekst}, {"org.nspasteboard.TransientType", ""}}};
        return ++teller;
    }
    void herstel(const Momentopname& m) {
        ++herstellingen;
        items = m;
        ++teller;
    }
    // The user (or another app) copies something.
    void kopieer(const std::string& tekst) {
        items = {{{"public.utf8-plain-text", tekst}}};
        ++teller;
    }
    void stuurPlakToets() { ++plakToetsen; }

    [[nodiscard]] std::string tekst() const {
        for (const Item& item : items) {
            for (const auto& [type, data] : item) {
                if (type == "public.utf8-plain-text") {
                    return data;
                }
            }
        }
        return {};
    }
};

}  // namespace tolmo::nep
