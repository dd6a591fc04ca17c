#include "Cli.h"
#include "PlanReaders.h"

#include <utf8cpp/utf8.h>

#include <algorithm>
#include <array>

namespace LumKnx
{

namespace
{
std::string DptOrDash(const std::optional<KNXDPT>& dpt)
{
    return dpt ? FormatDpt(*dpt) : "no DPT";
}

bool AllDigits(std::string_view text)
{
    return !text.empty() &&
           std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

// Windows-1252's 0x80..0x9F; 0 where the code page defines no character.
constexpr std::array<char16_t, 32> kCp1252High = {
    0x20AC, 0,      0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0,      0x017D, 0,      0,      0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0,      0x017E, 0x0178};
} // namespace

PlanLoadResult PlanError(std::string text)
{
    PlanLoadResult result;
    result.error = std::move(text);
    return result;
}

PlanDpt ParsePlanDpt(std::string_view text)
{
    PlanDpt result;
    if (text.empty())
        return result;
    std::string numeric;
    const auto dash = text.find('-');
    if (text.rfind("DPST-", 0) == 0)
    {
        const auto second = text.find('-', 5);
        const std::string_view main = text.substr(5, second == text.npos ? text.npos : second - 5);
        const std::string_view sub = second == text.npos ? std::string_view() : text.substr(second + 1);
        if (AllDigits(main) && AllDigits(sub) && sub.find_first_not_of('0') != sub.npos)
            numeric = std::string(main) + "." + std::string(sub);
    }
    else if (text.rfind("DPT-", 0) == 0 && AllDigits(text.substr(4)))
        numeric = std::string(text.substr(4)) + ".x";
    else if (dash == text.npos)
        numeric = std::string(text);
    const auto dpt = numeric.empty() ? boost::none : ParseDpt(numeric);
    result.ok = static_cast<bool>(dpt);
    if (dpt)
        result.dpt = *dpt;
    return result;
}

LumBus::GroupAddressStyle StyleOfAddressText(std::string_view text)
{
    switch (std::count(text.begin(), text.end(), '/'))
    {
    case 0:
        return LumBus::GroupAddressStyle::Free;
    case 1:
        return LumBus::GroupAddressStyle::TwoLevel;
    default:
        return LumBus::GroupAddressStyle::ThreeLevel;
    }
}

bool PlanTextToUtf8(std::string_view bytes, std::string& out, std::string& error)
{
    out.clear();
    static constexpr std::string_view kUtf8Bom = "\xEF\xBB\xBF";
    if (bytes.substr(0, 2) == "\xFF\xFE" || bytes.substr(0, 2) == "\xFE\xFF")
    {
        error = "the file is UTF-16; export it as UTF-8 or Windows-1252";
        return false;
    }
    if (bytes.substr(0, 3) == kUtf8Bom)
        bytes.remove_prefix(3);
    const auto nul = bytes.find('\0');
    if (nul != bytes.npos)
    {
        error = "a NUL byte at offset " + std::to_string(nul) + ": this is no text export";
        return false;
    }
    if (utf8::is_valid(bytes.begin(), bytes.end()))
    {
        out.assign(bytes);
        return true;
    }
    // Older exports are Windows-1252; any byte sequence is, but for five.
    out.reserve(bytes.size() + bytes.size() / 8);
    for (std::size_t i = 0; i < bytes.size(); ++i)
    {
        const auto b = static_cast<unsigned char>(bytes[i]);
        char32_t code = b;
        if (b >= 0x80 && b < 0xA0)
            code = kCp1252High[b - 0x80];
        if (code == 0)
        {
            error = "neither UTF-8 nor Windows-1252 (byte 0x";
            AppendHexByte(error, b);
            error += " at offset " + std::to_string(i) + ")";
            return false;
        }
        utf8::append(code, std::back_inserter(out));
    }
    return true;
}

void PlanBuilder::Add(std::uint16_t address, std::string name, std::optional<KNXDPT> dpt)
{
    const auto [it, inserted] = m_index.emplace(address, m_entries.size());
    if (inserted)
    {
        m_entries.push_back(PlanEntry{address, std::move(name), dpt});
        return;
    }
    const PlanEntry& kept = m_entries[it->second];
    const bool sameDpt =
        kept.dpt.has_value() == dpt.has_value() &&
        (!dpt || (kept.dpt->mainNumber == dpt->mainNumber && kept.dpt->subNumber == dpt->subNumber));
    if (sameDpt && kept.name == name)
        return;
    Warn(LumBus::FormatGroupAddress(address, m_style) + " listed twice" +
         (sameDpt ? "" : " with different DPTs") + ": kept \"" + EscapeControls(kept.name) + "\" (" +
         DptOrDash(kept.dpt) + "), dropped \"" + EscapeControls(name) + "\" (" + DptOrDash(dpt) + ")");
}

void PlanBuilder::Warn(std::string text)
{
    if (m_warnings.size() < kMaxPlanWarnings)
        m_warnings.push_back(std::move(text));
    else
        ++m_unkeptWarnings;
}

PlanLoadResult PlanBuilder::Finish()
{
    PlanLoadResult result;
    result.warnings = std::move(m_warnings);
    if (m_unkeptWarnings > 0)
        result.warnings.push_back("and " + std::to_string(m_unkeptWarnings) + " more warnings");
    result.plan.emplace(std::move(m_entries), m_style);
    return result;
}

} // namespace LumKnx
