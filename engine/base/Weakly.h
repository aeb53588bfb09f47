// The hop between queues: weakly(*this, &HandPoseFeed::finish, arguments…) is a task that holds
// its object weakly and does nothing once the object is gone.
#pragma once

#include <memory>
#include <tuple>
#include <type_traits>
#include <utility>

namespace lanternfly {

// `object` derives from std::enable_shared_from_this; the arguments are kept by value and moved
// into the call, so the task runs once.
template <typename Object, typename Base, typename Result, typename... Parameters,
          typename... Arguments>
auto weakly(Object& object, Result (Base::*method)(Parameters...), Arguments&&... arguments) {
    return [weak =
                std::weak_ptr<Object>(std::static_pointer_cast<Object>(object.shared_from_this())),
            method,
            kept = std::tuple<std::decay_t<Arguments>...>(
                std::forward<Arguments>(arguments)...)]() mutable {
        const auto strong = weak.lock();
        if (!strong) return;
        std::apply(
            [&](auto&... values) { (static_cast<Base&>(*strong).*method)(std::move(values)...); },
            kept);
    };
}

} // namespace lanternfly
