#pragma once

#include <juce_audio_processors/juce_audio_processors.h>
#include <juce_dsp/juce_dsp.h>

#include <atomic>
#include <map>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

namespace juce
{

/** The maker's processor base: a string property map that travels in the saved state,
    a small program list, and a per-sample stereo framework (control-update hook,
    optional oversampling) for derived effects.

    Scalars shared between the message thread and the audio thread are atomics with
    relaxed ordering; the property map is guarded by its own lock, since both threads
    read it and reading may insert.
*/
class AudioProcessorVantrel : public AudioProcessor
{
public:
    explicit AudioProcessorVantrel (const BusesProperties& ioLayouts);
    ~AudioProcessorVantrel() override;

    //==============================================================================
    void prepareToPlay (double sampleRate, int maximumBlockSize) override;
    void releaseResources() override {}
    void processBlock (AudioBuffer<float>& buffer, MidiBuffer& midiMessages) override;
    using AudioProcessor::processBlock;

    //==============================================================================
    int getNumPrograms() override;
    int getCurrentProgram() override;
    void setCurrentProgram (int index) override;
    const String getProgramName (int index) override;
    void changeProgramName (int index, const String& newName) override;

    //==============================================================================
    void getStateInformation (MemoryBlock& destData) override;
    void setStateInformation (const void* data, int sizeInBytes) override;

    /** Unwraps a saved-state block and parses its text; null if the block is not one. */
    static std::unique_ptr<XmlElement> parseStateBlock (const void* data, int sizeInBytes);

    /** False for texts that the XML reader should not be given: a document type, or
        more markup than a settings document could hold (see the definition). */
    static bool isSafeToParse (const String& document);

    /** True if the text after "&#" is a character reference the reader handles safely. */
    static bool isWellFormedCharacterReference (const char* afterHash);

    /** Decodes size bytes of UTF-8 up to the first zero byte; malformed sequences
        become U+FFFD, so the result is always well-formed. */
    static String decodeUtf8 (const void* data, size_t size);

    //==============================================================================
    /** Called by the per-sample path before the first sample after a prepare or a
        restore, and every 65,536 samples after that. */
    virtual void updateControls() = 0;

    /** Processes one stereo sample of the per-sample path. */
    virtual std::pair<float, float> processStereoSample (float left, float right) = 0;

    /** Called once per block before the per-sample loop, with the number of samples
        that will be processed at the (over)sampled rate. */
    virtual void blockStarting (AudioBuffer<float>& buffer, int numSamples);

    //==============================================================================
    /** Returns the value stored under key; a missing key is inserted, empty. */
    String getStateProperty (const String& key);

    /** Returns the value stored under key, or an empty string, without inserting it. */
    String peekStateProperty (const String& key) const;

    /** Stores value under key, replacing any previous value. */
    void setStateProperty (const String& key, const String& value);

    /** Stores value under key only if the key still holds expected (for a thread that
        worked on a value while another may have replaced it). */
    bool replaceStateProperty (const String& key, const String& expected, const String& value);

    /** A copy of the whole property map, taken under its lock. */
    std::map<String, String> getStatePropertiesSnapshot() const;

    //==============================================================================
    std::atomic<double> defaultRate { 96000.0 };
    std::atomic<int> controlCounter { 0 };          // used as an unsigned 16-bit counter
    std::atomic<bool> controlsNeedUpdate { true };
    std::atomic<int> sampleCounter { 0 };
    Random random;
    int oversamplingFactor = 1;
    std::atomic<bool> stateChanged { true };

    /** A program is a name and the attribute text of a settings element. */
    struct Program
    {
        String name;
        String settingsText;
    };

    std::vector<Program> programs;

protected:
    /** Called after setStateProperty or replaceStateProperty has stored a value, on
        the thread that stored it and outside the map's lock. */
    virtual void statePropertyChanged (const String& key);

    int currentProgram = 0;
    int lastLoadedProgram = -1;
    MemoryBlock programStateData;

    int maxBlockSize = 32768;
    int preparedBlockSize = 8192;

private:
    void ensureDefaultProgram();
    void updateOversampler (int numChannels);
    void applyRestoreFlags();

    static constexpr int scratchSize = 524288;

    mutable std::mutex statePropertiesLock;
    std::map<String, String> stateProperties;

    std::vector<float> scratchLeft, scratchRight;
    float oversamplingRatio = 1.0f;
    std::unique_ptr<dsp::Oversampling<float>> oversampler;

    JUCE_DECLARE_NON_COPYABLE_WITH_LEAK_DETECTOR (AudioProcessorVantrel)
};

} // namespace juce
