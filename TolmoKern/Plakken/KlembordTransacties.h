#pragma once

#include <concepts>
#include <cstdint>
#include <optional>
#include <string>

namespace tolmo {

// What the bookkeeping needs of a clipboard.
template <typename K>
concept Klembord = requires(K& k, const std::string& tekst, const typename K::Momentopname& m) {
    { k.wijzigingsTeller() } -> std::convertible_to<std::int64_t>;
    { k.maakMomentopname() } -> std::same_as<typename K::Momentopname>;
    { k.schrijf(tekst) } -> std::convertible_to<std::int64_t>;
    k.herstel(m);
};

// Writes dictated text to the clipboard and later puts back what the user had, but only when
// nobody else changed the clipboard in the meantime. When dictations follow each other within the
// restore delay, what the user had before the first of them is what comes back.
template <Klembord K>
class KlembordTransacties {
  public:
    explicit KlembordTransacties(K& klembord) : klembord_(klembord) {}

    // Writes the text; answers the token for rondAf.
    std::int64_t begin(const std::string& tekst) {
        if (!origineel_ || klembord_.wijzigingsTeller() != onzeVersie_) {
            origineel_ = klembord_.maakMomentopname();
        }
        onzeVersie_ = klembord_.schrijf(tekst);
        return ++laatste_;
    }

    // Restores the user's clipboard unless a newer paste owns it or someone wrote since.
    void rondAf(std::int64_t token) {
        if (token != laatste_) {
            return;
        }
        if (origineel_ && onzeVersie_ && klembord_.wijzigingsTeller() == *onzeVersie_) {
            klembord_.herstel(*origineel_);
        }
        origineel_.reset();
        onzeVersie_.reset();
    }

    // The pasted text stays for the user: what was there before is let go, not restored.
    // Answers whether the clipboard still holds that text (nobody wrote since).
    bool laatStaan(std::int64_t token) {
        if (token != laatste_) {
            return false;
        }
        const bool onsNog = onzeVersie_ && klembord_.wijzigingsTeller() == *onzeVersie_;
        origineel_.reset();
        onzeVersie_.reset();
        return onsNog;
    }

    [[nodiscard]] bool houdtOrigineel() const { return origineel_.has_value(); }

  private:
    K& klembord_;
    std::optional<typename K::Momentopname> origineel_;
    std::optional<std::int64_t> onzeVersie_;
    std::int64_t laatste_ = 0;
};

}  // namespace tolmo
