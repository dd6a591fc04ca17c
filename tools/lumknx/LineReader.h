#pragma once
// Lines of a file or pipe in bounded memory: a line longer than the limit is
// reported as too long and skipped without being held.
#include <cstddef>
#include <string_view>
#include <vector>

namespace LumKnx
{

class LineReader
{
public:
    static constexpr std::size_t kMaxLine = 64 * 1024;

    // Reads from an open descriptor; does not close it.
    explicit LineReader(int fd);

    // The next line without its line break (the view lives until the next
    // call); false at the end. A line over kMaxLine bytes comes back empty
    // with tooLong set. Throws std::system_error when reading fails.
    bool Next(std::string_view& line, bool& tooLong);

private:
    bool Fill();

    int m_fd;
    std::vector<char> m_buffer;
    std::size_t m_begin = 0;
    std::size_t m_end = 0;
    bool m_eof = false;
};

} // namespace LumKnx
