#include "KnxConverterLog.h"

#include <Lum/KnxConverterScene.h>

namespace Lum
{

namespace
{
constexpr unsigned char kBit6 = 0x40;
constexpr unsigned char kBit7 = 0x80;
constexpr unsigned char kSceneMask = 0x7F;
} // namespace

// --- 17.001 ------------------------------------------------------------------

bool KnxConverterSceneNumber::ToKnxValue(const KNXDPT& dpt, const ORUVALUE& value,
                                         KnxStack::GroupValue& group)
try
{
    LUM_TRACE_TO_KNX(dpt, value);
    if (dpt.mainNumber != 17 && dpt.subNumber != 1 && value.ivt != ivtByte)
    {
        LUM_LOG_ERROR("Wrong DPT main number (17.001) or oru value type (ivtByte)!");
        return false;
    }
    const std::int32_t v = value.GetInteger();
    if (v < m_range.m_internalMin || v > m_range.m_internalMax)
    {
        LUM_LOG_ERROR("Scene number is out of range (>63) for SceneNumber: " << v);
        return false;
    }
    group.SetAsUnsigned8(static_cast<unsigned char>(v));
    return true;
}
LUM_CONVERTER_CATCH_TO_KNX(dpt, value)

bool KnxConverterSceneNumber::FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group,
                                           ORUVALUE& value)
try
{
    LUM_TRACE_FROM_KNX(dpt, group);
    if (dpt.mainNumber != 17 && dpt.subNumber != 1)
    {
        LUM_LOG_ERROR("Wrong DPT main number (17.001)!");
        return false;
    }
    // The number is stored before the test and stays there on rejection.
    const std::int32_t v = group.GetAsUnsigned8();
    value.SetInteger(v);
    if (v < m_range.m_internalMin || v > m_range.m_internalMax)
    {
        LUM_LOG_ERROR("Scene number is out of range (>63) for SceneNumber: " << v);
        return false;
    }
    value.ivt = ivtByte;
    return true;
}
LUM_CONVERTER_CATCH_FROM_KNX(dpt, group)

KnxConverter* KnxConverterSceneNumber::Clone() const
{
    return new KnxConverterSceneNumber(*this);
}

// --- 18.001 ------------------------------------------------------------------

bool KnxConverterSceneControl::ToKnxValue(const KNXDPT& dpt, const ORUVALUE& value,
                                          KnxStack::GroupValue& group)
try
{
    LUM_TRACE_TO_KNX(dpt, value);
    if (dpt.mainNumber != 18 || dpt.subNumber != 1 || value.ivt != ivtByte)
    {
        LUM_LOG_ERROR("Wrong DPT for Scene number (18.001) or oru value type (ivtByte).");
        return false;
    }
    const unsigned char b = value.GetByte();
    const unsigned scene = b & kSceneMask;
    if (scene >= 64)
    {
        LUM_LOG_ERROR("Scene number is out of range (>63) for SceneControl: " << scene);
        return false;
    }
    group.SetAsUnsigned8(b);
    return true;
}
LUM_CONVERTER_CATCH_TO_KNX(dpt, value)

bool KnxConverterSceneControl::FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group,
                                            ORUVALUE& value)
try
{
    LUM_TRACE_FROM_KNX(dpt, group);
    if (dpt.mainNumber != 18 || dpt.subNumber != 1)
    {
        LUM_LOG_ERROR("Wrong DPT for Scene number, only 18.001 is valid.");
        return false;
    }
    const unsigned char b = group.GetAsUnsigned8();
    if ((b & kBit6) != 0)
    {
        LUM_LOG_ERROR("Reserved bit is used for scene number in DPT scene control!");
        return false;
    }
    value.SetByte(b);
    return true;
}
LUM_CONVERTER_CATCH_FROM_KNX(dpt, group)

KnxConverter* KnxConverterSceneControl::Clone() const
{
    return new KnxConverterSceneControl(*this);
}

// --- 26.001 ------------------------------------------------------------------

bool KnxConverterSceneInfo::ToKnxValue(const KNXDPT& dpt, const ORUVALUE& value, KnxStack::GroupValue& group)
try
{
    LUM_TRACE_TO_KNX(dpt, value);
    if (dpt.mainNumber != 26 || dpt.subNumber != 1 || value.ivt != ivtByte)
    {
        LUM_LOG_ERROR("Wrong DPT for Scene number (26.001) or oru value type (ivtByte).");
        return false;
    }
    const unsigned char b = value.GetByte();
    if ((b & kBit7) != 0)
    {
        LUM_LOG_ERROR("Reserved bit 8 is set for SceneInfo; skipped.");
        return false;
    }
    group.SetAsUnsigned8(b);
    return true;
}
LUM_CONVERTER_CATCH_TO_KNX(dpt, value)

bool KnxConverterSceneInfo::FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group,
                                         ORUVALUE& value)
try
{
    LUM_TRACE_FROM_KNX(dpt, group);
    if (dpt.mainNumber != 26 || dpt.subNumber != 1)
    {
        LUM_LOG_ERROR("Wrong DPT for Scene number, only 26.001 is valid.");
        return false;
    }
    const unsigned char b = group.GetAsUnsigned8();
    if ((b & kBit7) != 0)
    {
        // The scene-control text, reused as it has always read.
        LUM_LOG_ERROR("Reserved bit is used for scene number in DPT scene control!");
        return false;
    }
    value.SetByte(b);
    return true;
}
LUM_CONVERTER_CATCH_FROM_KNX(dpt, group)

KnxConverter* KnxConverterSceneInfo::Clone() const
{
    return new KnxConverterSceneInfo(*this);
}

} // namespace Lum
