#include "sampler/SamplerSoundLog.h"

namespace juce
{

SamplerSoundLog::SamplerSoundLog (const String& soundName, AudioFormatReader& source,
                                  const BigInteger& notes, int rootNote)
    : name (soundName),
      sourceSampleRate (source.sampleRate),
      midiNotes (notes),
      midiRootNote (rootNote)
{
    if (sourceSampleRate > 0.0 && source.lengthInSamples > 0)
    {
        // Headers may claim anything. Ten seconds at the claimed rate is the rule; the
        // absolute cap only matters for rates no audio file has, and keeps a hostile
        // header from asking for gigabytes.
        const auto maxSamples = std::min (sourceSampleRate * maxLengthSeconds, (double) maxSamplesPerChannel);
        length = (int) std::min ((int64) maxSamples, source.lengthInSamples);

        const auto numChannels = (int) std::min (source.numChannels, 2u);

        if (length > 0 && numChannels > 0)
        {
            try
            {
                data = std::make_unique<AudioBuffer<float>> (numChannels, length + guardSamples);
                data->clear();
                source.read (data.get(), 0, length + guardSamples, 0, true, true);
            }
            catch (const std::bad_alloc&)
            {
                data.reset();
            }
        }

        if (data == nullptr)
            length = 0;
    }

    attack = 0.1f;
    release = 0.1f;
}

SamplerSoundLog::~SamplerSoundLog() = default;

bool SamplerSoundLog::appliesToNote (int midiNoteNumber)
{
    return midiNoteNumber >= 0 && midiNoteNumber <= midiNotes.getHighestBit()
           && midiNotes[midiNoteNumber];
}

bool SamplerSoundLog::appliesToChannel (int)
{
    return true;
}

} // namespace juce
