#include <Lum/LoadFile.h>

#include <array>
#include <fstream>

namespace Lum
{

boost::optional<std::vector<char>> LoadFile(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    if (!in)
        return boost::none;

    // Read in chunks rather than trusting the reported size: files of /proc
    // report none, and a read error must end up in the stream state (a
    // stream-buffer iterator would let the exception escape instead).
    std::vector<char> bytes;
    std::array<char, 8 * 1024> chunk;
    while (in.read(chunk.data(), chunk.size()) || in.gcount() > 0)
    {
        bytes.insert(bytes.end(), chunk.data(), chunk.data() + in.gcount());
        if (!in)
            break;
    }
    if (in.bad())
        return boost::none;
    return bytes;
}

} // namespace Lum
