#include "LineReader.h"

#include <cerrno>
#include <cstring>
#include <system_error>

#include <unistd.h>

namespace LumKnx
{

LineReader::LineReader(int fd) : m_fd(fd), m_buffer(16 * kMaxLine) {}

// Moves what is left to the front and reads more behind it; false at the end.
bool LineReader::Fill()
{
    if (m_eof)
        return false;
    if (m_begin > 0)
    {
        std::memmove(m_buffer.data(), m_buffer.data() + m_begin, m_end - m_begin);
        m_end -= m_begin;
        m_begin = 0;
    }
    for (;;)
    {
        const ssize_t got = ::read(m_fd, m_buffer.data() + m_end, m_buffer.size() - m_end);
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0)
            throw std::system_error(errno, std::generic_category(), "read");
        if (got == 0)
        {
            m_eof = true;
            return false;
        }
        m_end += static_cast<std::size_t>(got);
        return true;
    }
}

bool LineReader::Next(std::string_view& line, bool& tooLong)
{
    tooLong = false;
    std::size_t scanned = 0; // bytes of the current line already searched
    for (;;)
    {
        const char* start = m_buffer.data() + m_begin;
        const auto* newline =
            static_cast<const char*>(std::memchr(start + scanned, '\n', m_end - m_begin - scanned));
        if (newline != nullptr && !tooLong && static_cast<std::size_t>(newline - start) <= kMaxLine)
        {
            line = std::string_view(start, static_cast<std::size_t>(newline - start));
            m_begin += line.size() + 1;
            return true;
        }
        if (newline != nullptr)
        {
            // The end of a line that was too long: drop it with its break.
            m_begin += static_cast<std::size_t>(newline - start) + 1;
            line = std::string_view();
            tooLong = true;
            return true;
        }
        if (m_end - m_begin > kMaxLine || tooLong)
        {
            tooLong = true;
            m_begin = m_end; // drop what was read of it
            scanned = 0;
        }
        else
        {
            scanned = m_end - m_begin;
        }
        if (!Fill())
        {
            if (tooLong)
            {
                line = std::string_view();
                return true;
            }
            if (m_end == m_begin)
                return false;
            line = std::string_view(m_buffer.data() + m_begin, m_end - m_begin);
            m_begin = m_end;
            return true;
        }
    }
}

} // namespace LumKnx
