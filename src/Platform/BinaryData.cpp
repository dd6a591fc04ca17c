#include <Platform/KnxStack.h>

#include <algorithm>

namespace KnxStack
{

GroupValueException::GroupValueException(const std::string& what) : std::runtime_error(what) {}

BinaryData::BinaryData(const unsigned char* bytes, std::size_t length)
{
    if (bytes == nullptr && length != 0)
    {
        throw GroupValueException("BinaryData: null byte pointer with length " + std::to_string(length));
    }
    if (length != 0)
    {
        m_bytes.assign(bytes, bytes + length);
    }
}

namespace
{
// Far beyond any bus frame; keeps a wild index from asking for gigabytes.
constexpr std::size_t kMaxSize = 65536;

// Big-endian number of up to `width` bytes from `index`; stops at the end of
// the buffer, so a short buffer gives the number its bytes hold.
template <typename Bytes>
std::uint32_t ReadBigEndian(const Bytes& bytes, std::size_t index, std::size_t width, const char* function)
{
    if (index >= bytes.size())
    {
        throw GroupValueException(std::string(function) + ": index " + std::to_string(index) +
                                  " is not inside the " + std::to_string(bytes.size()) + "-byte buffer");
    }
    const std::size_t end = index + std::min(width, bytes.size() - index);
    std::uint32_t value = 0;
    for (std::size_t i = index; i < end; ++i)
    {
        value = value << 8 | bytes[i];
    }
    return value;
}
} // namespace

std::uint8_t BinaryData::GetUInt8Value(std::size_t index) const
{
    return static_cast<std::uint8_t>(ReadBigEndian(m_bytes, index, 1, "GetUInt8Value"));
}

std::uint32_t BinaryData::GetUInt24Value(std::size_t index) const
{
    return ReadBigEndian(m_bytes, index, 3, "GetUInt24Value");
}

std::uint32_t BinaryData::GetUInt32Value(std::size_t index) const
{
    return ReadBigEndian(m_bytes, index, 4, "GetUInt32Value");
}

void BinaryData::SetUInt8Value(std::size_t index, std::uint8_t value)
{
    if (index >= kMaxSize)
    {
        throw GroupValueException("SetUInt8Value: index " + std::to_string(index) + " exceeds the limit of " +
                                  std::to_string(kMaxSize) + " bytes");
    }
    if (index >= m_bytes.size())
    {
        m_bytes.resize(index + 1, 0);
    }
    m_bytes[index] = value;
}

std::string BinaryData::ToString() const
{
    static const char digits[] = "0123456789ABCDEF";
    std::string text;
    text.reserve(m_bytes.size() * 3);
    for (const unsigned char byte : m_bytes)
    {
        if (!text.empty())
        {
            text += ' ';
        }
        text += digits[byte >> 4];
        text += digits[byte & 0x0F];
    }
    return text;
}

} // namespace KnxStack
