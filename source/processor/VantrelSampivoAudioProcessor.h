#pragma once

#include "processor/AudioParameterFloatVantrel.h"
#include "processor/AudioProcessorVantrel.h"
#include "sampler/SampleSynthesiser.h"
#include "sampler/SoundSettings.h"

#include <juce_audio_formats/juce_audio_formats.h>

#include <atomic>
#include <mutex>

/** The instrument the host sees: fourteen parameters, a synthesiser of 128 sample
    voices, and one sound per file of the list kept under the state property
    "filenames". Dropping files sets reloadRequested; the next audio block loads them.
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

    /** The values a push stores into the sounds, from the parameters as they are now. */
    SoundSettings currentSoundSettings();

    /** Rebuilds the sounds from "filenames". Without force, it loads only when no sound
        is loaded yet. An empty list leaves the loaded sounds in place. */
    void reloadSamples (bool force);

    /** Loads one file as sound index of count and adds it to the synthesiser. Files
        that can't be read are skipped silently; their keys stay silent. */
    void addSample (const juce::String& path, int index, int count);

    /** Removes every sound, under the synthesiser's lock. */
    void clearSamples();

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

    /** The keys and root note of file index of count in the keyboard layout. */
    static juce::BigInteger notesForSample (int index, int count);
    static int rootNoteForSample (int index, int count);

    //==============================================================================
    std::atomic<bool> isLoadingSamples { false };
    std::atomic<bool> reloadRequested { true };

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

private:
    /** reloadSamples' work; false when another load was already running. */
    bool loadSamples (bool force);

    mutable std::mutex sampleLoadStatusLock;
    juce::String sampleLoadStatus;

    JUCE_DECLARE_NON_COPYABLE_WITH_LEAK_DETECTOR (VantrelSampivoAudioProcessor)
};
