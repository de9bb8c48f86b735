#pragma once

#include <exception>
#include <string>
#include <system_error>

namespace tolmo {

// The recorder's own errors, thrown as an exception and compared as a value. The same cases
// also exist as std::error_code (foutcode), so the capture thread can latch one without
// allocating and the controller can still print its Dutch message.
class OpnameFout : public std::exception {
  public:
    enum class Soort { geenInvoer = 1, omzetten };

    explicit OpnameFout(Soort soort) : soort_(soort) {}
    static OpnameFout geenInvoer() { return OpnameFout(Soort::geenInvoer); }
    static OpnameFout omzetten() { return OpnameFout(Soort::omzetten); }

    [[nodiscard]] Soort soort() const { return soort_; }
    [[nodiscard]] std::string melding() const { return meldingVan(soort_); }
    [[nodiscard]] const char* what() const noexcept override;
    [[nodiscard]] std::error_code foutcode() const { return foutcode(soort_); }

    static const char* meldingVan(Soort soort) noexcept;
    static std::error_code foutcode(Soort soort) noexcept;
    static const std::error_category& categorie() noexcept;

    bool operator==(const OpnameFout& ander) const { return soort_ == ander.soort_; }

  private:
    Soort soort_;
};

}  // namespace tolmo
