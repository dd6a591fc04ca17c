#pragma once
// Standard output in large blocks: formatting, not the terminal, sets the pace.
// Rows are built in a buffer that goes out once it passes 64 KiB, on Flush()
// and when the object ends.
#include <cstddef>
#include <cstring>
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
    Output();
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;
    ~Output();

    // Appends text to the row being built.
    void Append(std::string_view text)
    {
        char* at = Room(text.size());
        if (!text.empty())
            std::memcpy(at, text.data(), text.size());
        m_used += text.size();
    }
    // Appends text padded with spaces to width bytes, then one space.
    void Field(std::string_view text, std::size_t width) { Padded(text, text.size(), width); }
    // As Field(), but counts UTF-8 characters: units like "°C" and names with umlauts line up.
    void CharacterField(std::string_view text, std::size_t width);
    // Drops trailing spaces and ends the row.
    void EndLine();
    // False once a write has failed (standard output closed, e.g. a pipe).
    bool Flush();

private:
    // Where `bytes` more go; the buffer grows rather than split a row, so that
    // EndLine() can still drop the row's trailing spaces.
    char* Room(std::size_t bytes)
    {
        if (m_buffer.size() - m_used < bytes)
            Grow(bytes);
        return &m_buffer[m_used];
    }
    void Grow(std::size_t bytes);
    void Padded(std::string_view text, std::size_t length, std::size_t width)
    {
        const std::size_t padding = (length < width ? width - length : 0) + 1;
        char* at = Room(text.size() + padding);
        if (!text.empty())
            std::memcpy(at, text.data(), text.size());
        std::memset(at + text.size(), ' ', padding);
        m_used += text.size() + padding;
    }

    // Written in place up to m_used: a field costs a copy and a fill, not a
    // string append per piece (a fifth of trace's time went there).
    std::string m_buffer;
    std::size_t m_used = 0;
    bool m_broken = false;
};

} // namespace LumKnx
