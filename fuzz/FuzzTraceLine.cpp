// Any bytes as one line of a bus trace, then as a whole trace's worth of
// lines: the parser never crashes, never keeps more than a telegram's bytes,
// and what it accepts decodes through the library without an exception.
#include "FuzzSupport.h"

#include <TraceLine.h>
#include <ValueText.h>

#include <Lum/KnxValueConverter.h>

#include <algorithm>
#include <cstdlib>
#include <string_view>

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    LumFuzz::SetUpLogging();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    static const Lum::KnxValueConverter converter = []
    {
        Lum::KnxValueConverter c;
        c.Init();
        return c;
    }();
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    LumKnx::TraceLine line;
    std::size_t start = 0;
    while (start <= text.size())
    {
        const std::size_t end = std::min(text.find('\n', start), text.size());
        LumKnx::ParseTraceLine(text.substr(start, end - start), line);
        if (line.kind == LumKnx::TraceLine::Kind::Telegram && line.problem.empty())
        {
            if (line.data.empty() || line.data.size() > 255)
                std::abort(); // a telegram without bytes, or more than a frame can carry
            LumKnx::DecodeForDisplay(converter, line.dpt, line.data);
        }
        start = end + 1;
    }
    return 0;
}
