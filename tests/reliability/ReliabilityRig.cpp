#include "reliability/ReliabilityRig.h"

#include <chrono>
#include <cmath>
#include <iostream>
#include <mutex>

namespace ReliabilityRig
{

float outputBound (float sourcePeak)
{
    // Full volume is a gain of 10^(18/20) * 10 = 79.43; velocity 1 with the largest
    // random level is 1.5, cubed by the gain law; one side gets at most sqrt (1.5).
    return (float) (128.0 * 79.4328 * 1.5 * 1.5 * 1.5 * std::sqrt (1.5) * (double) sourcePeak * 1.001);
}

juce::String checkBlock (const juce::AudioBuffer<float>& buffer, float bound)
{
    for (auto c = 0; c < buffer.getNumChannels(); ++c)
        for (auto i = 0; i < buffer.getNumSamples(); ++i)
            if (const auto sample = buffer.getSample (c, i); ! std::isfinite (sample) || std::abs (sample) > bound)
                return "sample " + juce::String (sample) + " at channel " + juce::String (c) + ", index " + juce::String (i);

    return {};
}

SamplePool::SamplePool()
{
    struct PoolFile { const char* name; double rate; int channels; };
    const PoolFile poolFiles[] { { "mono.wav", 44100.0, 1 },  { "stereo.wav", 96000.0, 2 },  { "stereo.aiff", 48000.0, 2 },
                                 { "mono.aif", 22050.0, 1 },  { "mono.flac", 44100.0, 1 }, { "stereo.flac", 192000.0, 2 } };

    for (const auto& file : poolFiles)
        if (AudioFixtures::writeSine (temp.file (file.name), file.rate, file.channels, 0.25, 330.0))
            pool.push_back (temp.file (file.name));

    if (AudioFixtures::writeSineMp3 (temp.file ("pool.mp3"), 44100.0, 0.3, 330.0))
        pool.push_back (temp.file ("pool.mp3"));
}

juce::String SamplePool::list (int count) const
{
    juce::StringArray paths;

    for (auto i = 0; i < count; ++i)
        paths.add (pool[(size_t) i % pool.size()].getFullPathName());

    return paths.joinIntoString ("\n");
}

juce::String SamplePool::randomList (juce::Random& random) const
{
    juce::StringArray paths;

    for (auto i = 1 + random.nextInt (6); i > 0; --i)
        paths.add (random.nextInt (8) == 0 ? temp.file ("not there.wav").getFullPathName()
                                           : pool[(size_t) random.nextInt ((int) pool.size())].getFullPathName());

    return paths.joinIntoString ("\n");
}

juce::AudioBuffer<float> render (juce::AudioProcessor& processor, int blockSize, juce::MidiBuffer midi)
{
    juce::AudioBuffer<float> buffer (2, blockSize);
    buffer.clear();
    processor.processBlock (buffer, midi);
    return buffer;
}

juce::MidiBuffer noteOns (std::initializer_list<int> keys)
{
    juce::MidiBuffer midi;

    for (const auto key : keys)
        midi.addEvent (juce::MidiMessage::noteOn (1, key, (juce::uint8) 127), 0);

    return midi;
}

std::map<juce::String, int> loadedSounds (VantrelSampivoAudioProcessor& processor)
{
    const juce::ScopedLock lock (processor.synth.getLock());
    std::map<juce::String, int> sounds;

    for (auto i = 0; i < processor.synth.getNumSounds(); ++i)
        if (auto* sound = dynamic_cast<juce::SamplerSoundLog*> (processor.synth.getSound (i).get()))
            sounds[sound->getName()] = sound->getRootNote();

    return sounds;
}

void automateAtRandom (const juce::Array<juce::AudioProcessorParameter*>& parameters, juce::Random& random)
{
    for (auto* parameter : parameters)
    {
        const auto pick = random.nextInt (6);
        parameter->setValueNotifyingHost (pick == 0 ? 0.0f : pick == 1 ? 1.0f : random.nextFloat());
    }
}

LoopThread::LoopThread (std::function<void()> body)
    : thread ([this, loopBody = std::move (body)] { for (; running.load(); ++count) loopBody(); })
{
}

void LoopThread::stop()
{
    running = false;

    if (thread.joinable())
        thread.join();
}

namespace
{
/** Opens the processor's editor, paints it into an image and runs the message loop
    (its timer pushes the parameters into the sounds) for a moment, then closes it. */
void openAndCloseEditor (juce::AudioProcessor& processor)
{
    std::unique_ptr<juce::AudioProcessorEditor> editor (processor.createEditorIfNeeded());

    if (editor != nullptr)
        editor->createComponentSnapshot (editor->getLocalBounds());

    juce::MessageManager::getInstance()->runDispatchLoopUntil (10);
}
} // namespace

juce::int64 stressSeed()
{
    const auto fromEnvironment = juce::SystemStats::getEnvironmentVariable ("SAMPIVO_STRESS_SEED", {});
    return fromEnvironment.isNotEmpty() ? fromEnvironment.getLargeIntValue()
                                        : juce::Random::getSystemRandom().nextInt64() & 0x7fffffffffff;
}

juce::String stressAtEveryRate (int blockSize, double seconds, juce::int64 seed,
                                const std::function<juce::AudioProcessor& (double, int)>& setUp,
                                const std::function<Outcome (juce::Random&)>& sideAction,
                                const std::function<const char* (juce::Random&)>& messageAction)
{
    const double rates[] { 22050.0, 44100.0, 48000.0, 88200.0, 96000.0, 192000.0 };
    juce::Random seeds (seed + blockSize);
    std::mutex lock;
    juce::String failure;
    std::atomic<const char*> lastAction { "none yet" };
    long blocks = 0, sideActions = 0, messageActions = 0;
    const auto report = [&] (const juce::String& fault)
    {
        const std::lock_guard<std::mutex> guard (lock);
        if (failure.isEmpty())
            failure = fault + " (last host action: " + lastAction.load() + "; replay with SAMPIVO_STRESS_SEED=" + juce::String (seed) + ")";
    };

    for (size_t r = 0; r < std::size (rates); ++r)
    {
        // Every third rate plays into a mono output, where the sides are mixed.
        auto& target = setUp (rates[r], r % 3 == 2 ? 1 : 2);
        const auto where = "rate " + juce::String (rates[r]) + ", block " + juce::String (blockSize) + ": ";
        juce::AudioBuffer<float> buffer (std::max (1, target.getTotalNumOutputChannels()), blockSize);
        juce::Random audioRandom (seeds.nextInt64()), sideRandom (seeds.nextInt64()), messageRandom (seeds.nextInt64());

        LoopThread audio ([&]
        {
            juce::MidiBuffer midi;
            for (auto i = audioRandom.nextInt (9); i > 0; --i)
            {
                const auto channel = 1 + audioRandom.nextInt (16), key = audioRandom.nextInt (128);
                midi.addEvent (audioRandom.nextBool() ? juce::MidiMessage::noteOn (channel, key, (juce::uint8) audioRandom.nextInt (128))
                                                      : juce::MidiMessage::noteOff (channel, key), audioRandom.nextInt (blockSize));
            }

            buffer.clear();
            target.processBlock (buffer, midi);
            if (const auto fault = checkBlock (buffer); fault.isNotEmpty())
                report (where + fault);
        });

        LoopThread side ([&]
        {
            const auto outcome = sideAction (sideRandom);
            lastAction = outcome.action;
            if (outcome.fault.isNotEmpty())
                report (where + outcome.fault);
        });

        for (const auto end = std::chrono::steady_clock::now() + std::chrono::duration<double> (seconds / 6.0);
             std::chrono::steady_clock::now() < end; ++messageActions)
        {
            lastAction = messageAction (messageRandom);
            openAndCloseEditor (target);
            lastAction = "editor opened and closed";
        }

        side.stop();
        audio.stop();
        target.releaseResources();

        if (audio.iterations() == 0 || side.iterations() == 0)
            report (where + "a thread did not run");

        blocks += audio.iterations();
        sideActions += side.iterations();
    }

    std::cout << "seed " << seed << ", block size " << blockSize << ": " << blocks << " blocks, " << sideActions
              << " side actions, " << messageActions << " editors opened" << std::endl;
    return failure;
}

} // namespace ReliabilityRig
