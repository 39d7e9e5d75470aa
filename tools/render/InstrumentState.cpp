#include "InstrumentState.h"

#include "RenderFailure.h"

#include <juce_audio_processors/juce_audio_processors.h>

namespace
{
const juce::Identifier filenamesAttribute ("filenames");
const juce::Identifier seedAttribute ("seed");
constexpr const char* rootName = "settings";

// The first four bytes of JUCE's binary XML block, "VC2!".
constexpr juce::uint32 binaryXmlMagic = 0x21324356;

bool startsWithBinaryMagic (const juce::MemoryBlock& data)
{
    return data.getSize() >= 4
           && juce::ByteOrder::littleEndianInt (data.getData()) == binaryXmlMagic;
}
} // namespace

InstrumentState::InstrumentState (std::unique_ptr<juce::XmlElement> settingsToUse)
    : settings (std::move (settingsToUse))
{
}

InstrumentState InstrumentState::fromFile (const juce::File& file)
{
    if (! file.existsAsFile())
        throw RenderFailure (ExitCode::unreadableInput, "no state file at " + file.getFullPathName());

    juce::MemoryBlock data;

    if (! file.loadFileAsData (data))
        throw RenderFailure (ExitCode::unreadableInput, "can't read the state file " + file.getFullPathName());

    return fromBlock (data, file.getFullPathName());
}

InstrumentState InstrumentState::fromBlock (const juce::MemoryBlock& block, const juce::String& origin)
{
    std::unique_ptr<juce::XmlElement> document;

    if (startsWithBinaryMagic (block))
        document = juce::AudioProcessor::getXmlFromBinary (block.getData(), static_cast<int> (block.getSize()));
    else
        document = juce::parseXML (block.toString());

    if (document == nullptr || ! document->hasTagName (rootName))
        throw RenderFailure (ExitCode::unreadableInput,
                             origin + " is not a Vantrel Sampivo state: expected a saved state block or XML "
                             "text with a <settings .../> element");

    return InstrumentState (std::move (document));
}

juce::MemoryBlock InstrumentState::toBlock() const
{
    juce::MemoryBlock block;
    juce::AudioProcessor::copyXmlToBinary (*settings, block);
    return block;
}

juce::StringArray InstrumentState::getSampleFiles() const
{
    // The same split the instrument makes: line feeds, with '"' as the quote character.
    juce::StringArray files;
    files.addTokens (settings->getStringAttribute (filenamesAttribute), "\n", "\"");
    files.removeEmptyStrings (true);
    return files;
}

void InstrumentState::setSampleFiles (const juce::Array<juce::File>& files)
{
    juce::StringArray paths;

    for (const auto& file : files)
        paths.add (file.getFullPathName());

    // Copy on write: the document may be shared with another copy of this state.
    auto edited = std::make_unique<juce::XmlElement> (*settings);
    edited->setAttribute (filenamesAttribute, paths.joinIntoString ("\n"));
    settings = std::move (edited);
}

void InstrumentState::setSeed (juce::int64 seed)
{
    auto edited = std::make_unique<juce::XmlElement> (*settings);
    edited->setAttribute (seedAttribute, juce::String (seed));
    settings = std::move (edited);
}

int InstrumentState::getNumAttributes() const
{
    return settings->getNumAttributes();
}

juce::String InstrumentState::getAttributeName (int index) const
{
    return settings->getAttributeName (index);
}

bool InstrumentState::hasAttribute (const juce::String& name) const
{
    return settings->hasAttribute (name);
}

juce::String InstrumentState::getAttribute (const juce::String& name) const
{
    return settings->getStringAttribute (name);
}
