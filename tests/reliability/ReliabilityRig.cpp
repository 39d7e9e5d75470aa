#include "reliability/ReliabilityRig.h"

#include "sampler/SamplerSoundLog.h"

#include <chrono>
#include <cmath>
#include <iterator>
#include <cstdlib>

#if JUCE_LINUX
 #include <dlfcn.h>
#endif

namespace ReliabilityRig
{

float outputBound (float sourcePeak)
{
    // Volume at its top: the sound's gain is 1^3 * 7.943282127380371 * 10.
    const auto soundGain = 7.943282127380371 * 10.0;

    // The note level before the gain law: velocity 1 with the largest random level,
    // (1 - 0.5 * randomOther) + 1 * randomOther at randomOther = 1, that is 1.5.
    // With velToVolume = 1 the law is gain * level^3.
    const auto level = 1.5;
    const auto noteGain = soundGain * level * level * level;

    // Equal-power pan: one side gets sqrt(0.5 + q) with q at most (1 * 1 + 1) * 0.5 = 1.
    const auto panGain = std::sqrt (1.5);

    // Interpolating between two samples never exceeds them, the envelope never exceeds
    // 1, and a mono output averages the two sides. Every voice adds its share.
    const auto voices = 128.0;
    return (float) (voices * noteGain * panGain * (double) sourcePeak * 1.001);
}

//==============================================================================
SamplePool::SamplePool()
{
    struct Spec
    {
        const char* name;
        double rate;
        int channels;
        double seconds;
    };

    const Spec specs[] = {
        { "pool mono.wav", 44100.0, 1, 0.3 },
        { "pool stereo.wav", 96000.0, 2, 0.25 },
        { "pool stereo.aiff", 48000.0, 2, 0.3 },
        { "pool mono.aif", 22050.0, 1, 0.4 },
        { "pool mono.flac", 44100.0, 1, 0.3 },
        { "pool stereo.flac", 192000.0, 2, 0.2 },
    };

    for (const auto& spec : specs)
    {
        const auto file = temp.file (spec.name);

        if (AudioFixtures::writeSine (file, spec.rate, spec.channels, spec.seconds, 330.0, poolAmplitude))
            pool.push_back (file);
    }

    const auto mp3 = temp.file ("pool.mp3");

    if (AudioFixtures::writeSineMp3 (mp3, 44100.0, 0.3, 330.0))
        pool.push_back (mp3);
}

juce::String SamplePool::list (int count) const
{
    juce::StringArray paths;

    for (auto i = 0; i < count; ++i)
        paths.add (pool[(size_t) i % pool.size()].getFullPathName());

    return paths.joinIntoString ("\n");
}

juce::String SamplePool::randomFileList (juce::Random& random) const
{
    juce::StringArray paths;
    const auto count = 1 + random.nextInt (6);

    for (auto i = 0; i < count; ++i)
    {
        if (random.nextInt (8) == 0)
            paths.add (temp.file ("not there " + juce::String (i) + ".wav").getFullPathName());
        else
            paths.add (pool[(size_t) random.nextInt ((int) pool.size())].getFullPathName());
    }

    return paths.joinIntoString ("\n");
}

//==============================================================================
void prepare (juce::AudioProcessor& processor, double rate, int blockSize, int channels)
{
    juce::AudioProcessor::BusesLayout layout;
    layout.outputBuses.add (juce::AudioChannelSet::canonicalChannelSet (channels));
    processor.setBusesLayout (layout);
    processor.setRateAndBufferSizeDetails (rate, blockSize);
    processor.prepareToPlay (rate, blockSize);
}

void drop (VantrelSampivoAudioProcessor& processor, const juce::String& list)
{
    processor.setStateProperty ("filenames", list);
    processor.reloadRequested = true;
}

juce::AudioBuffer<float> render (juce::AudioProcessor& processor, int blockSize, juce::MidiBuffer midi)
{
    juce::AudioBuffer<float> buffer (2, blockSize);
    buffer.clear();
    processor.processBlock (buffer, midi);
    return buffer;
}

juce::MidiBuffer noteOns (std::initializer_list<int> notes)
{
    juce::MidiBuffer midi;

    for (const auto note : notes)
        midi.addEvent (juce::MidiMessage::noteOn (1, note, (juce::uint8) 127), 0);

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

juce::MidiBuffer randomNotes (juce::Random& random, int numSamples, int maxEvents)
{
    juce::MidiBuffer midi;
    const auto events = random.nextInt (maxEvents + 1);

    for (auto i = 0; i < events; ++i)
    {
        const auto position = random.nextInt (numSamples);
        const auto note = random.nextInt (128);
        const auto channel = 1 + random.nextInt (16);

        if (random.nextBool())
            midi.addEvent (juce::MidiMessage::noteOn (channel, note, (juce::uint8) (random.nextInt (128))), position);
        else
            midi.addEvent (juce::MidiMessage::noteOff (channel, note), position);
    }

    return midi;
}

void automateAtRandom (const juce::Array<juce::AudioProcessorParameter*>& parameters, juce::Random& random)
{
    for (auto* parameter : parameters)
    {
        const auto pick = random.nextInt (6);
        const auto value = pick == 0 ? 0.0f : pick == 1 ? 1.0f : random.nextFloat();
        parameter->setValueNotifyingHost (value);
    }
}

juce::String checkBlock (const juce::AudioBuffer<float>& buffer, float bound)
{
    for (auto c = 0; c < buffer.getNumChannels(); ++c)
    {
        const auto* samples = buffer.getReadPointer (c);

        for (auto i = 0; i < buffer.getNumSamples(); ++i)
        {
            if (! std::isfinite (samples[i]))
                return "non-finite sample " + juce::String (samples[i]) + " at channel " + juce::String (c)
                       + ", index " + juce::String (i);

            if (std::abs (samples[i]) > bound)
                return "sample " + juce::String (samples[i]) + " beyond the bound " + juce::String (bound);
        }
    }

    return {};
}

//==============================================================================
void FailureLog::report (const juce::String& failure)
{
    const std::lock_guard<std::mutex> guard (lock);

    if (! failed.exchange (true))
        firstFailure = failure;
}

juce::String FailureLog::first() const
{
    const std::lock_guard<std::mutex> guard (lock);
    return firstFailure;
}

bool FailureLog::any() const
{
    return failed.load();
}

//==============================================================================
LoopThread::LoopThread (std::function<void()> body)
    : thread ([this, loopBody = std::move (body)]
              {
                  while (running.load())
                  {
                      loopBody();
                      ++count;
                  }
              })
{
}

LoopThread::~LoopThread()
{
    stop();
}

void LoopThread::waitFor (long n) const
{
    const auto target = count.load() + n;

    while (count.load() < target)
        std::this_thread::sleep_for (std::chrono::milliseconds (1));
}

void LoopThread::stop()
{
    running = false;

    if (thread.joinable())
        thread.join();
}

//==============================================================================
namespace
{
#if JUCE_LINUX
/** Under Xvfb no window manager runs, so atoms such as WM_STATE are never created. JUCE
    looks them up only if they exist and then uses them on every window, and the X
    server answers atom 0 with BadAtom. A JUCE standalone application installs an X
    error handler that ignores such errors, and so does every host; a test executable
    is neither, so Xlib's default handler would end the process. This installs the
    same kind of handler, and creates the atoms so that the errors rarely arise; the
    connection stays open so that the server does not reset and forget them. */
struct XErrorTolerance
{
    XErrorTolerance()
    {
        if (std::getenv ("DISPLAY") == nullptr)
            return;

        library = dlopen ("libX11.so.6", RTLD_NOW | RTLD_LOCAL);

        if (library == nullptr)
            return;

        using ErrorHandler = int (*) (void*, void*);
        using SetErrorHandler = ErrorHandler (*) (ErrorHandler);
        using OpenDisplay = void* (*) (const char*);
        using InternAtom = unsigned long (*) (void*, const char*, int);
        using Sync = int (*) (void*, int);

        if (auto* setErrorHandler = reinterpret_cast<SetErrorHandler> (dlsym (library, "XSetErrorHandler")))
            setErrorHandler ([] (void*, void*) { return 0; });

        auto* openDisplay = reinterpret_cast<OpenDisplay> (dlsym (library, "XOpenDisplay"));
        auto* internAtom = reinterpret_cast<InternAtom> (dlsym (library, "XInternAtom"));
        auto* sync = reinterpret_cast<Sync> (dlsym (library, "XSync"));

        if (openDisplay == nullptr || internAtom == nullptr || sync == nullptr)
            return;

        display = openDisplay (nullptr);

        if (display != nullptr)
        {
            for (const auto* name : { "WM_PROTOCOLS", "WM_TAKE_FOCUS", "WM_DELETE_WINDOW", "_NET_WM_PING",
                                      "WM_CHANGE_STATE", "WM_STATE", "_NET_WM_WINDOW_TYPE", "_NET_WM_STATE",
                                      "_NET_WM_STATE_HIDDEN", "_NET_WM_WINDOW_TYPE_NORMAL" })
                internAtom (display, name, 0);

            sync (display, 0);
        }
    }

    void* library = nullptr;
    void* display = nullptr;
};

const XErrorTolerance xErrorTolerance;
#endif

bool haveDisplay()
{
    return juce::SystemStats::getEnvironmentVariable ("DISPLAY", {}).isNotEmpty()
           && juce::Desktop::getInstance().getDisplays().getPrimaryDisplay() != nullptr;
}
} // namespace

StressCounts stressAtEveryRate (int blockSize, double seconds,
                                const std::function<juce::AudioProcessor& (double rate, int channels)>& setUp,
                                const std::function<void (juce::Random&)>& sideAction,
                                const std::function<void (juce::Random&)>& messageAction, FailureLog& failures)
{
    const double rates[] = { 22050.0, 44100.0, 48000.0, 88200.0, 96000.0, 192000.0 };
    const auto perRate = std::chrono::duration<double> (seconds / (double) std::size (rates));
    const auto bound = outputBound (1.0f);
    juce::Random seeds (blockSize);
    StressCounts counts;

    for (size_t r = 0; r < std::size (rates); ++r)
    {
        // Every third rate plays into a mono output, where the sides are mixed.
        auto& target = setUp (rates[r], r % 3 == 2 ? 1 : 2);
        const auto where = "rate " + juce::String (rates[r]) + ", block " + juce::String (blockSize) + ": ";
        juce::AudioBuffer<float> buffer (std::max (1, target.getTotalNumOutputChannels()), blockSize);
        juce::Random audioRandom (seeds.nextInt64()), sideRandom (seeds.nextInt64()), messageRandom (seeds.nextInt64());

        LoopThread audio ([&]
        {
            auto midi = randomNotes (audioRandom, blockSize, 8);
            buffer.clear();
            target.processBlock (buffer, midi);

            if (const auto fault = checkBlock (buffer, bound); fault.isNotEmpty())
                failures.report (where + fault);
        });

        LoopThread side ([&] { sideAction (sideRandom); });

        for (const auto deadline = std::chrono::steady_clock::now() + perRate; std::chrono::steady_clock::now() < deadline;)
        {
            messageAction (messageRandom);
            openAndCloseEditor (target, 10);
            ++counts.messageActions;
        }

        side.stop();
        audio.stop();
        target.releaseResources();

        if (audio.iterations() == 0)
            failures.report (where + "no block rendered");

        counts.blocks += audio.iterations();
        counts.sideActions += side.iterations();
    }

    return counts;
}

void openAndCloseEditor (juce::AudioProcessor& processor, int millisecondsOpen)
{
    std::unique_ptr<juce::AudioProcessorEditor> editor (processor.createEditorIfNeeded());

    if (editor != nullptr && haveDisplay())
    {
        editor->setVisible (true);
        editor->addToDesktop (juce::ComponentPeer::windowHasTitleBar);
        editor->repaint();
    }

    juce::MessageManager::getInstance()->runDispatchLoopUntil (millisecondsOpen);

    // The editor's destructor tells the processor that it is gone.
    editor.reset();
    juce::MessageManager::getInstance()->runDispatchLoopUntil (1);
}

} // namespace ReliabilityRig
