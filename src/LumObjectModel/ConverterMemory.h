#pragma once
// Where KnxConverter's operator new takes memory from while a DPT value map
// fills itself: the map's arena, released only after its entries are gone.
#include <memory_resource>

namespace Lum
{
namespace Detail
{

class ConverterArenaScope
{
public:
    explicit ConverterArenaScope(std::pmr::memory_resource& arena);
    ~ConverterArenaScope();
    ConverterArenaScope(const ConverterArenaScope&) = delete;
    ConverterArenaScope& operator=(const ConverterArenaScope&) = delete;

private:
    std::pmr::memory_resource* m_previous;
};

} // namespace Detail
} // namespace Lum
