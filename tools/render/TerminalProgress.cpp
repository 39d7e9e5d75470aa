#include "TerminalProgress.h"

#include <unistd.h>

TerminalProgress::TerminalProgress (std::ostream& streamToUse, bool isEnabled, double totalSecondsToRender)
    : stream (streamToUse),
      enabled (isEnabled),
      totalSeconds (totalSecondsToRender),
      startMs (juce::Time::getMillisecondCounter())
{
}

TerminalProgress::~TerminalProgress()
{
    finish();
}

bool TerminalProgress::isTerminal()
{
    return isatty (STDOUT_FILENO) != 0;
}

void TerminalProgress::update (double fraction)
{
    if (! enabled)
        return;

    const auto now = juce::Time::getMillisecondCounter();

    if (now - startMs < delayBeforeShowingMs || (drawn && now - lastDrawMs < redrawIntervalMs))
        return;

    lastDrawMs = now;
    drawn = true;

    const auto clamped = juce::jlimit (0.0, 1.0, fraction);
    const auto filled = juce::roundToInt (clamped * barWidth);

    stream << "\rRendering [" << juce::String::repeatedString ("#", filled)
           << juce::String::repeatedString ("-", barWidth - filled) << "] "
           << juce::String (juce::roundToInt (clamped * 100.0)).paddedLeft (' ', 3) << " %  "
           << juce::String (clamped * totalSeconds, 1) << " / " << juce::String (totalSeconds, 1) << " s"
           << std::flush;
}

void TerminalProgress::finish()
{
    if (! drawn)
        return;

    // Overwrite the bar with spaces and return to the start of the line.
    stream << "\r" << juce::String::repeatedString (" ", barWidth + 40) << "\r" << std::flush;
    drawn = false;
}
