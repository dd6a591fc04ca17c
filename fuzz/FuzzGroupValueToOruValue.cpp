// Random group values decoded by packed DPT, the results encoded again, and
// values of any content (ill-formed times, non-UTF-8 text, NaN) encoded.
#include "FuzzSupport.h"

#include <Lum/GroupValueOruValue.h>
#include <Lum/KnxPelMapping.h>

#include <string>

namespace
{
// Main numbers the decoder knows, so that most inputs reach a decoding branch.
const std::uint16_t kMains[] = {1,  2,   3,   4,   5,   6,   7,   8,   9,   10,  11,  12,  13,  14, 15,
                                16, 17,  18,  19,  20,  21,  22,  23,  24,  25,  26,  27,  28,  29, 30,
                                31, 200, 201, 202, 217, 219, 222, 229, 230, 232, 234, 236, 237, 238};
} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    LumFuzz::Input in(data, size);
    const std::uint8_t mode = in.Byte();
    const std::uint8_t pick = in.Byte();
    const std::uint16_t sub = in.Byte();
    const std::uint8_t bits = in.Byte();
    const std::uint16_t main = pick < 200 ? kMains[pick % (sizeof kMains / sizeof kMains[0])] : in.Word();
    const unsigned long dpt = static_cast<unsigned long>(main) << 16 | sub;
    if (mode & 1)
    {
        // The rest is the serialised payload of a value of the DPT's own type,
        // so that the encoder sees what no decoder would produce.
        ORUVALUE value;
        const std::string type = std::to_string(static_cast<int>(Lum::KnxPelMapping::GetIvtFromDpt(dpt)));
        const std::string text =
            type + ':' + std::string(reinterpret_cast<const char*>(in.Rest()), in.RestSize());
        value.Deserialize(oru_string(text));
        (void)Lum::OruValueToGroupValue(value, dpt);
        return 0;
    }
    const KnxStack::GroupValue gv(KnxStack::BinaryData(in.Rest(), in.RestSize()), bits);
    const auto value = Lum::GroupValueToOruValue(gv, dpt);
    if (value)
        (void)Lum::OruValueToGroupValue(*value, dpt);
    return 0;
}
