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

namespace
{
bool IsSceneNumber(const Detail::ConverterSite& site, const IntegerRange& range, std::int32_t v)
{
    if (v >= range.m_internalMin && v <= range.m_internalMax)
        return true;
    return Detail::Reject(site, "Scene number is out of range (>63) for SceneNumber: ", v);
}
} // namespace

bool KnxConverterSceneNumber::ToKnxValue(const KNXDPT& dpt, const ORUVALUE& value,
                                         KnxStack::GroupValue& group)
{
    return Detail::Convert(LUM_CONVERTER_SITE, dpt, value,
                           {dpt.mainNumber != 17 && dpt.subNumber != 1 && value.ivt != ivtByte,
                            "Wrong DPT main number (17.001) or oru value type (ivtByte)!"},
                           [&](const Detail::ConverterSite& site)
                           {
                               const std::int32_t v = value.GetInteger();
                               if (!IsSceneNumber(site, m_range, v))
                                   return false;
                               group.SetAsUnsigned8(static_cast<unsigned char>(v));
                               return true;
                           });
}

bool KnxConverterSceneNumber::FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group,
                                           ORUVALUE& value)
{
    return Detail::Convert(LUM_CONVERTER_SITE, dpt, group,
                           {dpt.mainNumber != 17 && dpt.subNumber != 1, "Wrong DPT main number (17.001)!"},
                           [&](const Detail::ConverterSite& site)
                           {
                               // The number is stored before the test and stays there on rejection.
                               const std::int32_t v = group.GetAsUnsigned8();
                               value.SetInteger(v);
                               if (!IsSceneNumber(site, m_range, v))
                                   return false;
                               value.ivt = ivtByte;
                               return true;
                           });
}

KnxConverter* KnxConverterSceneNumber::Clone() const
{
    return new KnxConverterSceneNumber(*this);
}

// --- 18.001 and 26.001: one byte, taken as it is unless a reserved bit is set --

namespace
{
// From the bus, bits under `reserved` must be clear.
bool ReadByte(const Detail::ConverterSite& site, const KnxStack::GroupValue& group, ORUVALUE& value,
              unsigned char reserved)
{
    const unsigned char b = group.GetAsUnsigned8();
    if ((b & reserved) != 0)
    {
        // 26.001 reuses the scene-control text, as it has always read.
        return Detail::Reject(site, "Reserved bit is used for scene number in DPT scene control!");
    }
    value.SetByte(b);
    return true;
}
} // namespace

bool KnxConverterSceneControl::ToKnxValue(const KNXDPT& dpt, const ORUVALUE& value,
                                          KnxStack::GroupValue& group)
{
    return Detail::Convert(LUM_CONVERTER_SITE, dpt, value,
                           {dpt.mainNumber != 18 || dpt.subNumber != 1 || value.ivt != ivtByte,
                            "Wrong DPT for Scene number (18.001) or oru value type (ivtByte)."},
                           [&](const Detail::ConverterSite& site)
                           {
                               const unsigned char b = value.GetByte();
                               const unsigned scene = b & kSceneMask;
                               if (scene >= 64)
                                   return Detail::Reject(
                                       site, "Scene number is out of range (>63) for SceneControl: ", scene);
                               group.SetAsUnsigned8(b);
                               return true;
                           });
}

bool KnxConverterSceneControl::FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group,
                                            ORUVALUE& value)
{
    return Detail::Convert(
        LUM_CONVERTER_SITE, dpt, group,
        {dpt.mainNumber != 18 || dpt.subNumber != 1, "Wrong DPT for Scene number, only 18.001 is valid."},
        [&](const Detail::ConverterSite& site) { return ReadByte(site, group, value, kBit6); });
}

KnxConverter* KnxConverterSceneControl::Clone() const
{
    return new KnxConverterSceneControl(*this);
}

bool KnxConverterSceneInfo::ToKnxValue(const KNXDPT& dpt, const ORUVALUE& value, KnxStack::GroupValue& group)
{
    return Detail::Convert(LUM_CONVERTER_SITE, dpt, value,
                           {dpt.mainNumber != 26 || dpt.subNumber != 1 || value.ivt != ivtByte,
                            "Wrong DPT for Scene number (26.001) or oru value type (ivtByte)."},
                           [&](const Detail::ConverterSite& site)
                           {
                               const unsigned char b = value.GetByte();
                               if ((b & kBit7) != 0)
                                   return Detail::Reject(site,
                                                         "Reserved bit 8 is set for SceneInfo; skipped.");
                               group.SetAsUnsigned8(b);
                               return true;
                           });
}

bool KnxConverterSceneInfo::FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group,
                                         ORUVALUE& value)
{
    return Detail::Convert(
        LUM_CONVERTER_SITE, dpt, group,
        {dpt.mainNumber != 26 || dpt.subNumber != 1, "Wrong DPT for Scene number, only 26.001 is valid."},
        [&](const Detail::ConverterSite& site) { return ReadByte(site, group, value, kBit7); });
}

KnxConverter* KnxConverterSceneInfo::Clone() const
{
    return new KnxConverterSceneInfo(*this);
}

} // namespace Lum
