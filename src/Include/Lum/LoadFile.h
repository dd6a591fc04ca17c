#pragma once

#include <Lum/Export.h>

#include <boost/optional.hpp>

#include <cstddef>
#include <string>
#include <vector>

namespace Lum
{

// Every byte of the file, in order, with nothing added; empty when the file
// cannot be opened, is not a regular file (a directory, a FIFO or a device is
// refused before anything is read, so the call never blocks on one), or
// reading it fails, memory included. Never throws.
LUM_OM_API boost::optional<std::vector<char>> LoadFile(const std::string& path);

// Why a bounded load gave nothing.
enum class LoadFileStatus
{
    Loaded,
    CannotOpen,
    NotRegularFile,
    TooLarge,
    ReadFailed,
    OutOfMemory,
};

// A short reason for people: "not a regular file", "larger than the limit", ...
LUM_OM_API const char* Describe(LoadFileStatus status);

// As LoadFile, refusing files of more than maxBytes bytes (also files that grow
// past it while being read), and saying why nothing came. The buffer keeps
// room for one more byte, so that a terminator costs no copy.
LUM_OM_API boost::optional<std::vector<char>> LoadFile(const std::string& path, std::size_t maxBytes,
                                                       LoadFileStatus& status);

} // namespace Lum
