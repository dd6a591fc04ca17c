#pragma once

/// @file
/// @brief Value ranges of the converters and their scale factors.

#include <Lum/Export.h>

#include <cstdint>
#include <iosfwd>
#include <string>

namespace Lum
{

/// @brief A 32-bit integer range on the value side and on the KNX side.
///
/// Each range holds an internal (value side) and an external (KNX side) range
/// and the scale factor between them, computed once on construction; a bad
/// range logs once (ERROR) and keeps the factor 1.0. The fields are public and not
/// guarded: treat a range as read-only once it is shared between threads.
class LUM_OM_API IntegerRange
{
public:
    /// @brief The two ranges; computes the scale factor (see CalculateScaleFactor()).
    IntegerRange(std::int32_t internalMin, std::int32_t internalMax, std::int32_t externalMin,
                 std::int32_t externalMax);
    /// @brief Sets m_scaleFactor to external span / internal span.
    ///
    /// An empty span logs ERROR and leaves the factor as it was.
    void CalculateScaleFactor();
    /// @brief "IntegerRange(internalMin, internalMax, externalMin, externalMax)".
    std::string ToString() const;

    std::int32_t m_internalMin; ///< Smallest value on the value side.
    std::int32_t m_internalMax; ///< Largest value on the value side.
    std::int32_t m_externalMin; ///< Smallest value on the KNX side.
    std::int32_t m_externalMax; ///< Largest value on the KNX side.
    double m_scaleFactor;       ///< KNX-side span per value-side span; 1.0 for a bad range.
};

/// @brief A 64-bit integer range on the value side and on the KNX side; as IntegerRange.
class LUM_OM_API LongIntegerRange
{
public:
    /// @brief The two ranges; computes the scale factor (see CalculateScaleFactor()).
    LongIntegerRange(std::int64_t internalMin, std::int64_t internalMax, std::int64_t externalMin,
                     std::int64_t externalMax);
    /// @brief Sets m_scaleFactor; an empty span logs ERROR and leaves it as it was.
    void CalculateScaleFactor();
    /// @brief The range as text.
    ///
    /// Prints with the prefix "IntegerRange(", like IntegerRange.
    std::string ToString() const;

    std::int64_t m_internalMin; ///< Smallest value on the value side.
    std::int64_t m_internalMax; ///< Largest value on the value side.
    std::int64_t m_externalMin; ///< Smallest value on the KNX side.
    std::int64_t m_externalMax; ///< Largest value on the KNX side.
    double m_scaleFactor;       ///< KNX-side span per value-side span; 1.0 for a bad range.
};

/// @brief A floating range on the value side onto an integer range on the KNX side; as IntegerRange.
class LUM_OM_API FloatIntegerRange
{
public:
    /// @brief The default range.
    ///
    /// The span of the KNX 2-byte float onto the full signed 32-bit range.
    FloatIntegerRange();
    /// @brief The two ranges; computes the scale factor (see CalculateScaleFactor()).
    FloatIntegerRange(double internalMin, double internalMax, std::int32_t externalMin,
                      std::int32_t externalMax);
    /// @brief Sets m_scaleFactor; an empty span logs ERROR and leaves it as it was.
    void CalculateScaleFactor();
    /// @brief "FloatIntegerRange(internalMin, internalMax, externalMin, externalMax)".
    std::string ToString() const;

    double m_internalMin;       ///< Smallest value on the value side.
    double m_internalMax;       ///< Largest value on the value side.
    std::int32_t m_externalMin; ///< Smallest value on the KNX side.
    std::int32_t m_externalMax; ///< Largest value on the KNX side.
    double m_scaleFactor;       ///< KNX-side span per value-side span; 1.0 for a bad range.
};

/// @brief A floating range on the value side and on the KNX side; as IntegerRange.
class LUM_OM_API FloatRange
{
public:
    /// @brief The two ranges; computes the scale factor (see CalculateScaleFactor()).
    FloatRange(double internalMin, double internalMax, double externalMin, double externalMax);
    /// @brief Sets m_scaleFactor from the spans (bounds in either order); an empty span logs
    /// ERROR and leaves it as it was.
    void CalculateScaleFactor();
    /// @brief "FloatRange(internalMin, internalMax, externalMin, externalMax)".
    std::string ToString() const;

    double m_internalMin; ///< One bound on the value side.
    double m_internalMax; ///< The other bound on the value side.
    double m_externalMin; ///< One bound on the KNX side.
    double m_externalMax; ///< The other bound on the KNX side.
    double m_scaleFactor; ///< KNX-side span per value-side span; 1.0 for a bad range.
};

/// @brief Writes IntegerRange::ToString().
LUM_OM_API std::ostream& operator<<(std::ostream& os, const IntegerRange& r);
/// @brief Writes LongIntegerRange::ToString().
LUM_OM_API std::ostream& operator<<(std::ostream& os, const LongIntegerRange& r);
/// @brief Writes FloatIntegerRange::ToString().
LUM_OM_API std::ostream& operator<<(std::ostream& os, const FloatIntegerRange& r);
/// @brief Writes FloatRange::ToString().
LUM_OM_API std::ostream& operator<<(std::ostream& os, const FloatRange& r);

/// @brief A value-side number on the KNX side.
///
/// external = externalMin + (value - internalMin) * scale, rounded half away
/// from zero. A result beyond signed 32 bits saturates at its limit (NaN gives 0), so
/// every target gives the same bytes. Does not log.
LUM_OM_API std::int32_t ScaleToExternal(const IntegerRange& range, std::int32_t value);

} // namespace Lum
