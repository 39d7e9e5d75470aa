#pragma once

#include <string>

// Collects the outcome of each check and prints one line per check, then a
// summary. The summary deliberately avoids the "N passed, N failed" form, so that
// CI counts the test suites' results and not this loader's checks.
class CheckLog
{
public:
    bool check (bool condition, const std::string& what);
    void note (const std::string& what) const;
    int summarise() const;

    int failed() const noexcept { return failures; }

private:
    int passes = 0;
    int failures = 0;
};
