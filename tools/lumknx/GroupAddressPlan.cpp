#include "GroupAddressPlan.h"

#include "PlanReaders.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace LumKnx
{

GroupAddressPlan::GroupAddressPlan(std::vector<PlanEntry> entries, LumBus::GroupAddressStyle style)
    : m_entries(std::move(entries)), m_style(style)
{
    std::stable_sort(m_entries.begin(), m_entries.end(),
                     [](const PlanEntry& a, const PlanEntry& b) { return a.address < b.address; });
    // The first listing of an address wins; the readers warn about the rest.
    m_entries.erase(std::unique(m_entries.begin(), m_entries.end(),
                                [](const PlanEntry& a, const PlanEntry& b)
                                { return a.address == b.address; }),
                    m_entries.end());
}

const PlanEntry* GroupAddressPlan::Find(std::uint16_t address) const
{
    const auto it = std::lower_bound(m_entries.begin(), m_entries.end(), address,
                                     [](const PlanEntry& e, std::uint16_t a) { return e.address < a; });
    return it != m_entries.end() && it->address == address ? &*it : nullptr;
}

namespace
{
bool IsZip(std::string_view bytes)
{
    static constexpr std::string_view kEntry = "PK\x03\x04";
    static constexpr std::string_view kEmpty = "PK\x05\x06";
    return bytes.substr(0, 4) == kEntry || bytes.substr(0, 4) == kEmpty;
}

bool IsXml(std::string_view bytes)
{
    if (bytes.substr(0, 3) == "\xEF\xBB\xBF")
        bytes.remove_prefix(3);
    const auto first = bytes.find_first_not_of(" \t\r\n");
    return first != bytes.npos && bytes[first] == '<';
}

bool IsAnything(std::string_view)
{
    return true;
}

// The forms in the order they are tried; a new form is a reader and a row.
struct PlanForm
{
    bool (*recognises)(std::string_view bytes);
    PlanLoadResult (*read)(std::string_view bytes);
};
constexpr PlanForm kPlanForms[] = {
    {IsZip, ReadPlanProject},
    {IsXml, ReadPlanXml},
    {IsAnything, ReadPlanCsv},
};
} // namespace

PlanLoadResult ReadGroupAddressPlan(std::string_view bytes)
{
    for (const PlanForm& form : kPlanForms)
        if (form.recognises(bytes))
            return form.read(bytes);
    return PlanError("no form of plan recognised"); // unreachable while the last row takes anything
}

namespace
{
// The whole file, or an error when it cannot be read or is over the cap.
bool ReadWholeFile(const std::string& path, std::string& out, std::string& error)
{
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0)
    {
        error = std::strerror(errno);
        return false;
    }
    struct stat info;
    bool ok = ::fstat(fd, &info) == 0;
    if (ok && S_ISDIR(info.st_mode))
    {
        error = "it is a directory";
        ok = false;
    }
    if (ok && S_ISREG(info.st_mode) && static_cast<std::uint64_t>(info.st_size) > kMaxPlanBytes)
        ok = false; // said below, as for a pipe that runs over
    char buffer[64 * 1024];
    while (ok)
    {
        const ssize_t n = ::read(fd, buffer, sizeof buffer);
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0)
        {
            error = std::strerror(errno);
            ok = false;
        }
        else if (n == 0)
            break;
        else if (out.size() + static_cast<std::size_t>(n) > kMaxPlanBytes)
            ok = false;
        else
            out.append(buffer, static_cast<std::size_t>(n));
    }
    ::close(fd);
    if (!ok && error.empty())
        error = "larger than " + std::to_string(kMaxPlanBytes >> 20) + " MiB; no plan is that big";
    return ok;
}
} // namespace

PlanLoadResult LoadGroupAddressPlan(const std::string& path)
{
    std::string bytes;
    std::string error;
    PlanLoadResult result =
        ReadWholeFile(path, bytes, error) ? ReadGroupAddressPlan(bytes) : PlanError(std::move(error));
    if (!result.plan)
        result.error = "cannot read plan '" + path + "': " + result.error;
    return result;
}

} // namespace LumKnx
