#include "ValueText.h"

#include "Cli.h"

#include <DptVocabulary.h>
#include <Lum/GroupValueOruValue.h>
#include <Lum/KnxConverterBitField.h>
#include <Lum/KnxConverterScene.h>
#include <Platform/Text.h>

#include <charconv>
#include <cmath>
#include <cstdio>
#include <limits>

namespace LumKnx
{

const char* const kValueForms =
    "value forms (what 'decode' prints first is what 'encode' takes):\n"
    "  numbers         21.5, -3, 4294967295; 'invalid' for the KNX invalid-data marker (9.x)\n"
    "  switches        true, false (also on, off, 1, 0)\n"
    "  2.x, 3.x, 18.x  the raw byte: 2.001 3 = control, on; 3.007 11 = increase, step 3;\n"
    "                  18.001 129 = learn scene 2\n"
    "  texts           as they are, or quoted with C escapes: \"a\\tb\"\n"
    "  10.001          [Mon..Sun ]HH:MM:SS, e.g. 'Wed 13:23:42' or 13:23:42 (no day)\n"
    "  11.001          YYYY-MM-DD, years 1990..2089\n"
    "  19.001          'YYYY-MM-DD HH:MM:SS', years 1900..2155";

namespace
{

namespace Vocabulary = Lum::Vocabulary;

constexpr const char* kDayNames[] = {"", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat", "Sun"};

// These converters write a byte into a value that the facade typed after the entry.
bool WritesByte(const Lum::KnxConverter& converter)
{
    return dynamic_cast<const Lum::KnxConverter4Bit*>(&converter) != nullptr ||
           dynamic_cast<const Lum::KnxConverterSceneControl*>(&converter) != nullptr;
}

// The value type a converter writes where it is not the entry's.
OruValueType WrittenType(const Lum::KnxConverter& converter, OruValueType entryType)
{
    return WritesByte(converter) ? ivtByte : entryType;
}

// The value type a converter takes for writing where it is not the entry's.
OruValueType AcceptedType(const Lum::KnxConverter& converter, OruValueType entryType)
{
    if (dynamic_cast<const Lum::KnxConverter2Bit*>(&converter) != nullptr)
        return ivtByte;
    return WrittenType(converter, entryType);
}

std::string Escaped(const std::string& text)
{
    std::string out;
    for (const char c : text)
    {
        const auto b = static_cast<unsigned char>(c);
        if (c == '"' || c == '\\')
            out += std::string("\\") + c;
        else if (c == '\t')
            out += "\\t";
        else if (c == '\n')
            out += "\\n";
        else if (b < 0x20 || b == 0x7F)
        {
            char hex[5];
            std::snprintf(hex, sizeof hex, "\\x%02X", b);
            out += hex;
        }
        else
            out += c;
    }
    return out;
}

boost::optional<std::string> Unescaped(const std::string& text)
{
    std::string out;
    for (std::size_t i = 0; i < text.size(); ++i)
    {
        if (text[i] != '\\')
        {
            out += text[i];
            continue;
        }
        if (++i == text.size())
            return boost::none;
        switch (text[i])
        {
        case 't':
            out += '\t';
            break;
        case 'n':
            out += '\n';
            break;
        case 'x':
        {
            unsigned value = 0;
            if (i + 2 >= text.size() ||
                std::from_chars(text.data() + i + 1, text.data() + i + 3, value, 16).ptr !=
                    text.data() + i + 3)
                return boost::none;
            out += static_cast<char>(value);
            i += 2;
            break;
        }
        default:
            out += text[i];
        }
    }
    return out;
}

std::string FloatText(double value, bool single)
{
    if (std::isnan(value))
        return "nan";
    char text[64];
    const auto end = single ? std::to_chars(text, text + sizeof text, static_cast<float>(value)).ptr
                            : std::to_chars(text, text + sizeof text, value).ptr;
    return std::string(text, end);
}

// The last two decimal digits, a leading zero included.
void AppendTwo(std::string& text, unsigned value)
{
    value %= 100;
    text.push_back(static_cast<char>('0' + value / 10));
    text.push_back(static_cast<char>('0' + value % 10));
}

std::string DateText(const ORUTIME& t)
{
    std::string text = std::to_string(t.year);
    text.push_back('-');
    AppendTwo(text, t.month);
    text.push_back('-');
    AppendTwo(text, t.day);
    return text;
}

std::string ClockText(const ORUTIME& t)
{
    std::string text;
    AppendTwo(text, t.hour);
    text.push_back(':');
    AppendTwo(text, t.minute);
    text.push_back(':');
    AppendTwo(text, t.second);
    return text;
}

int DayFromMask(unsigned mask)
{
    for (int day = 1; day <= 7; ++day)
        if (mask == (1u << (day - 1)))
            return day;
    return 0;
}

// The exact form of a decoded value: what EncodeFromText reads back.
std::string ExactText(const ORUVALUE& value, const KNXDPT& dpt)
{
    switch (value.ivt)
    {
    case ivtUnset:
        return "invalid";
    case ivtBool:
        return value.GetBool() ? "true" : "false";
    case ivtFloat:
        return FloatText(value.GetFloat(), dpt.mainNumber == 14);
    case ivtByte:
        return std::to_string(value.GetByte());
    case ivtWord:
        return std::to_string(value.GetWord());
    case ivtDWord:
        return std::to_string(value.GetDWord());
    case ivtInteger:
        return std::to_string(value.GetInteger());
    case ivtString:
        return "\"" + Escaped(value.GetString().str()) + "\"";
    case ivtDate:
        return DateText(value.GetTime());
    case ivtTime:
    case ivtDayTime:
    {
        const int day = DayFromMask(value.GetTime().weekDay);
        return (day != 0 ? std::string(kDayNames[day]) + " " : std::string()) + ClockText(value.GetTime());
    }
    case ivtDateTime:
        return DateText(value.GetTime()) + " " + ClockText(value.GetTime());
    default:
    {
        const char* text = value.ToString();
        return text != nullptr ? text : "";
    }
    }
}

std::string WithUnit(std::string number, const Vocabulary::DptWords* words)
{
    if (words == nullptr || *words->unit == '\0')
        return number;
    number.push_back(' ');
    number += words->unit;
    return number;
}

// As printf's "%.1f" in the C locale, without parsing a format per value.
std::string OneDecimal(double value)
{
    char text[32];
    const auto end = std::to_chars(text, text + sizeof text, value, std::chars_format::fixed, 1).ptr;
    return std::string(text, end);
}

// DPT 19.001's flags, byte 6 then byte 7, in the standard's order.
std::string DateTimeExtras(const std::vector<unsigned char>& bytes)
{
    if (bytes.size() < 8)
        return std::string();
    std::string out;
    const int day = bytes[3] >> 5;
    if (day != 0)
        out += std::string(", ") + kDayNames[day];
    struct Flag
    {
        unsigned byte;
        unsigned char mask;
        const char* words;
    };
    static const Flag flags[] = {
        {6, 0x80, "fault"},   {6, 0x40, "working day"}, {6, 0x20, "working day unknown"},
        {6, 0x10, "no year"}, {6, 0x08, "no date"},     {6, 0x04, "no weekday"},
        {6, 0x02, "no time"}, {6, 0x01, "summer time"}, {7, 0x80, "clock synchronised"},
    };
    for (const Flag& f : flags)
        if ((bytes[f.byte] & f.mask) != 0)
            out += std::string(", ") + f.words;
    return out;
}

std::string HumanText(const ORUVALUE& value, const KNXDPT& dpt, const std::vector<unsigned char>& bytes,
                      const std::string& exact)
{
    const Vocabulary::DptWords* words = Vocabulary::FindDptWords(dpt.mainNumber, dpt.subNumber);
    const unsigned b = value.ivt == ivtByte ? value.GetByte() : 0;
    switch (dpt.mainNumber)
    {
    case 1:
    {
        const bool on = value.GetBool();
        switch (dpt.subNumber)
        {
        case 1:
            return on ? "on" : "off";
        case 8:
            return on ? "down" : "up";
        case 9:
            return on ? "close" : "open";
        case 10:
            return on ? "start" : "stop";
        default:
            return exact;
        }
    }
    case 2:
        return std::string((b & 2) != 0 ? "control" : "no control") + ", " + ((b & 1) != 0 ? "on" : "off");
    case 3:
    {
        const unsigned step = b & 7;
        const bool up = (b & 8) != 0;
        const std::string direction =
            dpt.subNumber == 8 ? (up ? "down" : "up") : (up ? "increase" : "decrease");
        return step == 0 ? direction + ", stop" : direction + ", step " + std::to_string(step);
    }
    case 5:
        if (dpt.subNumber == 1 || dpt.subNumber == 3)
            return WithUnit(OneDecimal(b * (dpt.subNumber == 1 ? 100.0 : 360.0) / 255.0), words);
        return WithUnit(exact, words);
    case 17:
        return "scene " + std::to_string((b & 0x3F) + 1);
    case 18:
        return std::string((b & 0x80) != 0 ? "learn" : "activate") + " scene " +
               std::to_string((b & 0x3F) + 1);
    case 26:
        return "scene " + std::to_string((b & 0x3F) + 1) + ((b & 0x40) != 0 ? ", inactive" : ", active");
    case 19:
        return exact + DateTimeExtras(bytes);
    case 10:
        return value.GetTime().weekDay == 0 ? exact + ", no day" : exact;
    default:
        break;
    }
    if (value.ivt == ivtString)
        return Escaped(value.GetString().str());
    return WithUnit(exact, words);
}

} // namespace

ValueText DecodeForDisplay(const Lum::KnxValueConverter& converter, const KNXDPT& dpt,
                           const std::vector<unsigned char>& bytes)
{
    LibraryMessages messages;
    return DecodeForDisplay(converter, dpt, bytes, messages);
}

ValueText DecodeForDisplay(const Lum::KnxValueConverter& converter, const KNXDPT& dpt,
                           const std::vector<unsigned char>& bytes, LibraryMessages& messages)
{
    ValueText result;
    ValueDecoder(converter, messages).Decode(dpt, bytes, result);
    return result;
}

ValueDecoder::ValueDecoder(const Lum::KnxValueConverter& converter, LibraryMessages& messages)
    : m_converter(converter), m_messages(messages)
{
}

OruValueType ValueDecoder::WrittenType(const Lum::KnxConverter& converter, OruValueType entryType)
{
    auto known = m_writesByte.find(&converter);
    if (known == m_writesByte.end())
        known = m_writesByte.emplace(&converter, WritesByte(converter)).first;
    return known->second ? ivtByte : entryType;
}

void ValueDecoder::Decode(const KNXDPT& dpt, const std::vector<unsigned char>& bytes, ValueText& result)
{
    result.decoded = false;
    result.human.clear();
    result.exact.clear();
    result.type.clear();
    result.reason.clear();
    result.warning.clear();
    const Lum::DptValueEntry& entry = m_converter.GetEntry(dpt);
    if (entry.ivt == ivtEmpty || !entry.converter)
    {
        result.reason = "DPT " + FormatDpt(dpt) + " is not supported";
        return;
    }
    const KnxStack::GroupValue group = MakeGroupValue(dpt.mainNumber, bytes);
    KNXDPT used = dpt;
    ORUVALUE value;
    m_messages.Clear();
    const bool ok = m_converter.FromKnxValue(used, group, value);
    result.reason = m_messages.First();
    if (!ok || !result.reason.empty())
    {
        if (result.reason.empty())
            result.reason = "the library refused the bytes";
        return;
    }
    result.decoded = true;
    if (value.ivt != ivtUnset)
        value.ivt = WrittenType(*entry.converter, value.ivt);
    const char* type = ORUVALUE::GetNameFromValueType(value.ivt);
    result.type = type != nullptr ? type : std::to_string(static_cast<int>(value.ivt));
    result.exact = ExactText(value, dpt);
    result.human = value.ivt == ivtUnset ? "(invalid data)" : HumanText(value, dpt, bytes, result.exact);
    if (dpt.mainNumber == 16 && bytes.size() == 14 && bytes.back() != 0)
        result.warning = "the text fills all 14 bytes and may have been cut";
}

namespace
{

template <typename T> boost::optional<T> Number(const std::string& text)
{
    T value{};
    const char* end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, value);
    if (result.ec != std::errc() || result.ptr != end)
        return boost::none;
    return value;
}

bool Clock(const std::string& text, ORUTIME& t)
{
    unsigned hour = 0, minute = 0, second = 0;
    char extra = 0;
    if (text.size() != 8 || std::sscanf(text.c_str(), "%2u:%2u:%2u%c", &hour, &minute, &second, &extra) != 3)
        return false;
    t.hour = static_cast<std::uint8_t>(hour);
    t.minute = static_cast<std::uint8_t>(minute);
    t.second = static_cast<std::uint8_t>(second);
    return hour < 24 && minute < 60 && second < 60;
}

bool Date(const std::string& text, ORUTIME& t)
{
    unsigned year = 0, month = 0, day = 0;
    char extra = 0;
    if (text.size() != 10 || std::sscanf(text.c_str(), "%4u-%2u-%2u%c", &year, &month, &day, &extra) != 3 ||
        !ORUTIME::IsValidDate(static_cast<unsigned short>(year), static_cast<unsigned char>(month),
                              static_cast<unsigned char>(day)))
        return false;
    t.SetDate(static_cast<unsigned short>(year), static_cast<unsigned char>(month),
              static_cast<unsigned char>(day), true);
    return true;
}

boost::optional<ORUVALUE> ParseValue(OruValueType type, const std::string& text)
{
    if (text == "invalid")
    {
        ORUVALUE unset;
        unset.ivt = ivtUnset;
        return unset;
    }
    switch (type)
    {
    case ivtBool:
        if (text == "true" || text == "on" || text == "1")
            return ORUVALUE::FromBool(true);
        if (text == "false" || text == "off" || text == "0")
            return ORUVALUE::FromBool(false);
        return boost::none;
    case ivtFloat:
        if (const auto v = Number<double>(text))
            return ORUVALUE::FromFloat(*v);
        return boost::none;
    case ivtByte:
        if (const auto v = Number<unsigned>(text); v && *v <= 255)
            return ORUVALUE::FromByte(static_cast<std::uint8_t>(*v));
        return boost::none;
    case ivtWord:
        if (const auto v = Number<unsigned>(text); v && *v <= 65535)
            return ORUVALUE::FromWord(static_cast<std::uint16_t>(*v));
        return boost::none;
    case ivtDWord:
        if (const auto v = Number<std::uint32_t>(text))
            return ORUVALUE::FromDWord(*v);
        return boost::none;
    case ivtInteger:
        if (const auto v = Number<std::int32_t>(text))
            return ORUVALUE::FromInteger(*v);
        return boost::none;
    case ivtString:
        if (text.size() >= 2 && text.front() == '"' && text.back() == '"')
        {
            const auto inner = Unescaped(text.substr(1, text.size() - 2));
            return inner ? boost::optional<ORUVALUE>(ORUVALUE::FromString(*inner)) : boost::none;
        }
        return ORUVALUE::FromString(text);
    case ivtDate:
    {
        ORUTIME t;
        t.Clear(true);
        return Date(text, t) ? boost::optional<ORUVALUE>(ORUVALUE::FromTime(ivtDate, t)) : boost::none;
    }
    case ivtTime:
    case ivtDayTime:
    {
        ORUTIME t;
        t.year = 2000;
        t.month = 1;
        t.day = 1;
        std::string clock = text;
        for (int day = 1; day <= 7; ++day)
        {
            if (text.size() > 4 && text.compare(0, 4, std::string(kDayNames[day]) + " ") == 0)
            {
                t.weekDay = static_cast<std::uint16_t>(1u << (day - 1));
                clock = text.substr(4);
            }
        }
        return Clock(clock, t) ? boost::optional<ORUVALUE>(ORUVALUE::FromTime(type, t)) : boost::none;
    }
    case ivtDateTime:
    {
        ORUTIME t;
        t.Clear(true);
        if (text.size() != 19 || text[10] != ' ' || !Date(text.substr(0, 10), t) ||
            !Clock(text.substr(11), t))
            return boost::none;
        return ORUVALUE::FromTime(ivtDateTime, t);
    }
    default:
        return boost::none;
    }
}

} // namespace

Encoded EncodeFromText(const Lum::KnxValueConverter& converter, const KNXDPT& dpt, const std::string& text)
{
    Encoded result;
    const Lum::DptValueEntry& entry = converter.GetEntry(dpt);
    if (entry.ivt == ivtEmpty || !entry.converter)
    {
        result.reason = "DPT " + FormatDpt(dpt) + " is not supported";
        return result;
    }
    const OruValueType accepted = AcceptedType(*entry.converter, entry.ivt);
    const boost::optional<ORUVALUE> value = ParseValue(accepted, text);
    if (!value)
    {
        const char* type = ORUVALUE::GetNameFromValueType(accepted);
        throw UsageError("'" + text + "' is not a " + (type != nullptr ? type : "valid") + " value for DPT " +
                         FormatDpt(dpt) + " (see 'lumknx encode --help')");
    }
    LibraryMessages messages;
    KNXDPT used = dpt;
    KnxStack::GroupValue group;
    bool ok = false;
    if (dpt.mainNumber == 19)
    {
        // The standard's layout (year from 1900, weekday from the date, flags set);
        // the date-and-time converter keeps an older byte order for the object model.
        const unsigned long packed = static_cast<unsigned long>(dpt.mainNumber) << 16 | dpt.subNumber;
        if (auto made = Lum::OruValueToGroupValue(*value, packed))
        {
            group = *made;
            ok = true;
        }
    }
    else if (accepted == entry.ivt || value->ivt == ivtUnset)
        ok = converter.ToKnxValue(used, *value, group);
    else
        // The facade's type check knows only the entry's type; these converters
        // take a byte, so they are asked directly.
        ok = entry.converter->ToKnxValue(used, *value, group);
    if (!ok)
    {
        result.reason = messages.First();
        if (result.reason.empty())
            result.reason = "the library refused the value";
        return result;
    }
    if (dpt.mainNumber == 16 && Lum::getLatin1FromUTF8Lossy(value->GetString().str()).size() > 14)
        result.warning = "the text was cut to 14 characters";
    result.group = group;
    return result;
}

} // namespace LumKnx
