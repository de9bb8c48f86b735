#pragma once

#include <gtest/gtest.h>

#include <optional>

namespace tolmo::nep {

// The E that f throws; a test failure, and nothing, when f returns normally.
template <class E, class F>
std::optional<E> gevangen(F&& f) {
    try {
        (void)f();
    } catch (const E& e) {
        return e;
    }
    ADD_FAILURE() << "geen fout";
    return std::nullopt;
}

}  // namespace tolmo::nep
