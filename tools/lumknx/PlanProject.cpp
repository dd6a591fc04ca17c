// The project archive (.knxproj): a zip whose P-XXXX/0.xml lists the group
// addresses and whose P-XXXX/project.xml says how they are written. Every
// entry is unpacked under a cap, checked against both what it declares and
// what it really expands to.
#include "Cli.h"
#include "PlanReaders.h"

#include <zip.h>

#include <memory>

namespace LumKnx
{

namespace
{
struct ZipCloser
{
    void operator()(zip_t* archive) const { zip_discard(archive); }
};
using Archive = std::unique_ptr<zip_t, ZipCloser>;

struct ZipFileCloser
{
    void operator()(zip_file_t* file) const { zip_fclose(file); }
};

const std::string kCap = std::to_string(kMaxPlanBytes >> 20) + " MiB";

bool ReadEntry(zip_t* archive, zip_uint64_t index, const std::string& name, std::string& out,
               std::string& error)
{
    out.clear();
    zip_stat_t stat;
    zip_stat_init(&stat);
    if (zip_stat_index(archive, index, 0, &stat) == 0 && (stat.valid & ZIP_STAT_SIZE) != 0 &&
        stat.size > kMaxPlanBytes)
    {
        error =
            name + " declares " + std::to_string(stat.size) + " bytes unpacked, over the limit of " + kCap;
        return false;
    }
    const std::unique_ptr<zip_file_t, ZipFileCloser> file(zip_fopen_index(archive, index, 0));
    if (!file)
    {
        error = "cannot unpack " + name + ": " + zip_strerror(archive);
        return false;
    }
    char buffer[64 * 1024];
    for (;;)
    {
        const zip_int64_t n = zip_fread(file.get(), buffer, sizeof buffer);
        if (n < 0)
        {
            error = "cannot unpack " + name + ": " + zip_file_strerror(file.get());
            return false;
        }
        if (n == 0)
            return true;
        if (out.size() + static_cast<std::size_t>(n) > kMaxPlanBytes)
        {
            error = name + " unpacks to more than " + kCap;
            return false;
        }
        out.append(buffer, static_cast<std::size_t>(n));
    }
}

bool IsProjectFolder(std::string_view folder)
{
    return folder.size() > 2 && folder.rfind("P-", 0) == 0 && folder.find('/') == folder.npos;
}
} // namespace

PlanLoadResult ReadPlanProject(std::string_view bytes)
{
    zip_error_t zipError;
    zip_error_init(&zipError);
    zip_source_t* source = zip_source_buffer_create(bytes.data(), bytes.size(), 0, &zipError);
    if (source == nullptr)
        return PlanError(std::string("cannot open the archive: ") + zip_error_strerror(&zipError));
    const Archive archive(zip_open_from_source(source, ZIP_RDONLY | ZIP_CHECKCONS, &zipError));
    if (!archive)
    {
        zip_source_free(source);
        const std::string reason = zip_error_strerror(&zipError);
        zip_error_fini(&zipError);
        return PlanError("not a readable project archive: " + reason);
    }
    const zip_int64_t count = zip_get_num_entries(archive.get(), 0);
    if (count < 0 || static_cast<std::uint64_t>(count) > kMaxProjectEntries)
        return PlanError("the archive lists " + std::to_string(count) + " files, more than " +
                         std::to_string(kMaxProjectEntries));

    std::string folder;
    std::string sealed;
    zip_int64_t addresses = -1;
    for (zip_int64_t i = 0; i < count && addresses < 0; ++i)
    {
        const char* raw = zip_get_name(archive.get(), static_cast<zip_uint64_t>(i), 0);
        const std::string_view name = raw == nullptr ? "" : raw;
        const auto slash = name.find('/');
        if (slash != name.npos && name.substr(slash + 1) == "0.xml" && IsProjectFolder(name.substr(0, slash)))
        {
            folder = std::string(name.substr(0, slash));
            addresses = i;
        }
        else if (name.size() > 4 && name.substr(name.size() - 4) == ".zip" &&
                 IsProjectFolder(name.substr(0, name.size() - 4)))
            sealed = std::string(name);
    }
    if (addresses < 0)
    {
        if (!sealed.empty())
            return PlanError("the project is password-protected (" + EscapeControls(sealed) +
                             " inside): export its group addresses as CSV or XML instead");
        return PlanError("no project in the archive (no P-XXXX/0.xml)");
    }

    std::string text;
    std::string error;
    auto style = LumBus::GroupAddressStyle::ThreeLevel;
    const std::string projectName = folder + "/project.xml";
    const zip_int64_t project = zip_name_locate(archive.get(), projectName.c_str(), 0);
    if (project >= 0)
    {
        if (!ReadEntry(archive.get(), static_cast<zip_uint64_t>(project), projectName, text, error) ||
            !ReadProjectStyle(text, style, error))
            return PlanError(projectName + ": " + error);
    }
    const std::string addressesName = folder + "/0.xml";
    if (!ReadEntry(archive.get(), static_cast<zip_uint64_t>(addresses), addressesName, text, error))
        return PlanError(error);
    PlanLoadResult result = ReadProjectAddresses(text, style);
    if (!result.plan)
        result.error = addressesName + ": " + result.error;
    return result;
}

} // namespace LumKnx
