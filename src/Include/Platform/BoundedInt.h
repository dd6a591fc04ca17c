#pragma once

#include <boost/optional.hpp>

#include <stdexcept>
#include <string>

namespace Lum
{

// An integer restricted by type to [Min, Max]; Tag keeps unrelated bounded
// integers apart.
template <typename T, T Min, T Max, typename Tag>
class BoundedInt
{
    static_assert(Min <= Max, "empty range");

public:
    static constexpr T min_value = Min;
    static constexpr T max_value = Max;

    // Throws std::out_of_range for a value outside the bounds.
    explicit BoundedInt(T value) : m_value(value)
    {
        if (value < Min || value > Max)
            throw std::out_of_range("BoundedInt: " + std::to_string(value) + " outside [" +
                                    std::to_string(Min) + ", " + std::to_string(Max) + "]");
    }

    static boost::optional<BoundedInt> Create(T value)
    {
        if (value < Min || value > Max)
            return boost::none;
        return BoundedInt(value, Unchecked{});
    }

    T Get() const { return m_value; }
    operator T() const { return m_value; }

    bool operator==(const BoundedInt& other) const { return m_value == other.m_value; }
    bool operator!=(const BoundedInt& other) const { return m_value != other.m_value; }

private:
    struct Unchecked
    {
    };
    BoundedInt(T value, Unchecked) : m_value(value) {}

    T m_value;
};

} // namespace Lum
