#include "Tolmo/mac/AppleFout.h"

namespace tolmo {
namespace {

class Categorie final : public std::error_category {
  public:
    [[nodiscard]] const char* name() const noexcept override { return "apple"; }
    [[nodiscard]] std::string message(int code) const override {
        return "fout " + std::to_string(code) + " van het audiosysteem";
    }
};

}  // namespace

const std::error_category& appleFoutCategorie() noexcept {
    static const Categorie categorie;
    return categorie;
}

}  // namespace tolmo
