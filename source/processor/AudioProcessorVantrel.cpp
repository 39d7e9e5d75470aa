#include "processor/AudioProcessorVantrel.h"

#include "processor/HostEnvironment.h"
#include "processor/NumberText.h"
#include "SampivoBuildInfo.h"

#include <cmath>
#include <string>

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

String AudioProcessorVantrel::peekStateProperty (const String& key) const
{
    const std::lock_guard<std::mutex> lock (statePropertiesLock);
    const auto found = stateProperties.find (key);
    return found != stateProperties.end() ? found->second : String();
}

void AudioProcessorVantrel::setStateProperty (const String& key, const String& value)
{
    {
        const std::lock_guard<std::mutex> lock (statePropertiesLock);
        stateProperties[key] = value;
    }

    statePropertyChanged (key);
}

bool AudioProcessorVantrel::replaceStateProperty (const String& key, const String& expected, const String& value)
{
    {
        const std::lock_guard<std::mutex> lock (statePropertiesLock);
        const auto found = stateProperties.find (key);

        if (found == stateProperties.end() || found->second != expected)
            return false;

        found->second = value;
    }

    statePropertyChanged (key);
    return true;
}

void AudioProcessorVantrel::statePropertyChanged (const String&) {}

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

    const auto textLength = (size_t) jmin ((uint32) (sizeInBytes - 8), lengthWord);
    const auto document = decodeUtf8 (addBytesToPointer (data, 8), textLength);

    if (! isSafeToParse (document))
        return {};

    return parseXML (document);
}

String AudioProcessorVantrel::decodeUtf8 (const void* data, size_t size)
{
    // JUCE's strings step over a lead byte's continuation bytes without looking at
    // them, so malformed UTF-8 from a damaged block would let its XML reader run past
    // the end of the text. Every malformed sequence becomes U+FFFD instead, and the
    // text ends at the first zero byte, as it would have anyway.
    const auto* bytes = static_cast<const uint8*> (data);
    std::string text;
    text.reserve (size);

    const auto isContinuation = [&] (size_t index, uint8 low, uint8 high)
    {
        return index < size && bytes[index] >= low && bytes[index] <= high;
    };

    for (size_t i = 0; i < size && bytes[i] != 0;)
    {
        const auto lead = bytes[i];
        size_t length = 0;

        if (lead < 0x80)
            length = 1;
        else if (lead >= 0xc2 && lead <= 0xdf)
            length = isContinuation (i + 1, 0x80, 0xbf) ? 2 : 0;
        else if (lead >= 0xe0 && lead <= 0xef)
        {
            const uint8 low = lead == 0xe0 ? 0xa0 : 0x80;   // no overlong forms
            const uint8 high = lead == 0xed ? 0x9f : 0xbf;  // no surrogates
            length = isContinuation (i + 1, low, high) && isContinuation (i + 2, 0x80, 0xbf) ? 3 : 0;
        }
        else if (lead >= 0xf0 && lead <= 0xf4)
        {
            const uint8 low = lead == 0xf0 ? 0x90 : 0x80;   // no overlong forms
            const uint8 high = lead == 0xf4 ? 0x8f : 0xbf;  // nothing above U+10FFFF
            length = isContinuation (i + 1, low, high) && isContinuation (i + 2, 0x80, 0xbf)
                          && isContinuation (i + 3, 0x80, 0xbf) ? 4 : 0;
        }

        if (length == 0)
        {
            text += "\xef\xbf\xbd";
            ++i;
        }
        else
        {
            text.append (reinterpret_cast<const char*> (bytes + i), length);
            i += length;
        }
    }

    return String::fromUTF8 (text.data(), (int) text.size());
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

    // A processing instruction followed by text inside an element sends the reader
    // round in an endless loop: it skips the instruction, finds text, steps back to
    // before the instruction and starts again. Only the declaration that opens the
    // document may use "<?".
    const auto start = document.length() - document.trimStart().length();
    auto afterDeclaration = start;

    if (document.substring (start, start + 2) == "<?")
    {
        const auto declarationEnd = document.indexOf (start, "?>");

        if (declarationEnd < 0)
            return false;

        afterDeclaration = declarationEnd + 2;
    }

    if (document.indexOf (afterDeclaration, "<?") >= 0)
        return false;

    const auto* text = document.toRawUTF8();
    auto markupCharacters = 0;

    for (auto i = 0; text[i] != 0; ++i)
    {
        if (text[i] == '<' && ++markupCharacters > maxMarkupCharacters)
            return false;

        if (text[i] == '&' && text[i + 1] == '#' && ! isWellFormedCharacterReference (text + i + 2))
            return false;
    }

    return true;
}

bool AudioProcessorVantrel::isWellFormedCharacterReference (const char* afterHash)
{
    // The reader steps one character past a hexadecimal reference that does not end
    // in ';' (at the end of the text, past its end), and turns numbers beyond Unicode
    // into bytes that are not UTF-8. A reference must be digits, a ';', and a code
    // point of Unicode; the writer only ever produces those.
    const auto hex = afterHash[0] == 'x' || afterHash[0] == 'X';
    const auto* digits = hex ? afterHash + 1 : afterHash;
    const auto maxDigits = hex ? 6 : 7;
    uint32 codePoint = 0;
    auto count = 0;

    for (; count <= maxDigits; ++count)
    {
        const auto digit = hex ? CharacterFunctions::getHexDigitValue ((juce_wchar) (uint8) digits[count])
                               : (digits[count] >= '0' && digits[count] <= '9' ? digits[count] - '0' : -1);

        if (digit < 0)
            break;

        codePoint = codePoint * (hex ? 16u : 10u) + (uint32) digit;
    }

    return count > 0 && count <= maxDigits && digits[count] == ';' && codePoint <= 0x10ffff;
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
                    value = NumberText::toDouble (xml->getStringAttribute (withID->paramID));

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

            // An empty value is kept: a host that saves, restores and saves again must
            // get the document it restored.
            if (name.isNotEmpty())
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
