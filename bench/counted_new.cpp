/** Allocation for the whole program; what the plug-in takes is counted. It uses nothing but new. */
#include "call_recorder.h"

#include <cstdlib>
#include <new>

void *operator new(std::size_t size)
{
    bench::Recorder::instance().note_allocation(size);
    if (void *memory = std::malloc(size > 0 ? size : 1)) {
        return memory;
    }
    throw std::bad_alloc();
}

void operator delete(void *memory) noexcept
{
    std::free(memory);
}

void operator delete(void *memory, std::size_t) noexcept
{
    std::free(memory);
}
