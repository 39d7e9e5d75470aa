#pragma once

#include <string>

// Collects the outcome of each check and prints one line per check, then a
// summary line in the "N passed, N failed" form that CI logs are scanned for.
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
