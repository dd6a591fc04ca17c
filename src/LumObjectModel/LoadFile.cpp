#include <Lum/LoadFile.h>

#include "NameTable.h"

#include <algorithm>
#include <cerrno>
#include <limits>
#include <new>
#include <stdexcept>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Lum
{

namespace
{

// Closes the descriptor on every way out.
class Descriptor
{
public:
    explicit Descriptor(int fd) : m_fd(fd) {}
    ~Descriptor()
    {
        if (m_fd >= 0)
            ::close(m_fd);
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    int Get() const { return m_fd; }

private:
    int m_fd;
};

LoadFileStatus Load(const std::string& path, std::size_t maxBytes, std::vector<char>& bytes)
{
    // O_NONBLOCK: opening a FIFO without a writer must not wait for one.
    const Descriptor fd(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK));
    if (fd.Get() < 0)
        return LoadFileStatus::CannotOpen;
    struct stat info;
    if (::fstat(fd.Get(), &info) != 0)
        return LoadFileStatus::ReadFailed;
    if (!S_ISREG(info.st_mode))
        return LoadFileStatus::NotRegularFile;
    if (info.st_size < 0 || static_cast<unsigned long long>(info.st_size) > maxBytes)
        return LoadFileStatus::TooLarge;

    // The size is a hint only (files of /proc report none, others grow):
    // reading goes on until the end or past the limit. Reads go straight into
    // the buffer while it has room, keeping one byte spare for a terminator;
    // the read that finds the end goes to a scratch buffer, so that a file of
    // the announced size is never copied.
    bytes.reserve(static_cast<std::size_t>(info.st_size) + 1);
    for (;;)
    {
        const std::size_t used = bytes.size();
        if (used > maxBytes)
            return LoadFileStatus::TooLarge;
        // One byte beyond the limit is enough to see a file that outgrew it.
        const std::size_t allowed = maxBytes - used + 1;
        const std::size_t room = bytes.capacity() - used;
        ssize_t got = 0;
        if (room >= 2)
        {
            const std::size_t chunk = std::min(room - 1, allowed);
            bytes.resize(used + chunk);
            got = ::read(fd.Get(), bytes.data() + used, chunk);
            bytes.resize(used + static_cast<std::size_t>(std::max<ssize_t>(got, 0)));
        }
        else
        {
            char scratch[8 * 1024];
            got = ::read(fd.Get(), scratch, std::min(sizeof scratch, allowed));
            if (got > 0)
                bytes.insert(bytes.end(), scratch, scratch + got);
        }
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0)
            return LoadFileStatus::ReadFailed;
        if (got == 0)
            return LoadFileStatus::Loaded;
    }
}

} // namespace

const char* Describe(LoadFileStatus status)
{
    static constexpr const char* kNames[] = {
        "loaded",     "cannot be opened", "not a regular file", "larger than the limit",
        "read error", "not enough memory"};
    return LumInternal::NameAt<LoadFileStatus::OutOfMemory>(kNames, status, "unknown");
}

boost::optional<std::vector<char>> LoadFile(const std::string& path, std::size_t maxBytes,
                                            LoadFileStatus& status)
{
    try
    {
        std::vector<char> bytes;
        status = Load(path, maxBytes, bytes);
        if (status != LoadFileStatus::Loaded)
            return boost::none;
        return bytes;
    }
    catch (const std::bad_alloc&)
    {
        status = LoadFileStatus::OutOfMemory;
        return boost::none;
    }
    catch (const std::length_error&)
    {
        status = LoadFileStatus::OutOfMemory;
        return boost::none;
    }
}

boost::optional<std::vector<char>> LoadFile(const std::string& path)
{
    LoadFileStatus status = LoadFileStatus::Loaded;
    // Leaves room for the one byte a caller appends.
    return LoadFile(path, std::numeric_limits<std::size_t>::max() - 1, status);
}

} // namespace Lum
