#include "reliability_alloc/AllocationCounter.h"

#include <atomic>
#include <cerrno>
#include <cstddef>
#include <cstdlib>

namespace
{
// Thread-local storage of the executable itself lives in the static TLS block, so
// reading it from inside malloc never allocates.
thread_local bool countingThisThread = false;

std::atomic<long> allocationCount { 0 };
std::atomic<long> deallocationCount { 0 };

void noteAllocation() noexcept
{
    if (countingThisThread)
        allocationCount.fetch_add (1, std::memory_order_relaxed);
}

void noteDeallocation() noexcept
{
    if (countingThisThread)
        deallocationCount.fetch_add (1, std::memory_order_relaxed);
}
} // namespace

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)

// The sanitizer's allocator calls these for every allocation and free it serves,
// operator new included.
extern "C" int __sanitizer_install_malloc_and_free_hooks (void (*mallocHook) (const volatile void*, std::size_t),
                                                         void (*freeHook) (const volatile void*));

namespace
{
void onSanitizerMalloc (const volatile void*, std::size_t) { noteAllocation(); }
void onSanitizerFree (const volatile void*)                { noteDeallocation(); }

void installHooks()
{
    static const auto installed = __sanitizer_install_malloc_and_free_hooks (onSanitizerMalloc, onSanitizerFree);
    (void) installed;
}
} // namespace

#else

// glibc lets a program replace malloc; these forward to glibc's own allocator, so memory
// from either side may be freed by the other.
extern "C"
{
void* __libc_malloc (std::size_t);
void* __libc_calloc (std::size_t, std::size_t);
void* __libc_realloc (void*, std::size_t);
void* __libc_memalign (std::size_t, std::size_t);
void __libc_free (void*);

void* malloc (std::size_t size)                                   { noteAllocation(); return __libc_malloc (size); }
void* calloc (std::size_t count, std::size_t size)                { noteAllocation(); return __libc_calloc (count, size); }
void* realloc (void* pointer, std::size_t size)                   { noteAllocation(); return __libc_realloc (pointer, size); }
void* memalign (std::size_t alignment, std::size_t size)          { noteAllocation(); return __libc_memalign (alignment, size); }
void* aligned_alloc (std::size_t alignment, std::size_t size)     { noteAllocation(); return __libc_memalign (alignment, size); }

int posix_memalign (void** result, std::size_t alignment, std::size_t size)
{
    noteAllocation();
    auto* pointer = __libc_memalign (alignment, size);
    *result = pointer != nullptr ? pointer : *result;
    return pointer != nullptr ? 0 : ENOMEM;
}

void free (void* pointer)
{
    if (pointer != nullptr)
        noteDeallocation();

    __libc_free (pointer);
}
}

namespace
{
void installHooks() {}
} // namespace

#endif

// operator new and delete need no replacing: the C++ library's own call malloc and free,
// and the definitions above take their place in every library of the process.

//==============================================================================
namespace AllocationCounter
{
void start()
{
    installHooks();
    allocationCount = 0;
    deallocationCount = 0;
    countingThisThread = true;
}

void stop()
{
    countingThisThread = false;
}

long allocations()   { return allocationCount.load(); }
long deallocations() { return deallocationCount.load(); }
} // namespace AllocationCounter
