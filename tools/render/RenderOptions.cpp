#include "RenderOptions.h"

#include "RenderFailure.h"

#include <cmath>
#include <cstdlib>

namespace
{
[[noreturn]] void failUsage (const juce::String& message)
{
    throw RenderFailure (ExitCode::badUsage, message + "\n(run sampivo-render --help for the options)");
}

/** Reads a whole decimal number; juce::String::getDoubleValue would take "12abc" as 12. */
std::optional<double> parseNumber (const juce::String& text)
{
    const auto trimmed = text.trim();

    if (trimmed.isEmpty() || ! trimmed.containsOnly ("0123456789+-.eE"))
        return std::nullopt;

    const auto utf8 = trimmed.toStdString();
    char* end = nullptr;
    const auto value = std::strtod (utf8.c_str(), &end);

    if (end == utf8.c_str() || *end != '\0' || ! std::isfinite (value))
        return std::nullopt;

    return value;
}

/** Hands out the arguments one by one and fetches the value that follows an option. */
class ArgumentCursor
{
public:
    explicit ArgumentCursor (const juce::StringArray& argumentsToRead) : arguments (argumentsToRead) {}

    bool hasMore() const { return index < arguments.size(); }
    juce::String next()  { return arguments[index++]; }

    juce::String valueFor (const juce::String& option)
    {
        if (! hasMore())
            failUsage (option + " needs a value");

        return next();
    }

private:
    const juce::StringArray& arguments;
    int index = 0;
};

RenderOptions::ParameterSetting parseSetting (const juce::String& text)
{
    const auto equals = text.indexOfChar ('=');

    if (equals <= 0)
        failUsage ("--set expects ID=VALUE, e.g. --set volume=0.6, not \"" + text + "\"");

    RenderOptions::ParameterSetting setting;
    setting.id = text.substring (0, equals).trim();
    const auto valueText = text.substring (equals + 1);
    const auto value = parseNumber (valueText);

    if (! value.has_value() || *value < 0.0 || *value > 1.0)
        throw RenderFailure (ExitCode::valueOutOfRange,
                             "the value for \"" + setting.id + "\" must be a number from 0 to 1 (a normalised "
                             "parameter value), not \"" + valueText + "\"");

    setting.value = static_cast<float> (*value);
    return setting;
}

/** Reads a seed: a whole number of at most eighteen digits, which an int64 holds. */
juce::int64 parseSeed (const juce::String& text)
{
    if (text.isEmpty() || text.length() > 18 || ! text.containsOnly ("0123456789"))
        failUsage ("--seed expects a whole number from 0 to 999999999999999999, not \"" + text + "\"");

    return text.getLargeIntValue();
}
} // namespace

RenderOptions RenderOptions::parse (const juce::StringArray& arguments, const juce::File& workingDirectory)
{
    RenderOptions options;
    ArgumentCursor cursor (arguments);

    const auto fileFor = [&] (const juce::String& option)
    {
        const auto path = cursor.valueFor (option);

        if (path.isEmpty())
            failUsage (option + " needs a file name");

        return workingDirectory.getChildFile (path);
    };

    const auto numberFor = [&] (const juce::String& option, double lowest, double highest)
    {
        const auto text = cursor.valueFor (option);
        const auto value = parseNumber (text);

        if (! value.has_value() || *value < lowest || *value > highest)
            failUsage (option + " expects a number from " + juce::String (lowest) + " to " + juce::String (highest)
                       + ", not \"" + text + "\"");

        return *value;
    };

    while (cursor.hasMore())
    {
        const auto option = cursor.next();

        if (option == "--help" || option == "-h")
            options.showHelp = true;
        else if (option == "--plugin")
            options.plugin = fileFor (option);
        else if (option == "--sample")
            options.samples.add (fileFor (option));
        else if (option == "--state")
            options.stateFile = fileFor (option);
        else if (option == "--search-dir")
            options.searchFolders.add (fileFor (option));
        else if (option == "--set")
            options.settings.push_back (parseSetting (cursor.valueFor (option)));
        else if (option == "--midi")
            options.midiFile = fileFor (option);
        else if (option == "--rate")
            options.sampleRate = numberFor (option, 8000.0, 384000.0);
        else if (option == "--block")
        {
            const auto block = numberFor (option, 1.0, 65536.0);

            if (block != std::floor (block))
                failUsage ("--block expects a whole number of samples");

            options.blockSize = static_cast<int> (block);
        }
        else if (option == "--tail")
            options.tailSeconds = numberFor (option, 0.0, 600.0);
        else if (option == "--out")
            options.outputFile = fileFor (option);
        else if (option == "--bits")
        {
            const auto bits = cursor.valueFor (option);

            if (bits != "24" && bits != "32")
                failUsage ("--bits is 24 (integer PCM) or 32 (float), not \"" + bits + "\"");

            options.bitsPerSample = bits.getIntValue();
        }
        else if (option == "--png")
            options.pngFile = fileFor (option);
        else if (option == "--seed")
            options.seed = parseSeed (cursor.valueFor (option));
        else if (option == "--params")
            options.listParameters = true;
        else
            failUsage ("unknown option \"" + option + "\"");
    }

    return options;
}

juce::String RenderOptions::usage()
{
    return "Usage: sampivo-render [options]\n"
           "Plays MIDI through the Vantrel Sampivo VST3 instrument and writes the audio.\n"
           "\n"
           "  --plugin PATH       the .vst3 bundle to load (default: $SAMPIVO_VST3_BUNDLE, then\n"
           "                      ~/.vst3/Vantrel Sampivo.vst3, then the bundle built next to this program)\n"
           "  --sample FILE       an audio file to play; repeat for several, in key-layout order\n"
           "                      (default: a built-in tone)\n"
           "  --state FILE        a saved state: the binary block or its XML text\n"
           "  --search-dir DIR    look for samples that the state names but that moved in DIR and\n"
           "                      its subfolders, by file name (repeatable)\n"
           "  --set ID=VALUE      set a parameter by its ID to a normalised value 0..1 (repeatable)\n"
           "  --midi FILE.mid     a Standard MIDI File; all tracks are merged, the tempo map is\n"
           "                      honoured (default: a built-in phrase)\n"
           "  --rate HZ           sample rate (default 48000)\n"
           "  --block N           block size in samples (default 512)\n"
           "  --tail SECONDS      time rendered after the last MIDI event (default 2)\n"
           "  --out FILE.wav      the WAV file to write (without it, only the summary is printed)\n"
           "  --bits 24|32        24-bit integer or 32-bit float WAV (default 24)\n"
           "  --png FILE.png      also draw the waveform of both channels\n"
           "  --seed N            a whole number that fixes the random amounts (Rnd. Pitch, Rnd. Other,\n"
           "                      Probability): the same N gives the same audio every run\n"
           "  --params            list every parameter with its value and display text\n"
           "  --help              this text\n"
           "\n"
           "Exit status: 0 done, 1 bad usage, 2 plug-in missing or not loadable, 3 unreadable\n"
           "input file, 4 unknown parameter ID, 5 value outside 0..1, 6 output not writable.\n";
}
