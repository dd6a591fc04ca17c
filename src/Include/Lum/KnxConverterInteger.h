#pragma once

#include <Lum/KnxConverter.h>

namespace Lum
{

// 8-, 16-, 24- and 32-bit integers and the 6.020 status byte.

class LUM_OM_API KnxConverterByte8BitUnsigned : public KnxConverter
{
public:
    explicit KnxConverterByte8BitUnsigned(const IntegerRange& range) : m_range(range) {}
    bool ToKnxValue(const KNXDPT& dpt, const ORUVALUE& value, KnxStack::GroupValue& group) override;
    bool FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group, ORUVALUE& value) override;
    KnxConverter* Clone() const override;
    const IntegerRange& GetRange() const { return m_range; }

private:
    IntegerRange m_range;
};

class LUM_OM_API KnxConverterInteger8BitSigned : public KnxConverter
{
public:
    explicit KnxConverterInteger8BitSigned(const IntegerRange& range) : m_range(range) {}
    bool ToKnxValue(const KNXDPT& dpt, const ORUVALUE& value, KnxStack::GroupValue& group) override;
    bool FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group, ORUVALUE& value) override;
    KnxConverter* Clone() const override;
    const IntegerRange& GetRange() const { return m_range; }

private:
    IntegerRange m_range;
};

class LUM_OM_API KnxConverterStatus8Bit : public KnxConverter
{
public:
    explicit KnxConverterStatus8Bit(const IntegerRange& range) : m_range(range) {}
    bool ToKnxValue(const KNXDPT& dpt, const ORUVALUE& value, KnxStack::GroupValue& group) override;
    bool FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group, ORUVALUE& value) override;
    KnxConverter* Clone() const override;
    const IntegerRange& GetRange() const { return m_range; }

private:
    IntegerRange m_range;
};

class LUM_OM_API KnxConverterInteger16BitUnsigned : public KnxConverter
{
public:
    explicit KnxConverterInteger16BitUnsigned(const IntegerRange& range) : m_range(range) {}
    bool ToKnxValue(const KNXDPT& dpt, const ORUVALUE& value, KnxStack::GroupValue& group) override;
    bool FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group, ORUVALUE& value) override;
    KnxConverter* Clone() const override;
    const IntegerRange& GetRange() const { return m_range; }

private:
    IntegerRange m_range;
};

class LUM_OM_API KnxConverterInteger16BitSigned : public KnxConverter
{
public:
    explicit KnxConverterInteger16BitSigned(const IntegerRange& range) : m_range(range) {}
    bool ToKnxValue(const KNXDPT& dpt, const ORUVALUE& value, KnxStack::GroupValue& group) override;
    bool FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group, ORUVALUE& value) override;
    KnxConverter* Clone() const override;
    const IntegerRange& GetRange() const { return m_range; }

private:
    IntegerRange m_range;
};

class LUM_OM_API KnxConverterInteger24BitUnsigned : public KnxConverter
{
public:
    explicit KnxConverterInteger24BitUnsigned(const LongIntegerRange& range) : m_range(range) {}
    bool ToKnxValue(const KNXDPT& dpt, const ORUVALUE& value, KnxStack::GroupValue& group) override;
    bool FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group, ORUVALUE& value) override;
    KnxConverter* Clone() const override;
    const LongIntegerRange& GetRange() const { return m_range; }

private:
    LongIntegerRange m_range;
};

class LUM_OM_API KnxConverterInteger32BitUnsigned : public KnxConverter
{
public:
    explicit KnxConverterInteger32BitUnsigned(const LongIntegerRange& range) : m_range(range) {}
    bool ToKnxValue(const KNXDPT& dpt, const ORUVALUE& value, KnxStack::GroupValue& group) override;
    bool FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group, ORUVALUE& value) override;
    KnxConverter* Clone() const override;
    const LongIntegerRange& GetRange() const { return m_range; }

private:
    LongIntegerRange m_range;
};

class LUM_OM_API KnxConverterInteger32BitSigned : public KnxConverter
{
public:
    explicit KnxConverterInteger32BitSigned(const IntegerRange& range) : m_range(range) {}
    bool ToKnxValue(const KNXDPT& dpt, const ORUVALUE& value, KnxStack::GroupValue& group) override;
    bool FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group, ORUVALUE& value) override;
    KnxConverter* Clone() const override;
    const IntegerRange& GetRange() const { return m_range; }

private:
    IntegerRange m_range;
};

} // namespace Lum
