#pragma once

/// @file
/// @brief Integers whose range is part of their type.

#include <boost/optional.hpp>

#include <stdexcept>
#include <string>

/// @brief The object-model library and the platform helpers it shares with applications.
namespace Lum
{

/// @brief An integer restricted by type to [Min, Max]; Tag keeps unrelated bounded
/// integers apart.
///
/// Every object holds a value inside the bounds. A plain value type: copies are
/// independent and const objects may be read from any thread.
/// @tparam T the underlying integer type.
/// @tparam Min the smallest value allowed.
/// @tparam Max the largest value allowed.
/// @tparam Tag an empty type that keeps unrelated bounded integers apart.
template <typename T, T Min, T Max, typename Tag> class BoundedInt
{
    static_assert(Min <= Max, "empty range");

public:
    static constexpr T min_value = Min; ///< The smallest value allowed.
    static constexpr T max_value = Max; ///< The largest value allowed.

    /// @brief Holds @p value.
    /// @throws std::out_of_range for a value outside the bounds; nothing is logged.
    explicit BoundedInt(T value) : m_value(value)
    {
        if (value < Min || value > Max)
            throw std::out_of_range("BoundedInt: " + std::to_string(value) + " outside [" +
                                    std::to_string(Min) + ", " + std::to_string(Max) + "]");
    }

    /// @brief The bounded integer holding @p value; none (never an exception) when it is outside the bounds.
    static boost::optional<BoundedInt> Create(T value)
    {
        if (value < Min || value > Max)
            return boost::none;
        return BoundedInt(value, Unchecked{});
    }

    /// @brief The value, inside [Min, Max].
    T Get() const { return m_value; }
    /// @brief The value, inside [Min, Max]; the implicit form of Get().
    operator T() const { return m_value; }

    /// @brief Whether both hold the same value.
    bool operator==(const BoundedInt& other) const { return m_value == other.m_value; }
    /// @brief Whether the values differ.
    bool operator!=(const BoundedInt& other) const { return m_value != other.m_value; }

private:
    struct Unchecked
    {
    };
    BoundedInt(T value, Unchecked) : m_value(value) {}

    T m_value;
};

} // namespace Lum
