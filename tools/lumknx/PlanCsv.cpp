// The CSV export: either one "Address" column or the 3/3 layout whose first
// six columns are the main, middle and sub group's names and then numbers.
// Columns are found by their header names; extra columns are ignored.
#include "Cli.h"
#include "CsvRows.h"
#include "PlanReaders.h"

#include <boost/algorithm/string.hpp>

namespace LumKnx
{

namespace
{
constexpr std::size_t kNone = static_cast<std::size_t>(-1);

struct Columns
{
    bool threeByThree = false;
    std::size_t name = kNone;
    std::size_t address = kNone; // the main number in the 3/3 layout; middle and sub follow
    std::size_t dpt = kNone;
};

std::size_t Find(const std::vector<std::string>& header, std::initializer_list<const char*> names)
{
    for (std::size_t i = 0; i < header.size(); ++i)
        for (const char* name : names)
            if (header[i] == name)
                return i;
    return kNone;
}

bool IsRangePart(const std::string& part)
{
    return part.empty() || part == "-";
}

class CsvPlan final
{
public:
    bool Header(std::vector<std::string> header)
    {
        for (auto& h : header)
        {
            boost::algorithm::trim(h);
            boost::algorithm::to_lower(h);
        }
        static const std::vector<std::string> kLevels = {"main", "middle", "sub", "main", "middle", "sub"};
        m_columns.address = Find(header, {"address"});
        if (m_columns.address != kNone)
        {
            m_columns.name = Find(header, {"group name", "name"});
            if (m_columns.name == kNone)
                return Fail("the header has an \"Address\" column but no \"Group name\"");
        }
        else if (header.size() >= kLevels.size() &&
                 std::equal(kLevels.begin(), kLevels.end(), header.begin()))
        {
            m_columns.threeByThree = true;
            m_columns.name = 2;
            m_columns.address = 3;
            m_builder.SetStyle(LumBus::GroupAddressStyle::ThreeLevel);
        }
        else
            return Fail("no group-address export: the header has no \"Address\" column and is not the "
                        "\"Main\",\"Middle\",\"Sub\" layout");
        m_columns.dpt = Find(header, {"datapointtype", "datapoint type", "dpt"});
        if (m_columns.dpt == kNone)
            return Fail("the header has no \"DatapointType\" column");
        m_needed =
            std::max({m_columns.name, m_columns.dpt, m_columns.address + (m_columns.threeByThree ? 2 : 0)}) +
            1;
        return true;
    }

    void Row(std::size_t number, const std::vector<std::string>& fields)
    {
        if (std::all_of(fields.begin(), fields.end(), [](const std::string& f) { return f.empty(); }))
            return;
        const std::string where = "row " + std::to_string(number) + ": ";
        if (fields.size() < m_needed)
        {
            m_builder.Warn(where + std::to_string(fields.size()) + " fields where " +
                           std::to_string(m_needed) + " are needed; row dropped");
            return;
        }
        std::string addressText = boost::algorithm::trim_copy(fields[m_columns.address]);
        if (m_columns.threeByThree)
        {
            const std::string middle = boost::algorithm::trim_copy(fields[m_columns.address + 1]);
            const std::string sub = boost::algorithm::trim_copy(fields[m_columns.address + 2]);
            if (IsRangePart(middle) || IsRangePart(sub))
                return; // a main or middle group's own row
            addressText += "/" + middle + "/" + sub;
        }
        else if (addressText.find('-') != std::string::npos)
            return; // "1/-/-", "1/2/-": a main or middle group's own row
        const auto address = LumBus::ParseGroupAddress(addressText);
        if (!address)
        {
            m_builder.Warn(where + "\"" + EscapeControls(addressText) +
                           "\" is no group address; row dropped");
            return;
        }
        if (!m_styleSet)
        {
            if (!m_columns.threeByThree)
                m_builder.SetStyle(StyleOfAddressText(addressText));
            m_styleSet = true;
        }
        const std::string dptText = boost::algorithm::trim_copy(fields[m_columns.dpt]);
        const PlanDpt dpt = ParsePlanDpt(dptText);
        if (!dpt.ok)
            m_builder.Warn(where + addressText + " has the unknown DPT \"" + EscapeControls(dptText) +
                           "\"; kept without DPT");
        m_builder.Add(*address, fields[m_columns.name], dpt.dpt);
    }

    bool Fail(std::string text)
    {
        m_error = std::move(text);
        return false;
    }
    const std::string& Error() const { return m_error; }
    PlanBuilder& Builder() { return m_builder; }

private:
    Columns m_columns;
    std::size_t m_needed = 0;
    bool m_styleSet = false;
    PlanBuilder m_builder;
    std::string m_error;
};
} // namespace

PlanLoadResult ReadPlanCsv(std::string_view bytes)
{
    std::string text;
    std::string error;
    if (!PlanTextToUtf8(bytes, text, error))
        return PlanError(error);
    if (text.find_first_not_of(" \t\r\n") == std::string::npos)
        return PlanError("the file is empty");

    CsvPlan plan;
    bool haveHeader = false;
    CsvRows rows(DetectSeparator(std::string_view(text).substr(0, text.find('\n'))),
                 [&](const std::vector<std::string>& fields)
                 {
                     if (haveHeader)
                     {
                         plan.Row(rows.Rows(), fields);
                         return true;
                     }
                     haveHeader = true;
                     return plan.Header(fields);
                 });
    if (!rows.Feed(text) || !rows.Finish())
    {
        if (!plan.Error().empty())
            return PlanError(plan.Error());
        return PlanError("malformed CSV in row " + std::to_string(rows.Rows() + 1) + ": " + rows.Error());
    }
    return plan.Builder().Finish();
}

} // namespace LumKnx
