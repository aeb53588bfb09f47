// match(variant, lambdas…): reads an enumeration with payloads, exhaustively.
#pragma once

#include <utility>
#include <variant>

namespace lanternfly {

template <typename... Cases>
struct Overloaded : Cases... {
    using Cases::operator()...;
};
template <typename... Cases>
Overloaded(Cases...) -> Overloaded<Cases...>;

template <typename Variant, typename... Cases>
decltype(auto) match(Variant&& variant, Cases&&... cases) {
    return std::visit(Overloaded{std::forward<Cases>(cases)...}, std::forward<Variant>(variant));
}

} // namespace lanternfly
