#pragma once

/** Counts heap allocations and frees made by one thread between start() and stop().

    In a plain build this suite's binary replaces malloc and its relatives (forwarding to
    the C library's allocator), which operator new and delete call, so that nothing that
    reaches the heap goes unseen: JUCE's containers, std::function, C code in the codecs.
    Under AddressSanitizer or ThreadSanitizer the sanitizer owns malloc, and its
    allocation hooks are used instead.
*/
namespace AllocationCounter
{
/** Starts counting the calling thread's allocations, from zero. */
void start();

/** Stops counting. */
void stop();

long allocations();
long deallocations();
} // namespace AllocationCounter
