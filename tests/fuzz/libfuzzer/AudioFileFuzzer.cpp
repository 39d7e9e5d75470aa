// libFuzzer's entry points for the sample-file target.
#include "AudioFileFuzzTarget.h"
#include "FuzzerEntry.h"

extern "C" int LLVMFuzzerTestOneInput (const uint8_t* data, size_t size)
{
    static AudioFileFuzz::Harness harness;
    return FuzzerEntry::check (harness.loadAndPlay (data, size));
}

extern "C" int LLVMFuzzerInitialize (int* argc, char*** argv)
{
    return FuzzerEntry::seedEmptyFolders (*argc, *argv, AudioFileFuzz::seeds());
}
