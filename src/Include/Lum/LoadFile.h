#pragma once

/// @file
/// @brief Reading a whole file into memory.

#include <Lum/Export.h>

#include <boost/optional.hpp>

#include <cstddef>
#include <string>
#include <vector>

namespace Lum
{

/// @brief The bytes of a file.
///
/// Every byte of the file, in order, with nothing added; empty when the file
/// cannot be opened, is not a regular file (a directory, a FIFO or a device is
/// refused before anything is read, so the call never blocks on one), or
/// reading it fails, memory included. Never throws. Does not log. Safe from any thread.
/// @return the bytes, owned by the caller; none on any failure.
LUM_OM_API boost::optional<std::vector<char>> LoadFile(const std::string& path);

/// @brief Why a bounded load gave nothing.
enum class LoadFileStatus
{
    Loaded,         ///< The file was read.
    CannotOpen,     ///< The file cannot be opened (missing, no permission, ...).
    NotRegularFile, ///< A directory, FIFO, device or the like; nothing was read.
    TooLarge,       ///< Larger than the limit, or grew past it while being read.
    ReadFailed,     ///< Reading failed part way.
    OutOfMemory,    ///< The buffer could not be allocated.
};

/// @brief A short reason for people: "not a regular file", "larger than the limit", ...
///
/// A static text, never null; "unknown" for a number without a name.
LUM_OM_API const char* Describe(LoadFileStatus status);

/// @brief The bytes of a file of at most @p maxBytes bytes.
///
/// As LoadFile, refusing files of more than maxBytes bytes (also files that grow
/// past it while being read), and saying why nothing came. The buffer keeps
/// room for one more byte, so that a terminator costs no copy. Never throws; does not log.
/// @param path the file.
/// @param maxBytes the largest size accepted.
/// @param status out: LoadFileStatus::Loaded, or why nothing came.
LUM_OM_API boost::optional<std::vector<char>> LoadFile(const std::string& path, std::size_t maxBytes,
                                                       LoadFileStatus& status);

} // namespace Lum
