#include "CheckLog.h"

#include <cstdio>

bool CheckLog::check (bool condition, const std::string& what)
{
    std::printf ("%s %s\n", condition ? "ok:  " : "FAIL:", what.c_str());
    std::fflush (stdout);
    ++(condition ? passes : failures);
    return condition;
}

void CheckLog::note (const std::string& what) const
{
    std::printf ("      %s\n", what.c_str());
    std::fflush (stdout);
}

int CheckLog::summarise() const
{
    if (failures == 0)
        std::printf ("vst3-smoke: all %d checks passed\n", passes);
    else
        std::printf ("vst3-smoke: %d of %d checks FAILED\n", failures, passes + failures);

    std::fflush (stdout);
    return failures == 0 ? 0 : 1;
}
