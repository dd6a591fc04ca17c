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

void Pad(std::string& text, std::size_t length, std::size_t width)
{
    if (length < width)
        text.append(width - length, ' ');
    text.push_back(' ');
}
} // namespace

void PrintDecoded(const ValueText& value)
{
    std::cout << value.exact << '\t' << value.human << " (" << value.type << ")\n";
    if (!value.warning.empty())
        std::cerr << "lumknx: warning: " << value.warning << '\n';
}

Output::~Output()
{
    Flush();
}

void Output::Field(std::string_view text, std::size_t width)
{
    m_text.append(text);
    Pad(m_text, text.size(), width);
}

void Output::CharacterField(std::string_view text, std::size_t width)
{
    m_text.append(text);
    const auto characters = static_cast<std::size_t>(std::count_if(
        text.begin(), text.end(), [](char c) { return (static_cast<unsigned char>(c) & 0xC0) != 0x80; }));
    Pad(m_text, characters, width);
}

void Output::EndLine()
{
    while (!m_text.empty() && m_text.back() == ' ')
        m_text.pop_back();
    m_text.push_back('\n');
    if (m_text.size() > kBlock)
        Flush();
}

bool Output::Flush()
{
    if (m_text.empty())
        return !m_broken;
    if (std::fwrite(m_text.data(), 1, m_text.size(), stdout) != m_text.size() || std::fflush(stdout) != 0)
        m_broken = true;
    m_text.clear();
    return !m_broken;
}

} // namespace LumKnx
