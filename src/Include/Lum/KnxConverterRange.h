#pragma once

#include <Lum/Export.h>

#include <cstdint>
#include <iosfwd>
#include <string>

namespace Lum
{

// Each range holds an internal (value side) and an external (KNX side) range
// and the scale factor between them, computed once on construction; a bad
// range logs once and keeps the factor 1.0.

class LUM_OM_API IntegerRange
{
public:
    IntegerRange(std::int32_t internalMin, std::int32_t internalMax, std::int32_t externalMin,
                 std::int32_t externalMax);
    void CalculateScaleFactor();
    std::string ToString() const;

    std::int32_t m_internalMin;
    std::int32_t m_internalMax;
    std::int32_t m_externalMin;
    std::int32_t m_externalMax;
    double m_scaleFactor;
};

class LUM_OM_API LongIntegerRange
{
public:
    LongIntegerRange(std::int64_t internalMin, std::int64_t internalMax, std::int64_t externalMin,
                     std::int64_t externalMax);
    void CalculateScaleFactor();
    // Prints with the prefix "IntegerRange(", like IntegerRange.
    std::string ToString() const;

    std::int64_t m_internalMin;
    std::int64_t m_internalMax;
    std::int64_t m_externalMin;
    std::int64_t m_externalMax;
    double m_scaleFactor;
};

class LUM_OM_API FloatIntegerRange
{
public:
    // The span of the KNX 2-byte float onto the full signed 32-bit range.
    FloatIntegerRange();
    FloatIntegerRange(double internalMin, double internalMax, std::int32_t externalMin,
                      std::int32_t externalMax);
    void CalculateScaleFactor();
    std::string ToString() const;

    double m_internalMin;
    double m_internalMax;
    std::int32_t m_externalMin;
    std::int32_t m_externalMax;
    double m_scaleFactor;
};

class LUM_OM_API FloatRange
{
public:
    FloatRange(double internalMin, double internalMax, double externalMin, double externalMax);
    void CalculateScaleFactor();
    std::string ToString() const;

    double m_internalMin;
    double m_internalMax;
    double m_externalMin;
    double m_externalMax;
    double m_scaleFactor;
};

LUM_OM_API std::ostream& operator<<(std::ostream& os, const IntegerRange& r);
LUM_OM_API std::ostream& operator<<(std::ostream& os, const LongIntegerRange& r);
LUM_OM_API std::ostream& operator<<(std::ostream& os, const FloatIntegerRange& r);
LUM_OM_API std::ostream& operator<<(std::ostream& os, const FloatRange& r);

// external = externalMin + (value - internalMin) * scale, rounded half away
// from zero and truncated to signed 32 bits.
LUM_OM_API std::int32_t ScaleToExternal(const IntegerRange& range, std::int32_t value);

} // namespace Lum
