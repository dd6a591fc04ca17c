#include "Output.h"

#include "ValueText.h"

#include <algorithm>
#include <cstdio>
#include <iostream>

namespace LumKnx
{

namespace
{
constexpr std::size_t kBlock = 64 * 1024;
} // namespace

void PrintDecoded(const ValueText& value)
{
    std::cout << value.exact << '\t' << value.human << " (" << value.type << ")\n";
    if (!value.warning.empty())
        std::cerr << "lumknx: warning: " << value.warning << '\n';
}

// Room for a block and a row of the longest line a trace may hold.
Output::Output() : m_buffer(2 * kBlock, '\0') {}

Output::~Output()
{
    Flush();
}

void Output::Grow(std::size_t bytes)
{
    m_buffer.resize(std::max(2 * m_buffer.size(), m_used + bytes));
}

void Output::CharacterField(std::string_view text, std::size_t width)
{
    const auto characters = static_cast<std::size_t>(std::count_if(
        text.begin(), text.end(), [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; }));
    Padded(text, characters, width);
}

void Output::EndLine()
{
    while (m_used > 0 && m_buffer[m_used - 1] == ' ')
        --m_used;
    *Room(1) = '\n';
    ++m_used;
    if (m_used > kBlock)
        Flush();
}

bool Output::Flush()
{
    if (m_used == 0)
        return !m_broken;
    if (std::fwrite(m_buffer.data(), 1, m_used, stdout) != m_used || std::fflush(stdout) != 0)
        m_broken = true;
    m_used = 0;
    return !m_broken;
}

} // namespace LumKnx
