#pragma once

#include <Lum/KnxConverter.h>
#include <Platform/KnxStack.h>
#include <Platform/OruValue.h>

#include <atomic>
#include <initializer_list>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <vector>

namespace FacadeTest
{

inline KNXDPT Dpt(std::uint16_t main, std::uint16_t sub, std::uint8_t bits = 0)
{
    KNXDPT dpt;
    dpt.bitSize = bits;
    dpt.mainNumber = main;
    dpt.subNumber = sub;
    return dpt;
}

inline KnxStack::GroupValue Group(std::initializer_list<unsigned char> bytes, unsigned bits)
{
    const std::vector<unsigned char> data(bytes);
    return KnxStack::GroupValue(KnxStack::BinaryData(data.data(), data.size()), bits);
}

inline std::vector<unsigned char> RawBytes(const KnxStack::GroupValue& gv)
{
    const KnxStack::BinaryData& raw = gv.GetRawData();
    return std::vector<unsigned char>(raw.GetData(), raw.GetData() + raw.GetSize());
}

// What a scripted converter was handed.
struct Call
{
    KNXDPT dpt;
    ORUVALUE value;
    KnxStack::GroupValue group;
};

struct Recorder
{
    std::mutex mutex;
    std::vector<Call> toKnx;
    std::vector<Call> fromKnx;
};

// Converter of the tests: records its calls, then does what it was told.
class ScriptedConverter : public Lum::KnxConverter
{
public:
    enum class Action
    {
        Succeed,
        Fail,
        ThrowGroupValueException,
        ThrowOther,
    };

    static constexpr unsigned char kWrittenByte = 0xA5;
    static constexpr unsigned char kReadByte = 0x5A;

    explicit ScriptedConverter(std::shared_ptr<Recorder> recorder, Action action = Action::Succeed)
        : m_recorder(std::move(recorder)), m_action(action)
    {
        ++s_live;
    }
    ScriptedConverter(const ScriptedConverter& other)
        : Lum::KnxConverter(other), m_recorder(other.m_recorder), m_action(other.m_action)
    {
        ++s_live;
    }
    ~ScriptedConverter() override { --s_live; }

    bool ToKnxValue(const KNXDPT& dpt, const ORUVALUE& value, KnxStack::GroupValue& group) const override
    {
        {
            std::lock_guard<std::mutex> lock(m_recorder->mutex);
            m_recorder->toKnx.push_back(Call{dpt, value, group});
        }
        if (!Act())
        {
            return false;
        }
        group = Group({kWrittenByte}, 8);
        return true;
    }

    bool FromKnxValue(const KNXDPT& dpt, const KnxStack::GroupValue& group, ORUVALUE& value) const override
    {
        {
            std::lock_guard<std::mutex> lock(m_recorder->mutex);
            m_recorder->fromKnx.push_back(Call{dpt, value, group});
        }
        if (!Act())
        {
            return false;
        }
        value.SetByte(kReadByte);
        return true;
    }

    Lum::KnxConverter* Clone() const override { return new ScriptedConverter(*this); }

    // Instances alive in the process, to prove ownership.
    static int Live() { return s_live.load(); }

private:
    bool Act() const
    {
        switch (m_action)
        {
        case Action::Succeed:
            return true;
        case Action::Fail:
            return false;
        case Action::ThrowGroupValueException:
            throw KnxStack::GroupValueException("scripted failure");
        case Action::ThrowOther:
            throw std::logic_error("not a stack error");
        }
        return false;
    }

    std::shared_ptr<Recorder> m_recorder;
    Action m_action;
    static inline std::atomic<int> s_live{0};
};

// Its copy operation yields no converter at all.
class NullCloningConverter : public Lum::KnxConverter
{
public:
    bool ToKnxValue(const KNXDPT&, const ORUVALUE&, KnxStack::GroupValue&) const override { return true; }
    bool FromKnxValue(const KNXDPT&, const KnxStack::GroupValue&, ORUVALUE&) const override { return true; }
    Lum::KnxConverter* Clone() const override { return nullptr; }
};

// Its copy operation throws.
class ThrowingCloneConverter : public Lum::KnxConverter
{
public:
    bool ToKnxValue(const KNXDPT&, const ORUVALUE&, KnxStack::GroupValue&) const override { return true; }
    bool FromKnxValue(const KNXDPT&, const KnxStack::GroupValue&, ORUVALUE&) const override { return true; }
    Lum::KnxConverter* Clone() const override { throw std::runtime_error("no copy"); }
};

} // namespace FacadeTest
