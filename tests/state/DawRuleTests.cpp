#include "processor/HostEnvironment.h"

#include <gtest/gtest.h>

namespace
{
juce::String daw (const char* path)
{
    return HostEnvironment::dawFromExecutablePath (juce::String::fromUTF8 (path));
}
} // namespace

TEST (DawRule, KeepsTheUpperHalfOfTheComponents)
{
    // 5 components, start at 2.
    EXPECT_EQ (daw ("C:\\Program Files\\Host\\Bin\\host.exe"), "Host/Bin/host.exe");
    // 6 components, start at 3.
    EXPECT_EQ (daw ("C:\\A\\B\\C\\D\\host.exe"), "C/D/host.exe");
    // 7 components, start at 3 (integer half).
    EXPECT_EQ (daw ("C:/a/b/c/d/e/host.exe"), "c/d/e/host.exe");
    // 3 components, start at 1.
    EXPECT_EQ (daw ("C:\\Host\\host.exe"), "Host/host.exe");
}

TEST (DawRule, ShortPaths)
{
    EXPECT_EQ (daw ("C:\\host.exe"), "host.exe");
    EXPECT_EQ (daw ("Host/host.exe"), "host.exe");
    EXPECT_EQ (daw ("host.exe"), "");
    EXPECT_EQ (daw (""), "");
}

TEST (DawRule, BackslashesAndSlashesAreTheSameSeparator)
{
    EXPECT_EQ (daw ("C:/Program Files\\Host/Bin\\host.exe"), "Host/Bin/host.exe");
}

TEST (DawRule, LeadingDoubledAndTrailingSeparators)
{
    // A leading separator gives an empty first component: "", usr, bin, host → start 2.
    EXPECT_EQ (daw ("/usr/bin/host"), "bin/host");
    // Linux-style deep path: "", opt, Host, Bin, host → start 2.
    EXPECT_EQ (daw ("/opt/Host/Bin/host"), "Host/Bin/host");
    // Doubled separators give empty components, which are joined back as they were:
    // C:, "", Host, "", host.exe → start 2.
    EXPECT_EQ (daw ("C:\\\\Host\\\\host.exe"), "Host//host.exe");
    // A UNC path: "", "", server, share, host.exe → start 2.
    EXPECT_EQ (daw ("\\\\server\\share\\host.exe"), "server/share/host.exe");
    // A trailing separator adds no component: C:, Host, Bin → start 1.
    EXPECT_EQ (daw ("C:\\Host\\Bin\\"), "Host/Bin");
    // One component before a trailing separator.
    EXPECT_EQ (daw ("host.exe/"), "");
    // Only separators: "", "" → start 1, an empty last component.
    EXPECT_EQ (daw ("//"), "");
    EXPECT_EQ (daw ("/"), "");
}

TEST (DawRule, NonAsciiComponentsSurvive)
{
    EXPECT_EQ (daw ("C:\\Programme\\M\xc3\xbcsik\\Stud\xc3\xado\\h\xc3\xb6st.exe"),
               juce::String::fromUTF8 ("M\xc3\xbcsik/Stud\xc3\xado/h\xc3\xb6st.exe"));
}

TEST (HostFacts, TimestampIsUtcInTheSavedFormat)
{
    // 1 000 000 000 s after the epoch is 2001-09-09 01:46:40 UTC.
    EXPECT_EQ (HostEnvironment::utcTimestamp ((std::time_t) 1000000000), "2001-09-09T01:46:40Z");
    EXPECT_EQ (HostEnvironment::utcTimestamp ((std::time_t) 0), "1970-01-01T00:00:00Z");
    // The last second of a leap day.
    EXPECT_EQ (HostEnvironment::utcTimestamp ((std::time_t) 951868799), "2000-02-29T23:59:59Z");
}

TEST (HostFacts, HostExecutableIsThisProcess)
{
    EXPECT_EQ (juce::File (HostEnvironment::hostExecutablePath()),
               juce::File::getSpecialLocation (juce::File::currentExecutableFile));
    EXPECT_EQ (HostEnvironment::userName(), juce::SystemStats::getLogonName());
}
