#include "LogAs.h"
#include <Lum/KnxConverterRange.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <ostream>
#include <sstream>

namespace Lum
{

namespace
{

template <typename Range> std::string PrintRange(const char* prefix, const Range& r)
{
    std::ostringstream os;
    os << prefix << r.m_internalMin << ", " << r.m_internalMax << ", " << r.m_externalMin << ", "
       << r.m_externalMax << ")";
    return os.str();
}

// max - min in signed 64 bits; wraps instead of overflowing for extreme
// 64-bit bounds.
std::int64_t Span(std::int64_t min, std::int64_t max)
{
    return static_cast<std::int64_t>(static_cast<std::uint64_t>(max) - static_cast<std::uint64_t>(min));
}

// How a range's bounds are named in its failure lines.
struct BoundNames
{
    const char* internal;
    const char* external;
    const char* bothJoin; // between the two halves of the line naming both
};

constexpr BoundNames kIntegerNames{"internal", "external", "] or because of invalid "};

// Shared by every range: the factor from the spans, or one ERROR line and
// the factor left as it was (1.0 when the spans give a factor of zero).
template <typename Range, typename InternalSpan, typename ExternalSpan>
void SetScaleFactor(Range& r, InternalSpan spanInt, ExternalSpan spanExt, const BoundNames& names)
{
    if (spanInt == 0)
    {
        LUM_LOG_ERROR_AS("CalculateScaleFactor", "Failed to calculate the scale factor because of invalid "
                                                     << names.internal << " range [" << r.m_internalMin
                                                     << ", " << r.m_internalMax << "].");
        return;
    }
    if (spanExt == 0)
    {
        LUM_LOG_ERROR_AS("CalculateScaleFactor", "Failed to calculate the scale factor because of invalid "
                                                     << names.external << " range [" << r.m_externalMin
                                                     << ", " << r.m_externalMax << "].");
        return;
    }
    const double scale = static_cast<double>(spanExt) / static_cast<double>(spanInt);
    if (scale == 0.0)
    {
        r.m_scaleFactor = 1.0;
        LUM_LOG_ERROR_AS("CalculateScaleFactor", "Failed to calculate the scale factor because of invalid "
                                                     << names.internal << " range [" << r.m_internalMin
                                                     << ", " << r.m_internalMax << names.bothJoin
                                                     << names.external << " range [" << r.m_externalMin
                                                     << ", " << r.m_externalMax << "].");
        return;
    }
    r.m_scaleFactor = scale;
}

// Both integer ranges: spans in signed 64 bits, bounds not ordered.
template <typename Range> void CalculateIntegerScaleFactor(Range& r)
{
    SetScaleFactor(r, Span(r.m_internalMin, r.m_internalMax), Span(r.m_externalMin, r.m_externalMax),
                   kIntegerNames);
}

} // namespace

IntegerRange::IntegerRange(std::int32_t internalMin, std::int32_t internalMax, std::int32_t externalMin,
                           std::int32_t externalMax)
    : m_internalMin(internalMin), m_internalMax(internalMax), m_externalMin(externalMin),
      m_externalMax(externalMax), m_scaleFactor(1.0)
{
    CalculateScaleFactor();
}

void IntegerRange::CalculateScaleFactor()
{
    CalculateIntegerScaleFactor(*this);
}

std::string IntegerRange::ToString() const
{
    return PrintRange("IntegerRange(", *this);
}

LongIntegerRange::LongIntegerRange(std::int64_t internalMin, std::int64_t internalMax,
                                   std::int64_t externalMin, std::int64_t externalMax)
    : m_internalMin(internalMin), m_internalMax(internalMax), m_externalMin(externalMin),
      m_externalMax(externalMax), m_scaleFactor(1.0)
{
    CalculateScaleFactor();
}

void LongIntegerRange::CalculateScaleFactor()
{
    CalculateIntegerScaleFactor(*this);
}

// Same prefix as IntegerRange: log readers match on it.
std::string LongIntegerRange::ToString() const
{
    return PrintRange("IntegerRange(", *this);
}

FloatIntegerRange::FloatIntegerRange() : FloatIntegerRange(-671088.64, 670760.96, INT32_MIN, INT32_MAX) {}

FloatIntegerRange::FloatIntegerRange(double internalMin, double internalMax, std::int32_t externalMin,
                                     std::int32_t externalMax)
    : m_internalMin(internalMin), m_internalMax(internalMax), m_externalMin(externalMin),
      m_externalMax(externalMax), m_scaleFactor(1.0)
{
    CalculateScaleFactor();
}

void FloatIntegerRange::CalculateScaleFactor()
{
    SetScaleFactor(*this, m_internalMax - m_internalMin,
                   static_cast<std::int64_t>(m_externalMax) - static_cast<std::int64_t>(m_externalMin),
                   BoundNames{"double", "integer", "] or because invalid "});
}

std::string FloatIntegerRange::ToString() const
{
    return PrintRange("FloatIntegerRange(", *this);
}

FloatRange::FloatRange(double internalMin, double internalMax, double externalMin, double externalMax)
    : m_internalMin(internalMin), m_internalMax(internalMax), m_externalMin(externalMin),
      m_externalMax(externalMax), m_scaleFactor(1.0)
{
    CalculateScaleFactor();
}

void FloatRange::CalculateScaleFactor()
{
    SetScaleFactor(*this, std::max(m_internalMin, m_internalMax) - std::min(m_internalMin, m_internalMax),
                   std::max(m_externalMin, m_externalMax) - std::min(m_externalMin, m_externalMax),
                   BoundNames{"double", "external", "] or because invalid "});
}

std::string FloatRange::ToString() const
{
    return PrintRange("FloatRange(", *this);
}

std::ostream& operator<<(std::ostream& os, const IntegerRange& r)
{
    return os << r.ToString();
}
std::ostream& operator<<(std::ostream& os, const LongIntegerRange& r)
{
    return os << r.ToString();
}
std::ostream& operator<<(std::ostream& os, const FloatIntegerRange& r)
{
    return os << r.ToString();
}
std::ostream& operator<<(std::ostream& os, const FloatRange& r)
{
    return os << r.ToString();
}

std::int32_t ScaleToExternal(const IntegerRange& range, std::int32_t value)
{
    double external =
        static_cast<double>(range.m_externalMin) +
        (static_cast<double>(value) - static_cast<double>(range.m_internalMin)) * range.m_scaleFactor;
    if (external > 0.0)
        external += 0.5;
    else if (external < 0.0)
        external -= 0.5;
    // Saturate like the ARM target's conversion does, so x86 gives the same bytes.
    if (std::isnan(external))
        return 0;
    if (external >= static_cast<double>(std::numeric_limits<std::int32_t>::max()))
        return std::numeric_limits<std::int32_t>::max();
    if (external <= static_cast<double>(std::numeric_limits<std::int32_t>::min()))
        return std::numeric_limits<std::int32_t>::min();
    return static_cast<std::int32_t>(external);
}

} // namespace Lum
