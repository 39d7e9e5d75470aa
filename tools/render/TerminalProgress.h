#pragma once

#include <juce_core/juce_core.h>

#include <ostream>

/** A one-line progress bar for a render. It draws only on a terminal, and only once
    the render has taken longer than a second, so short renders, pipes and log files
    stay free of carriage-return clutter. */
class TerminalProgress
{
public:
    /** enabled: whether the stream is a terminal (see isTerminal()). */
    TerminalProgress (std::ostream& streamToUse, bool enabled, double totalSeconds);
    ~TerminalProgress();

    TerminalProgress (const TerminalProgress&) = delete;
    TerminalProgress& operator= (const TerminalProgress&) = delete;

    /** fraction: 0..1 of the audio rendered so far. */
    void update (double fraction);

    /** Wipes the bar, leaving the line free for the summary. */
    void finish();

    /** True when standard output is a terminal. */
    static bool isTerminal();

private:
    std::ostream& stream;
    const bool enabled;
    const double totalSeconds;
    const juce::uint32 startMs;
    juce::uint32 lastDrawMs = 0;
    bool drawn = false;

    static constexpr juce::uint32 delayBeforeShowingMs = 1000;
    static constexpr juce::uint32 redrawIntervalMs = 100;
    static constexpr int barWidth = 40;
};
