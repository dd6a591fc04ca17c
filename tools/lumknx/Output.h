#pragma once
// Standard output in large blocks: formatting, not the terminal, sets the pace.
// Rows are built in a buffer that goes out once it passes 64 KiB, on Flush()
// and when the object ends.
#include <cstddef>
#include <string>
#include <string_view>

namespace LumKnx
{

struct ValueText;

// A decoded value as 'decode' and 'read' print it: on standard output the
// exact value (as 'encode' takes it), what it means and its type; a warning,
// if any, on standard error.
void PrintDecoded(const ValueText& value);

class Output final
{
public:
    Output() = default;
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;
    ~Output();

    // The row being built, for callers that assemble text themselves.
    std::string& Text() { return m_text; }
    void Append(std::string_view text) { m_text.append(text); }
    // Appends text padded with spaces to width bytes, then one space.
    void Field(std::string_view text, std::size_t width);
    // As Field(), but counts UTF-8 characters: units like "°C" and names with umlauts line up.
    void CharacterField(std::string_view text, std::size_t width);
    // Drops trailing spaces and ends the row.
    void EndLine();
    // False once a write has failed (standard output closed, e.g. a pipe).
    bool Flush();

private:
    std::string m_text;
    bool m_broken = false;
};

} // namespace LumKnx
