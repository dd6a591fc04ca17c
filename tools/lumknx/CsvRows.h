#pragma once
// Rows of a CSV text through libcsv: quoted fields, doubled quotes, line
// breaks inside quotes. Shared by the plan reader and the trace reader so
// that no caller splits on separators by hand.
#include <csv.h>

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace LumKnx
{

// The separator a header line uses: whichever of tab, ';' and ',' occurs most
// outside quotes; ',' when none does.
char DetectSeparator(std::string_view headerLine);

class CsvRows final
{
public:
    // Called once per complete row; returning false stops the parse.
    using RowHandler = std::function<bool(const std::vector<std::string>& fields)>;

    CsvRows(char separator, RowHandler onRow);
    ~CsvRows();
    CsvRows(const CsvRows&) = delete;
    CsvRows& operator=(const CsvRows&) = delete;

    // Parses more text. False when the text is malformed (an unpaired quote,
    // text after a closing quote) or a handler stopped; Error() says which.
    bool Feed(std::string_view text);
    // Ends the input: the last row without a line break is delivered, an
    // unclosed quote is an error.
    bool Finish();
    // "" when the handler stopped the parse, else libcsv's reason.
    std::string Error() const;
    // Complete rows delivered so far.
    std::size_t Rows() const { return m_rows; }

private:
    static void OnField(void* text, std::size_t size, void* self);
    static void OnRowEnd(int terminator, void* self);

    mutable csv_parser m_parser{}; // libcsv reads its error through a non-const pointer
    RowHandler m_onRow;
    std::vector<std::string> m_fields;
    std::size_t m_rows = 0;
    bool m_stopped = false;
};

} // namespace LumKnx
