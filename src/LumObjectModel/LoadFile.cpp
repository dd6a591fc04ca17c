#include <Lum/LoadFile.h>

#include <boost/filesystem/operations.hpp>
#include <boost/system/error_code.hpp>

#include <algorithm>
#include <cstdint>
#include <fstream>

namespace Lum
{

boost::optional<std::vector<char>> LoadFile(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    if (!in)
        return boost::none;

    // The reported size is only a hint (files of /proc report none): reading
    // goes on in chunks until the end, and a read error must end up in the
    // stream state. With the hint the bytes arrive in one read, straight into
    // the buffer, and the byte after them spares a caller that appends a
    // terminator another copy of the whole file.
    std::vector<char> bytes;
    boost::system::error_code error;
    const std::uintmax_t hint = boost::filesystem::file_size(path, error);
    constexpr std::uintmax_t kMaxHint = std::uintmax_t{1} << 30;
    if (!error && hint > 0 && hint < kMaxHint)
        bytes.reserve(static_cast<std::size_t>(hint) + 1);

    constexpr std::size_t kMinChunk = 8 * 1024;
    for (;;)
    {
        const std::size_t used = bytes.size();
        const std::size_t chunk = std::max(kMinChunk, bytes.capacity() - used);
        bytes.resize(used + chunk);
        in.read(bytes.data() + used, static_cast<std::streamsize>(chunk));
        bytes.resize(used + static_cast<std::size_t>(in.gcount()));
        if (!in)
            break;
    }
    if (in.bad())
        return boost::none;
    return bytes;
}

} // namespace Lum
