#pragma once

#include "processor/AudioParameterFloatVantrel.h"
#include "processor/AudioProcessorVantrel.h"
#include "sampler/SampleLoader.h"
#include "sampler/SampleSynthesiser.h"
#include "sampler/SeededRandom.h"
#include "sampler/SoundSettings.h"

#include <juce_audio_formats/juce_audio_formats.h>

#include <atomic>
#include <mutex>

/** The instrument the host sees: fourteen parameters, a synthesiser of 128 sample
    voices, and one sound per file of the list kept under the state property
    "filenames". A drop, a program change or a restore asks the loader, which reads the
    files on a thread of its own; the audio thread only ever swaps in a finished set.

    The random amounts of the notes come from one source, seeded from the state
    property "seed" when it holds a number, and randomly otherwise.
*/
class VantrelSampivoAudioProcessor : public juce::AudioProcessorVantrel
{
public:
    VantrelSampivoAudioProcessor();
    ~VantrelSampivoAudioProcessor() override;

    //==============================================================================
    const juce::String getName() const override;
    void prepareToPlay (double sampleRate, int maximumExpectedSamplesPerBlock) override;
    void releaseResources() override;
    void processBlock (juce::AudioBuffer<float>& buffer, juce::MidiBuffer& midiMessages) override;
    using juce::AudioProcessorVantrel::processBlock;

    double getTailLengthSeconds() const override;
    bool acceptsMidi() const override;
    bool producesMidi() const override;
    bool isMidiEffect() const override;

    juce::AudioProcessorEditor* createEditor() override;
    bool hasEditor() const override;

    int getNumPrograms() override;
    int getCurrentProgram() override;
    void setCurrentProgram (int index) override;
    const juce::String getProgramName (int index) override;
    void changeProgramName (int index, const juce::String& newName) override;

    bool isBusesLayoutSupported (const BusesLayout& layouts) const override;

    void updateControls() override;
    std::pair<float, float> processStereoSample (float left, float right) override;

    //==============================================================================
    /** Copies the parameter values into every sound. Called before each block renders
        and by the editor; a sounding note keeps the values it started with. */
    void updateSoundParameters();

    /** The values a push stores into the sounds, from the parameters as they are now.
        Its stretch of decay and release is a fresh draw, not the notes' source: a push
        from the message thread must not move the notes' seeded sequence on. */
    SoundSettings currentSoundSettings();

    /** Asks the loader for the list under "filenames", unless it is empty or (without
        force) the list of the last request. Message thread (or any but the audio thread). */
    void requestSampleLoad (bool force);

    /** Returns once every load asked for so far has finished. */
    void waitForSampleLoad();

    /** Files read so far by the load in progress. */
    int getNumFilesLoading() const;

    /** A state restore loads the restored "filenames" when they differ from the list
        loaded last: a host preset, an undo or a project switch is heard at once. It
        also reseeds the notes' random source from the restored "seed". */
    void setStateInformation (const void* data, int sizeInBytes) override;

    /** How many notes the voices silenced because a value they computed was not finite:
        zero unless something upstream is faulty. */
    int getNonFiniteCount() const;

    /** The number of sounds currently loaded. */
    int getNumLoadedSounds() const;

    /** The loader's message for the status strip (empty unless a loader sets one). */
    juce::String getSampleLoadStatus() const;
    void setSampleLoadStatus (const juce::String& status);

    /** A parameter's raw 0..1 value, through the public interface every parameter shares
        (juce::AudioParameterFloat and juce::AudioParameterBool hide getValue). */
    static float normalisedValue (const juce::AudioProcessorParameter& parameter);

    //==============================================================================
    /** Raised while a load waits or runs on the loader's thread. */
    std::atomic<bool> isLoadingSamples { false };

    juce::AudioParameterFloatVantrel* volumeParam = nullptr;
    juce::AudioParameterFloatVantrel* panParam = nullptr;
    juce::AudioParameterFloatVantrel* attackParam = nullptr;
    juce::AudioParameterFloatVantrel* decayParam = nullptr;
    juce::AudioParameterFloatVantrel* sustainParam = nullptr;
    juce::AudioParameterFloatVantrel* releaseParam = nullptr;
    juce::AudioParameterFloatVantrel* curveParam = nullptr;
    juce::AudioParameterFloatVantrel* randomPitchParam = nullptr;
    juce::AudioParameterFloatVantrel* randomOtherParam = nullptr;
    juce::AudioParameterFloatVantrel* velToVolumeParam = nullptr;
    juce::AudioParameterFloatVantrel* velToOffsetParam = nullptr;
    juce::AudioParameterFloatVantrel* velToProbabilityParam = nullptr;
    juce::AudioParameterFloatVantrel* probabilityParam = nullptr;
    juce::AudioParameterBool* millisecondsParam = nullptr;

    // Declared before the synthesiser, whose voices draw from it.
    SeededRandom noteRandom;

    SampleSynthesiser synth;
    const int numVoices = 128;

    /** The envelope settings of the last push. Both threads push, so each value is
        an atomic of its own rather than a plain juce::ADSR::Parameters. */
    struct SharedEnvelopeParameters
    {
        std::atomic<float> attack { 0.1f }, decay { 0.1f }, sustain { 1.0f }, release { 0.1f };

        juce::ADSR::Parameters load() const;
        void store (const juce::ADSR::Parameters& parameters);
    };

    SharedEnvelopeParameters envelopeParameters;
    juce::AudioFormatManager formatManager;

    std::atomic<bool> noteHeld { false };
    std::atomic<int> noteHeldSamples { 0 };

protected:
    void statePropertyChanged (const juce::String& key) override;

private:
    /** The settings of a push whose stretch of decay and release is the given draw. */
    SoundSettings soundSettingsWithStretch (float stretchDraw);

    /** Seeds the notes' random source from "seed", or randomly when there is none. */
    void applySeed();

    mutable std::mutex sampleLoadStatusLock;
    juce::String sampleLoadStatus;

    // Declared last: it is stopped before the synthesiser and the formats it uses go.
    SampleLoader loader { synth, formatManager, isLoadingSamples };

    JUCE_DECLARE_NON_COPYABLE_WITH_LEAK_DETECTOR (VantrelSampivoAudioProcessor)
};
