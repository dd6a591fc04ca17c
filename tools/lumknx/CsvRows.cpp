#include "CsvRows.h"

#include <stdexcept>

namespace LumKnx
{

namespace
{
// Blanks around unquoted fields are trimmed, but never a tab: it may be the
// separator, and libcsv would swallow it as padding.
int IsPadding(unsigned char c)
{
    return c == ' ';
}
} // namespace

char DetectSeparator(std::string_view headerLine)
{
    std::size_t tabs = 0, semicolons = 0, commas = 0;
    bool quoted = false;
    for (const char c : headerLine)
    {
        if (c == '"')
            quoted = !quoted;
        else if (quoted)
            continue;
        else if (c == '\t')
            ++tabs;
        else if (c == ';')
            ++semicolons;
        else if (c == ',')
            ++commas;
    }
    if (tabs > semicolons && tabs > commas)
        return '\t';
    if (semicolons > commas)
        return ';';
    return ',';
}

CsvRows::CsvRows(char separator, RowHandler onRow) : m_onRow(std::move(onRow))
{
    if (csv_init(&m_parser, CSV_STRICT | CSV_STRICT_FINI) != 0)
        throw std::bad_alloc();
    csv_set_delim(&m_parser, static_cast<unsigned char>(separator));
    csv_set_space_func(&m_parser, IsPadding);
}

CsvRows::~CsvRows()
{
    csv_free(&m_parser);
}

void CsvRows::OnField(void* text, std::size_t size, void* self)
{
    auto& rows = *static_cast<CsvRows*>(self);
    rows.m_fields.emplace_back(static_cast<const char*>(text), size);
}

void CsvRows::OnRowEnd(int, void* self)
{
    auto& rows = *static_cast<CsvRows*>(self);
    if (!rows.m_stopped)
    {
        ++rows.m_rows;
        rows.m_stopped = !rows.m_onRow(rows.m_fields);
    }
    rows.m_fields.clear();
}

bool CsvRows::Feed(std::string_view text)
{
    if (m_stopped)
        return false;
    const std::size_t used = csv_parse(&m_parser, text.data(), text.size(), OnField, OnRowEnd, this);
    return used == text.size() && !m_stopped;
}

bool CsvRows::Finish()
{
    if (m_stopped)
        return false;
    return csv_fini(&m_parser, OnField, OnRowEnd, this) == 0 && !m_stopped;
}

std::string CsvRows::Error() const
{
    if (m_stopped)
        return "";
    const int code = csv_error(&m_parser);
    return code == CSV_EPARSE ? "a quote out of place or never closed" : csv_strerror(code);
}

} // namespace LumKnx
