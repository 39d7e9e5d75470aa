// libFuzzer's entry points for the saved-state target.
#include "FuzzerEntry.h"
#include "StateFuzzTarget.h"

extern "C" int LLVMFuzzerTestOneInput (const uint8_t* data, size_t size)
{
    static StateFuzz::Harness harness;
    return FuzzerEntry::check (harness.restoreAndCheck (data, size));
}

extern "C" int LLVMFuzzerInitialize (int* argc, char*** argv)
{
    return FuzzerEntry::seedEmptyFolders (*argc, *argv, StateFuzz::seeds());
}
