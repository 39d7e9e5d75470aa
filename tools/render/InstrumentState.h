#pragma once

#include <juce_core/juce_core.h>

#include <memory>

/** The instrument's saved state: one XML element "settings" whose attributes are
    the parameters (normalised, by ID) and the string properties, among them the
    sample list "filenames" (full paths joined by line feeds). On disk and inside the
    plug-in it travels as JUCE's binary XML block ("VC2!", length, text, zero). */
class InstrumentState
{
public:
    /** Reads a saved state block, or the XML text of one. Throws RenderFailure
        (unreadableInput) when the file can't be read or holds no "settings" element. */
    static InstrumentState fromFile (const juce::File& file);

    /** Reads the block the plug-in itself writes; anything after the block (the VST3
        wrapper appends its own data) is ignored. Throws like fromFile. */
    static InstrumentState fromBlock (const juce::MemoryBlock& block, const juce::String& origin);

    /** The state as the plug-in reads it: JUCE's binary XML block. */
    juce::MemoryBlock toBlock() const;

    /** The sample files, in key-layout order; empty entries are dropped. */
    juce::StringArray getSampleFiles() const;
    void setSampleFiles (const juce::Array<juce::File>& files);

    /** Stores the seed the instrument draws its random amounts from. */
    void setSeed (juce::int64 seed);

    /** The attribute names and values, in document order. */
    int getNumAttributes() const;
    juce::String getAttributeName (int index) const;

    bool hasAttribute (const juce::String& name) const;
    juce::String getAttribute (const juce::String& name) const;

private:
    explicit InstrumentState (std::unique_ptr<juce::XmlElement> settingsToUse);

    std::shared_ptr<const juce::XmlElement> settings;
};
