// The platform's byte form read into every value type, and written back.
#include "FuzzSupport.h"

#include <Platform/OruValue.h>

#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    LumFuzz::Input in(data, size);
    const std::uint8_t type = in.Byte();
    const std::uint8_t flags = in.Byte();
    ORUVALUE value;
    // Mostly the plain types; now and then the local, UTC and the 1000+ types.
    static const int kWide[] = {102, 104, 105, 201};
    value.ivt = static_cast<OruValueType>(type < 0xE0   ? type % 24
                                          : type < 0xF0 ? kWide[type % 4]
                                                        : 1000 + type % 40);
    // A copy, so that reads past the fuzzer's bytes are caught as overflows.
    const std::vector<unsigned char> bytes(in.Rest(), in.Rest() + in.RestSize());
    if (ByteArrayToOruValue(bytes.empty() ? nullptr : bytes.data(), static_cast<unsigned>(bytes.size()),
                            value, (flags & 1) != 0))
    {
        std::vector<unsigned char> out(flags >> 1);
        unsigned length = static_cast<unsigned>(out.size());
        OruValueToByteArray(value, out.empty() ? nullptr : out.data(), length);
        oru_string text;
        value.Serialize(text, (flags & 2) != 0);
        ORUVALUE back;
        back.Deserialize(text);
    }
    return 0;
}
