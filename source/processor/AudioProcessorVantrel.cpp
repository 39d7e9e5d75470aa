#include "processor/AudioProcessorVantrel.h"

#include "processor/HostEnvironment.h"
#include "SampivoBuildInfo.h"

#include <cmath>
#include <cstring>

namespace juce
{

namespace
{
constexpr int programStateDataSize = 65536;
constexpr const char* settingsTag = "settings";
} // namespace

AudioProcessorVantrel::AudioProcessorVantrel (const BusesProperties& ioLayouts)
    : AudioProcessor (ioLayouts),
      random (1),
      programStateData ((size_t) programStateDataSize, true),
      scratchLeft ((size_t) scratchSize, 0.0f),
      scratchRight ((size_t) scratchSize, 0.0f)
{
    random.setSeedRandomly();
}

AudioProcessorVantrel::~AudioProcessorVantrel() = default;

//==============================================================================
void AudioProcessorVantrel::prepareToPlay (double, int maximumBlockSize)
{
    preparedBlockSize = maximumBlockSize;
    maxBlockSize = maximumBlockSize;
    controlsNeedUpdate.store (true, std::memory_order_relaxed);
    sampleCounter.store (0, std::memory_order_relaxed);
}

void AudioProcessorVantrel::blockStarting (AudioBuffer<float>&, int) {}

void AudioProcessorVantrel::updateOversampler (int numChannels)
{
    if ((int) oversamplingRatio == oversamplingFactor)
        return;

    // Built on demand, only when a derived processor asks for another factor.
    oversamplingRatio = (float) oversamplingFactor;
    oversampler.reset();

    const auto factor = std::max (1, oversamplingFactor);
    const auto stages = (size_t) std::lround (std::log2 ((double) factor));
    oversampler = std::make_unique<dsp::Oversampling<float>> ((size_t) std::max (1, numChannels), stages,
                                                               dsp::Oversampling<float>::filterHalfBandPolyphaseIIR,
                                                               true);
    oversampler->initProcessing ((size_t) std::max (maxBlockSize, 1));
}

void AudioProcessorVantrel::processBlock (AudioBuffer<float>& buffer, MidiBuffer&)
{
    ScopedNoDenormals noDenormals;

    const auto in = getTotalNumInputChannels();
    const auto out = getTotalNumOutputChannels();
    const auto n = buffer.getNumSamples();

    updateOversampler (buffer.getNumChannels());

    const auto m = std::min ((int) std::round ((float) oversamplingFactor * (float) n), scratchSize);
    const auto oversampled = m != n && oversampler != nullptr;

    for (auto channel = in; channel < out; ++channel)
        buffer.clear (channel, 0, n);

    if (buffer.getNumChannels() == 0)
        return;

    float* left = buffer.getWritePointer (0);
    float* right = buffer.getNumChannels() > 1 ? buffer.getWritePointer (1) : nullptr;

    blockStarting (buffer, m);

    dsp::AudioBlock<float> hostBlock (buffer);
    dsp::AudioBlock<float> upsampled;

    if (oversampled)
    {
        upsampled = oversampler->processSamplesUp (hostBlock);
        left = upsampled.getChannelPointer (0);
        right = upsampled.getNumChannels() > 1 ? upsampled.getChannelPointer (1) : nullptr;
    }

    const auto samples = oversampled ? (int) upsampled.getNumSamples() : n;

    for (auto i = 0; i < samples; ++i)
    {
        // The left side may go further below zero than the right; both stop at 20.
        auto l = left[i];
        l = l < -30.0f ? -30.0f : std::min (l, 20.0f);

        auto r = l;

        if (in >= 2 && right != nullptr)
        {
            r = right[i];
            r = r < -20.0f ? -20.0f : std::min (r, 20.0f);
        }

        sampleCounter.fetch_add (1, std::memory_order_relaxed);
        const auto counter = (controlCounter.load (std::memory_order_relaxed) + 1) & 0xffff;
        controlCounter.store (counter, std::memory_order_relaxed);

        if (controlsNeedUpdate.load (std::memory_order_relaxed) || counter == 0)
        {
            controlsNeedUpdate.store (false, std::memory_order_relaxed);
            updateControls();
        }

        const auto result = processStereoSample (l, r);
        left[i] = result.first;

        if (out > 1 && right != nullptr)
            right[i] = result.second;
    }

    if (oversampled)
        oversampler->processSamplesDown (hostBlock);
}

//==============================================================================
void AudioProcessorVantrel::ensureDefaultProgram()
{
    if (programs.empty())
        programs.push_back ({ "Default", {} });
}

int AudioProcessorVantrel::getNumPrograms()
{
    ensureDefaultProgram();
    return std::max (1, (int) programs.size());
}

int AudioProcessorVantrel::getCurrentProgram()
{
    ensureDefaultProgram();
    return currentProgram;
}

const String AudioProcessorVantrel::getProgramName (int index)
{
    ensureDefaultProgram();
    return isPositiveAndBelow (index, (int) programs.size()) ? programs[(size_t) index].name : String();
}

void AudioProcessorVantrel::changeProgramName (int, const String&)
{
    ensureDefaultProgram();
}

void AudioProcessorVantrel::setCurrentProgram (int index)
{
    ensureDefaultProgram();
    stateChanged.store (true, std::memory_order_relaxed);
    currentProgram = index;

    if (controlsNeedUpdate.load (std::memory_order_relaxed) || getNumPrograms() <= 1
        || index == lastLoadedProgram || ! isPositiveAndBelow (index, (int) programs.size()))
        return;

    lastLoadedProgram = index;

    // A program is a settings element without its wrapping: wrap it and restore it.
    const auto text = String ("<?xml version=\"1.0\" encoding=\"UTF-8\"?> <") + settingsTag + " "
                    + programs[(size_t) index].settingsText + " />";

    if (auto xml = parseXML (text))
    {
        programStateData.reset();
        copyXmlToBinary (*xml, programStateData);
        setStateInformation (programStateData.getData(), (int) programStateData.getSize());
    }
}

//==============================================================================
String AudioProcessorVantrel::getStateProperty (const String& key)
{
    const std::lock_guard<std::mutex> lock (statePropertiesLock);
    return stateProperties[key];
}

void AudioProcessorVantrel::setStateProperty (const String& key, const String& value)
{
    const std::lock_guard<std::mutex> lock (statePropertiesLock);
    stateProperties[key] = value;
}

std::map<String, String> AudioProcessorVantrel::getStatePropertiesSnapshot() const
{
    const std::lock_guard<std::mutex> lock (statePropertiesLock);
    return stateProperties;
}

void AudioProcessorVantrel::getStateInformation (MemoryBlock& destData)
{
    XmlElement settings (settingsTag);
    std::map<String, String> properties;

    {
        const std::lock_guard<std::mutex> lock (statePropertiesLock);

        stateProperties["plugin"] = sampivo::build::productName;
        stateProperties["pluginversion"] = String (sampivo::build::buildNumber);
        stateProperties["date_modified"] = HostEnvironment::utcTimestamp();
        stateProperties["daw"] = HostEnvironment::dawFromExecutablePath (HostEnvironment::hostExecutablePath());
        stateProperties["samplerate"] = String ((int64) getSampleRate());
        stateProperties["username"] = HostEnvironment::userName();

        // Parameters are written from their own values, so a property never duplicates one.
        for (auto* parameter : getParameters())
        {
            if (auto* withID = dynamic_cast<AudioProcessorParameterWithID*> (parameter))
            {
                settings.setAttribute (withID->paramID, String::formatted ("%.4f", (double) withID->getValue()));
                stateProperties.erase (withID->paramID);
            }
        }

        properties = stateProperties;
    }

    for (const auto& [key, value] : properties)
        settings.setAttribute (key, value);

    destData.reset();
    copyXmlToBinary (settings, destData);
}

std::unique_ptr<XmlElement> AudioProcessorVantrel::parseStateBlock (const void* data, int sizeInBytes)
{
    // The binary XML wrapping: magic, an unsigned length word, the UTF-8 text and a
    // zero byte. A length word of 0 rejects the block; one beyond the block is cut to it.
    constexpr uint32 magic = 0x21324356;

    if (data == nullptr || sizeInBytes < 9 || ByteOrder::littleEndianInt (data) != magic)
        return {};

    const auto lengthWord = ByteOrder::littleEndianInt (addBytesToPointer (data, 4));

    if (lengthWord == 0)
        return {};

    // The text is copied with a terminating zero of its own: the UTF-8 decoder reads
    // ahead after a lead byte, and the host's block may end right after the text.
    const auto textLength = (size_t) jmin ((uint32) (sizeInBytes - 8), lengthWord);
    HeapBlock<char> text (textLength + 4, true);
    std::memcpy (text.get(), addBytesToPointer (data, 8), textLength);

    const auto document = String::fromUTF8 (text.get(), (int) textLength);

    if (! isSafeToParse (document))
        return {};

    return parseXML (document);
}

bool AudioProcessorVantrel::isSafeToParse (const String& document)
{
    // JUCE's reader calls itself once per nested element, and a document type can
    // declare entities that it expands while reading. A settings document has one
    // element and no document type, so texts that could drive the reader deep into
    // the stack are refused instead: a hostile block must not be able to crash the
    // host. Without a document type every element starts at a '<' of the text, so
    // their count bounds the depth.
    constexpr int maxMarkupCharacters = 256;

    if (document.containsIgnoreCase ("<!DOCTYPE"))
        return false;

    auto markupCharacters = 0;

    for (auto p = document.getCharPointer(); ! p.isEmpty(); ++p)
        if (*p == '<' && ++markupCharacters > maxMarkupCharacters)
            return false;

    return true;
}

void AudioProcessorVantrel::setStateInformation (const void* data, int sizeInBytes)
{
    const auto xml = parseStateBlock (data, sizeInBytes);

    if (xml != nullptr && xml->hasTagName (settingsTag))
    {
        for (auto* parameter : getParameters())
        {
            if (auto* withID = dynamic_cast<AudioProcessorParameterWithID*> (parameter))
            {
                auto value = (double) withID->getValue();

                if (xml->hasAttribute (withID->paramID))
                    value = xml->getStringAttribute (withID->paramID).getDoubleValue();

                // Clamped while still a double: a huge number must not reach the float
                // conversion. NaN becomes 0 through fmax, like any other unreadable value.
                value = std::fmax (0.0, value);
                value = std::fmin (1.0, value);
                withID->setValue ((float) value);
            }
        }

        std::map<String, String> restored;

        for (auto i = 0; i < xml->getNumAttributes(); ++i)
        {
            const auto& name = xml->getAttributeName (i);
            const auto& value = xml->getAttributeValue (i);

            if (name.isNotEmpty() && value.isNotEmpty())
                restored[name] = value;
        }

        const std::lock_guard<std::mutex> lock (statePropertiesLock);
        stateProperties = std::move (restored);
    }

    applyRestoreFlags();
}

void AudioProcessorVantrel::applyRestoreFlags()
{
    controlsNeedUpdate.store (true, std::memory_order_relaxed);
    sampleCounter.store (0, std::memory_order_relaxed);
    stateChanged.store (true, std::memory_order_relaxed);
}

} // namespace juce
