// Any bytes as the lines of a bus trace in any of its forms: the parser
// never crashes, never keeps more than a telegram's bytes, and what it
// accepts decodes through the library without an exception.
#include "FuzzSupport.h"

#include <TraceLine.h>
#include <ValueText.h>

#include <Lum/KnxValueConverter.h>

#include <algorithm>
#include <cstdlib>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const auto& converter = LumFuzz::Initialised<Lum::KnxValueConverter>();
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    LumKnx::TraceParser parser;
    LumKnx::TraceLine line;
    std::size_t start = 0;
    while (start <= text.size())
    {
        const std::size_t end = std::min(text.find('\n', start), text.size());
        parser.Parse(text.substr(start, end - start), line);
        if (line.kind == LumKnx::TraceLine::Kind::Telegram && line.problem.empty())
        {
            const bool read = line.service == LumKnx::TraceLine::Service::Read;
            if (line.data.empty() != read || line.data.size() > 255)
                std::abort(); // a value for a read, none for a write, or more than a frame can carry
            if (line.hasDpt && !read)
                LumKnx::DecodeForDisplay(converter, line.dpt, line.data);
        }
        start = end + 1;
    }
    return 0;
}
