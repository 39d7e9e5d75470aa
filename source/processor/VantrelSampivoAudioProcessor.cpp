#include "processor/VantrelSampivoAudioProcessor.h"

#include "editor/SampivoEditor.h"
#include "sampler/SamplerSoundLog.h"
#include "sampler/SamplerVoiceLog.h"
#include "SampivoBuildInfo.h"

#include <cmath>

namespace
{
constexpr auto relaxed = std::memory_order_relaxed;

juce::AudioParameterFloatVantrel* addFloat (juce::AudioProcessor& processor, const char* id, const char* name,
                                            float displayMin, float displayMax, float defaultValue,
                                            int displayKind, const char* unit)
{
    auto* parameter = new juce::AudioParameterFloatVantrel (id, name, displayMin, displayMax,
                                                            defaultValue, displayKind, unit);
    processor.addParameter (parameter);
    return parameter;
}
} // namespace

//==============================================================================
juce::ADSR::Parameters VantrelSampivoAudioProcessor::SharedEnvelopeParameters::load() const
{
    return { attack.load (relaxed), decay.load (relaxed), sustain.load (relaxed), release.load (relaxed) };
}

void VantrelSampivoAudioProcessor::SharedEnvelopeParameters::store (const juce::ADSR::Parameters& parameters)
{
    attack.store (parameters.attack, relaxed);
    decay.store (parameters.decay, relaxed);
    sustain.store (parameters.sustain, relaxed);
    release.store (parameters.release, relaxed);
}

//==============================================================================
VantrelSampivoAudioProcessor::VantrelSampivoAudioProcessor()
    : juce::AudioProcessorVantrel (BusesProperties().withOutput ("Output", juce::AudioChannelSet::stereo(), true))
{
    // The first editor would make the process's Desktop, and on an X server without an
    // XSettings daemon that asks gsettings for the theme and the scale in child processes.
    // JUCE 7.0.5 closes each child's pipe twice, so a file opened in that moment on a
    // loader thread could lose its descriptor. Made here, before any request reaches this
    // loader or a later instance's, the Desktop runs them before any of those loads.
    if (juce::MessageManager::existsAndIsCurrentThread())
        juce::Desktop::getInstance();

    formatManager.registerBasicFormats();

    // Moved files found by the loader go into the project's list, unless a drop or a
    // restore replaced the list meanwhile.
    loader.onListRelinked = [this] (const juce::String& asked, const juce::String& loaded)
    {
        replaceStateProperty ("filenames", asked, loaded);
    };
    loader.onSearchGaveUp = [this] (int entriesSearched)
    {
        setSampleLoadStatus ("Search for missing files stopped after " + juce::String (entriesSearched) + " files");
    };

    using Kind = juce::AudioParameterFloatVantrel::DisplayKind;

    // The host's parameter index is the order of these calls.
    volumeParam           = addFloat (*this, "volume",   "Volume",             0.0f,    1.0f,   0.5f,  Kind::cubicDecibels, "dB");
    panParam              = addFloat (*this, "pan",      "Pan",                -100.0f, 100.0f, 0.5f,  Kind::bipolar,       "%");
    attackParam           = addFloat (*this, "attack",   "Attack Time",        0.001f,  100.0f, 0.15f, Kind::logTime,       "ms");
    decayParam            = addFloat (*this, "decay",    "Decay Time",         0.01f,   100.0f, 0.6f,  Kind::logTime,       "ms");
    sustainParam          = addFloat (*this, "sustain",  "Sustain Level",      0.0f,    100.0f, 0.0f,  Kind::percent,       "%");
    releaseParam          = addFloat (*this, "release",  "Release Time",       0.01f,   100.0f, 0.4f,  Kind::logTime,       "ms");

    // Ten choices for three names: only the knob's first three stops name a curve;
    // automation can reach the indices 3 to 9, which freeze the envelope.
    curveParam = new juce::AudioParameterFloatVantrel ("curve", "Decay Curve", 0.0f, 1.0f, 0,
                                                       std::vector<std::string> { "Log", "1/x", "Atan" }, 10);
    addParameter (curveParam);

    randomPitchParam      = addFloat (*this, "rndpitch", "Random Pitch",       0.0f,    100.0f, 0.0f,  Kind::percent,       "%");
    randomOtherParam      = addFloat (*this, "rnddecay", "Random Other",       0.0f,    100.0f, 0.25f, Kind::percent,       "%");
    velToVolumeParam      = addFloat (*this, "vel2vol",  "Vel > Volume",       0.0f,    100.0f, 0.0f,  Kind::percent,       "%");
    velToOffsetParam      = addFloat (*this, "vel2offs", "Vel > Sample Start", 0.0f,    100.0f, 0.35f, Kind::percent,       "%");
    velToProbabilityParam = addFloat (*this, "vel2prob", "Vel > Probability",  0.0f,    100.0f, 0.5f,  Kind::percent,       "%");
    probabilityParam      = addFloat (*this, "probabl",  "Probability",        0.0f,    100.0f, 1.0f,  Kind::percent,       "%");

    millisecondsParam = new juce::AudioParameterBool (juce::ParameterID { "msec", 0 }, "Milliseconds", false);
    addParameter (millisecondsParam);

    for (auto i = 0; i < numVoices; ++i)
        synth.addVoice (new juce::SamplerVoiceLog (noteRandom));

    controlsNeedUpdate.store (true, relaxed);
    sampleCounter.store (0, relaxed);
}

VantrelSampivoAudioProcessor::~VantrelSampivoAudioProcessor() = default;

//==============================================================================
const juce::String VantrelSampivoAudioProcessor::getName() const
{
    return sampivo::build::productName;
}

void VantrelSampivoAudioProcessor::prepareToPlay (double sampleRate, int)
{
    synth.setCurrentPlaybackSampleRate (sampleRate);

    // A host prepares before audio runs: a list restored or dropped before then is
    // loaded by the time the first block plays.
    requestSampleLoad (false);
    waitForSampleLoad();
    loader.takeFinishedSet();
}

void VantrelSampivoAudioProcessor::releaseResources() {}

void VantrelSampivoAudioProcessor::processBlock (juce::AudioBuffer<float>& buffer, juce::MidiBuffer& midiMessages)
{
    juce::ScopedNoDenormals noDenormals;

    const auto numSamples = buffer.getNumSamples();

    for (auto channel = getTotalNumInputChannels(); channel < getTotalNumOutputChannels(); ++channel)
        buffer.clear (channel, 0, numSamples);

    // Offline, a block plays what was asked for, so that a render is the same every
    // time; a real-time block never waits and plays on with the set it has.
    if (isNonRealtime())
        waitForSampleLoad();

    // The block's push draws from the notes' source, so that a seeded render repeats.
    const auto settings = soundSettingsWithStretch (noteRandom.nextFloat());

    // Observe the last note-on or note-off of the block; the buffer itself is untouched.
    for (const auto metadata : midiMessages)
    {
        if (metadata.numBytes < 1)
            continue;

        const auto status = metadata.data[0] & 0xf0;
        const auto velocity = metadata.numBytes >= 3 ? metadata.data[2] : 0;

        if (status == 0x90 && velocity != 0)
            noteHeld.store (true);
        else if (status == 0x80 || status == 0x90)
            noteHeld.store (false);
    }

    if (noteHeld.load())
    {
        const auto sum = noteHeldSamples.fetch_add (numSamples) + numSamples;
        noteHeldSamples.store (sum);
    }
    else
    {
        noteHeldSamples.store (0);
    }

    // A finished set is swapped in here, under the lock the block holds for its push and
    // its render: every note of the block starts on a sound that this push reached.
    const juce::ScopedLock soundListLock (synth.getLock());
    loader.takeFinishedSet();

    for (auto* sound : synth.getSoundsWhileLocked())
        if (auto* sampler = dynamic_cast<juce::SamplerSoundLog*> (sound))
            settings.applyTo (*sampler);

    synth.renderNextBlock (buffer, midiMessages, 0, numSamples);
}

double VantrelSampivoAudioProcessor::getTailLengthSeconds() const { return 0.0; }
bool VantrelSampivoAudioProcessor::acceptsMidi() const            { return true; }
bool VantrelSampivoAudioProcessor::producesMidi() const           { return false; }
bool VantrelSampivoAudioProcessor::isMidiEffect() const           { return false; }

juce::AudioProcessorEditor* VantrelSampivoAudioProcessor::createEditor()
{
    return new SampivoEditor (*this);
}

bool VantrelSampivoAudioProcessor::hasEditor() const { return true; }

//==============================================================================
int VantrelSampivoAudioProcessor::getNumPrograms()     { return 1; }
int VantrelSampivoAudioProcessor::getCurrentProgram()  { return 0; }

void VantrelSampivoAudioProcessor::setCurrentProgram (int)
{
    // Selecting any program loads the file list, unless it is the one already loaded.
    requestSampleLoad (false);
}

// Hosts list the one program by name, and validators reject a program without one.
const juce::String VantrelSampivoAudioProcessor::getProgramName (int) { return "Default"; }
void VantrelSampivoAudioProcessor::changeProgramName (int, const juce::String&) {}

bool VantrelSampivoAudioProcessor::isBusesLayoutSupported (const BusesLayout& layouts) const
{
    const auto output = layouts.getMainOutputChannelSet();
    return output == juce::AudioChannelSet::mono() || output == juce::AudioChannelSet::stereo();
}

void VantrelSampivoAudioProcessor::updateControls() {}

std::pair<float, float> VantrelSampivoAudioProcessor::processStereoSample (float, float)
{
    return { 0.0f, 0.0f };
}

//==============================================================================
float VantrelSampivoAudioProcessor::normalisedValue (const juce::AudioProcessorParameter& parameter)
{
    return parameter.getValue();
}

SoundSettings VantrelSampivoAudioProcessor::currentSoundSettings()
{
    return soundSettingsWithStretch (juce::Random().nextFloat());
}

SoundSettings VantrelSampivoAudioProcessor::soundSettingsWithStretch (float stretchDraw)
{
    const auto attackValue = normalisedValue (*attackParam);
    const auto decayValue = normalisedValue (*decayParam);
    const auto releaseValue = normalisedValue (*releaseParam);
    const auto randomOther = normalisedValue (*randomOtherParam);

    // One variation per push, shared by decay and release and by every sound.
    const auto factor = 2.0f * stretchDraw * randomOther + 1.0f;

    SoundSettings settings;
    settings.attack = juce::jlimit (0.001f, 10.0f, attackValue);
    settings.decay = juce::jlimit (0.001f, 10.0f, decayValue * decayValue * factor);
    settings.sustain = juce::jlimit (0.0f, 1.0f, normalisedValue (*sustainParam));
    settings.release = juce::jlimit (0.001f, 10.0f, releaseValue * releaseValue * factor);
    envelopeParameters.store ({ settings.attack, settings.decay, settings.sustain, settings.release });

    const auto choices = curveParam->getNumberOfChoices();

    if (curveParam->getDisplayKind() == juce::AudioParameterFloatVantrel::choiceList && choices >= 2)
        settings.curve = (int) std::round ((float) (choices - 1) * normalisedValue (*curveParam));

    const auto volume = normalisedValue (*volumeParam);
    settings.gain = (float) ((float) ((double) volume * volume * volume * 7.943282127380371) * 10.0);
    settings.pan = normalisedValue (*panParam) * 2.0f - 1.0f;
    settings.randomPitch = normalisedValue (*randomPitchParam);
    settings.probability = normalisedValue (*probabilityParam);
    settings.randomOther = randomOther;
    settings.velToVolume = normalisedValue (*velToVolumeParam);
    settings.velToOffset = normalisedValue (*velToOffsetParam);
    settings.velToProbability = normalisedValue (*velToProbabilityParam);
    settings.offsetInSeconds = normalisedValue (*millisecondsParam) >= 0.5f;

    const auto rate = getSampleRate();

    if (rate > 999.0 && rate < 10000000001.0)
        defaultRate.store (rate, relaxed);

    settings.envelopeSampleRate = (float) (oversamplingFactor * defaultRate.load (relaxed));
    return settings;
}

void VantrelSampivoAudioProcessor::updateSoundParameters()
{
    // Without the synthesiser's lock, which the audio thread holds for a whole block.
    loader.applyToLoadedSounds (currentSoundSettings());
}

//==============================================================================
void VantrelSampivoAudioProcessor::requestSampleLoad (bool force)
{
    loader.request (getStateProperty ("filenames"), currentSoundSettings(), force);
}

void VantrelSampivoAudioProcessor::waitForSampleLoad()
{
    loader.waitUntilDone();
}

int VantrelSampivoAudioProcessor::getNumFilesLoading() const
{
    return loader.getFilesDone();
}

void VantrelSampivoAudioProcessor::setStateInformation (const void* data, int sizeInBytes)
{
    juce::AudioProcessorVantrel::setStateInformation (data, sizeInBytes);
    applySeed();

    // Read without inserting the key: a restored document without a list saves again
    // without one.
    loader.request (peekStateProperty ("filenames"), currentSoundSettings(), false);
}

void VantrelSampivoAudioProcessor::statePropertyChanged (const juce::String& key)
{
    if (key == "seed")
        applySeed();
}

void VantrelSampivoAudioProcessor::applySeed()
{
    // Read without inserting the key: a state without a seed saves again without one.
    noteRandom.setSeedFromText (peekStateProperty ("seed"));
}

int VantrelSampivoAudioProcessor::getNonFiniteCount() const
{
    auto count = 0;

    for (auto i = 0; i < synth.getNumVoices(); ++i)
        if (auto* voice = dynamic_cast<const juce::SamplerVoiceLog*> (synth.getVoice (i)))
            count += voice->getNonFiniteCount();

    return count;
}

int VantrelSampivoAudioProcessor::getNumLoadedSounds() const
{
    return loader.getNumLoadedSounds();
}

juce::String VantrelSampivoAudioProcessor::getSampleLoadStatus() const
{
    const std::lock_guard<std::mutex> lock (sampleLoadStatusLock);
    return sampleLoadStatus;
}

void VantrelSampivoAudioProcessor::setSampleLoadStatus (const juce::String& status)
{
    const std::lock_guard<std::mutex> lock (sampleLoadStatusLock);
    sampleLoadStatus = status;
}

//==============================================================================
juce::AudioProcessor* JUCE_CALLTYPE createPluginFilter()
{
    return new VantrelSampivoAudioProcessor();
}
