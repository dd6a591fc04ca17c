#pragma once
// Names of enumerators and protocol codes kept as tables: each name stands
// once, beside its value, instead of in a switch per function. Internal to
// the build; not installed.
#include <cstddef>

namespace LumInternal
{

// `names[i]` names the enumerator with value i; the enumeration runs from 0
// without gaps up to `Last`. `otherwise` for a value past the table.
template <auto Last, std::size_t N>
constexpr const char* NameAt(const char* const (&names)[N], decltype(Last) value, const char* otherwise)
{
    static_assert(N == static_cast<std::size_t>(Last) + 1, "one name for each enumerator");
    const auto index = static_cast<std::size_t>(value);
    return index < N ? names[index] : otherwise;
}

template <typename Code> struct CodeName
{
    Code code;
    const char* name;
};

// The name of `code`, or `otherwise` when the table does not list it.
template <typename Code, std::size_t N>
constexpr const char* NameOf(const CodeName<Code> (&table)[N], Code code, const char* otherwise)
{
    for (const CodeName<Code>& entry : table)
    {
        if (entry.code == code)
            return entry.name;
    }
    return otherwise;
}

} // namespace LumInternal
