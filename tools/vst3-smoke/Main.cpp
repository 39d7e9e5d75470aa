// vst3-smoke: loads the Windows build of the instrument the way a VST3 host does and
// checks it end to end. Run under 32-bit Wine by scripts/windows/wine-smoke.sh:
//
//   vst3-smoke.exe <plug-in DLL> <WAV path> <FLAC path> [editor picture .ppm]
//
// The paths are Windows paths (Z:\... under Wine). Exit code 0 when every check passed.

#include "SmokeRun.h"

#include <cstdio>
#include <cwchar>

namespace
{
std::string toUtf8 (const wchar_t* text)
{
    const auto size = WideCharToMultiByte (CP_UTF8, 0, text, -1, nullptr, 0, nullptr, nullptr);
    std::string result (static_cast<size_t> (size > 0 ? size : 1), '\0');
    WideCharToMultiByte (CP_UTF8, 0, text, -1, result.data(), size, nullptr, nullptr);
    result.resize (std::strlen (result.c_str()));
    return result;
}
} // namespace

int wmain (int argc, wchar_t** argv)
{
    if (argc != 4 && argc != 5)
    {
        std::fprintf (stderr, "usage: vst3-smoke <plug-in DLL> <WAV path> <FLAC path> [editor picture .ppm]\n");
        return 2;
    }

    SmokeRun smoke ({ argv[1], toUtf8 (argv[2]), toUtf8 (argv[3]), argc == 5 ? argv[4] : L"" });
    return smoke.run();
}
