#pragma once
// The plan readers behind LoadGroupAddressPlan, one per exported form, each
// reading bytes already in memory (so that they can be fuzzed without files),
// and the pieces they share.
#include "GroupAddressPlan.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>

namespace LumKnx
{

// Limits that keep a hostile or mistaken file from taking the machine's memory.
constexpr std::size_t kMaxPlanBytes = 64u << 20;   // a plan file, and each entry unpacked from a project
constexpr std::size_t kMaxProjectEntries = 100000; // files listed in a project archive
constexpr std::size_t kMaxPlanWarnings = 100;      // then one line says how many more

// Any form, recognised by content: a zip archive is a project, text that
// starts with '<' an XML export (or a project's 0.xml), anything else CSV.
PlanLoadResult ReadGroupAddressPlan(std::string_view bytes);

PlanLoadResult ReadPlanCsv(std::string_view bytes);
PlanLoadResult ReadPlanXml(std::string_view bytes);
PlanLoadResult ReadPlanProject(std::string_view bytes);
// A project's 0.xml with its group addresses (integers), printed in `style`.
PlanLoadResult ReadProjectAddresses(std::string_view bytes, LumBus::GroupAddressStyle style);
// The GroupAddressStyle a project's project.xml names; ThreeLevel when it
// names none. False (and `error` set) when the XML is malformed.
bool ReadProjectStyle(std::string_view bytes, LumBus::GroupAddressStyle& style, std::string& error);

// The DPT a plan writes: "DPST-9-1" (9.001), "DPT-9" (9.x: the main type
// only, which the library decodes with the main type's rules), "9.001" or
// "9.x". `ok` is false for anything else; "" is ok without a DPT.
struct PlanDpt
{
    bool ok = true;
    std::optional<KNXDPT> dpt;
};
PlanDpt ParsePlanDpt(std::string_view text);

// "1/2/3" -> ThreeLevel, "1/515" -> TwoLevel, "2563" -> Free.
LumBus::GroupAddressStyle StyleOfAddressText(std::string_view text);

// Text in UTF-8: a UTF-8 BOM is dropped; text that is not valid UTF-8 is read
// as Windows-1252. False (and `error` set) for UTF-16, NUL bytes or bytes
// Windows-1252 leaves undefined.
bool PlanTextToUtf8(std::string_view bytes, std::string& out, std::string& error);

// Collects entries in file order: the first listing of an address wins, a
// later one with another DPT or name is dropped with a warning.
class PlanBuilder final
{
public:
    void SetStyle(LumBus::GroupAddressStyle style) { m_style = style; }
    LumBus::GroupAddressStyle Style() const { return m_style; }
    void Add(std::uint16_t address, std::string name, std::optional<KNXDPT> dpt);
    // Warnings past kMaxPlanWarnings are counted, not kept.
    void Warn(std::string text);
    bool Empty() const { return m_entries.empty(); }
    PlanLoadResult Finish();

private:
    std::vector<PlanEntry> m_entries;
    std::unordered_map<std::uint16_t, std::size_t> m_index;
    std::vector<std::string> m_warnings;
    std::size_t m_unkeptWarnings = 0;
    LumBus::GroupAddressStyle m_style = LumBus::GroupAddressStyle::ThreeLevel;
};

// A result holding only an error line.
PlanLoadResult PlanError(std::string text);

} // namespace LumKnx
