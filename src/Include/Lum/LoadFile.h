#pragma once

#include <Lum/Export.h>

#include <boost/optional.hpp>

#include <string>
#include <vector>

namespace Lum
{

// Every byte of the file, in order, with nothing added; empty when the file
// cannot be opened or reading it fails (a directory, an I/O error).
LUM_OM_API boost::optional<std::vector<char>> LoadFile(const std::string& path);

} // namespace Lum
