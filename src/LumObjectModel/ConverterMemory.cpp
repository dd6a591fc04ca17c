#include "ConverterMemory.h"

#include <Lum/KnxConverter.h>

#include <cstdint>
#include <new>

namespace Lum
{
namespace
{

// Initial-exec: one pointer of static TLS, read without a call into the
// dynamic linker on every converter made.
__attribute__((tls_model("initial-exec"))) thread_local std::pmr::memory_resource* t_arena = nullptr;

// Each converter carries a tag in front of it saying where it came from;
// the size keeps the object at the strictest fundamental alignment.
constexpr std::size_t kTagBytes = alignof(std::max_align_t);
constexpr std::uintptr_t kFromHeap = 0;
constexpr std::uintptr_t kFromArena = 1;

void* Tagged(void* block, std::uintptr_t tag)
{
    *static_cast<std::uintptr_t*>(block) = tag;
    return static_cast<unsigned char*>(block) + kTagBytes;
}

} // namespace

namespace Detail
{

ConverterArenaScope::ConverterArenaScope(std::pmr::memory_resource& arena) : m_previous(t_arena)
{
    t_arena = &arena;
}

ConverterArenaScope::~ConverterArenaScope()
{
    t_arena = m_previous;
}

} // namespace Detail

void* KnxConverter::operator new(std::size_t size)
{
    if (t_arena != nullptr)
        return Tagged(t_arena->allocate(size + kTagBytes, kTagBytes), kFromArena);
    return Tagged(::operator new(size + kTagBytes), kFromHeap);
}

void KnxConverter::operator delete(void* object, std::size_t /*size*/) noexcept
{
    if (object == nullptr)
        return;
    void* block = static_cast<unsigned char*>(object) - kTagBytes;
    // Arena memory goes back with the map's arena, after the map's entries.
    if (*static_cast<const std::uintptr_t*>(block) == kFromHeap)
        ::operator delete(block);
}

} // namespace Lum
