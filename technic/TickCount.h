#pragma once

#include <type_traits>

// The tick count `now` of a clock that counts in `Ticks` and wraps, carried on past the largest
// number of that type: `before` is the count that was carried on last. Only the difference is
// taken, in either direction. Right as long as less than half a round of the clock lies between the
// two.
template <class Ticks>
constexpr long long carriedOnTicks(long long before, Ticks now) {
    using Number = std::make_unsigned_t<Ticks>;
    const auto passed = static_cast<Number>(static_cast<Number>(now) - static_cast<Number>(before));
    return before + static_cast<long long>(static_cast<Ticks>(passed));
}
