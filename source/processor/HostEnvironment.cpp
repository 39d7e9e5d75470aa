#include "processor/HostEnvironment.h"

#include <array>
#include <ctime>
#include <string>
#include <vector>

juce::String HostEnvironment::dawFromExecutablePath (const juce::String& executablePath)
{
    const auto path = executablePath.replaceCharacter ('\\', '/').toStdString();

    // Split like a getline loop with '/' as delimiter: leading or doubled separators
    // give empty components, a trailing separator gives no trailing empty component.
    std::vector<std::string> components;
    std::string::size_type start = 0;

    while (start < path.size())
    {
        const auto end = path.find ('/', start);

        if (end == std::string::npos)
        {
            components.push_back (path.substr (start));
            break;
        }

        components.push_back (path.substr (start, end - start));
        start = end + 1;
    }

    const auto n = (int) components.size();
    const auto first = std::max (1, std::min (n / 2, n - 1));

    std::string result;

    for (auto i = first; i < n; ++i)
    {
        if (i > first)
            result += '/';

        result += components[(size_t) i];
    }

    return juce::String (juce::CharPointer_UTF8 (result.c_str()));
}

juce::String HostEnvironment::hostExecutablePath()
{
    return juce::File::getSpecialLocation (juce::File::hostApplicationPath).getFullPathName();
}

juce::String HostEnvironment::userName()
{
    return juce::SystemStats::getLogonName();
}

juce::String HostEnvironment::utcTimestamp()
{
    return utcTimestamp (std::time (nullptr));
}

juce::String HostEnvironment::utcTimestamp (std::time_t time)
{
    std::tm parts {};
   #if JUCE_WINDOWS
    gmtime_s (&parts, &time);
   #else
    gmtime_r (&time, &parts);
   #endif

    std::array<char, 30> buffer {};
    // The same text as "%FT%TZ", spelt out: older Windows C runtimes (msvcrt, as used
    // by MinGW) reject %F and %T through their invalid-parameter handler.
    std::strftime (buffer.data(), buffer.size(), "%Y-%m-%dT%H:%M:%SZ", &parts);
    return buffer.data();
}
