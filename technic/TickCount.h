#pragma once

#include <type_traits>

// The tick count `now` of a clock that counts in `Ticks` and showed `first` before, carried on past
// the largest number of that type: only the difference is taken, and that as an unsigned number.
// Right as long as less than one round of the clock has passed.
template <class Ticks>
constexpr long long carriedOnTicks(Ticks first, Ticks now) {
    using Number = std::make_unsigned_t<Ticks>;
    const auto passed = static_cast<Number>(static_cast<Number>(now) - static_cast<Number>(first));
    return static_cast<long long>(first) + static_cast<long long>(passed);
}
