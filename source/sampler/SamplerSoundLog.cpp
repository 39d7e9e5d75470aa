#include "sampler/SamplerSoundLog.h"

#include <cmath>

namespace juce
{

SamplerSoundLog::SamplerSoundLog (const String& soundName, AudioFormatReader& source,
                                  const BigInteger& notes, int rootNote)
    : name (soundName),
      sourceSampleRate (source.sampleRate),
      midiNotes (notes),
      midiRootNote (rootNote)
{
    // JUCE's WAV and AIFF readers copy frames through a buffer of 5,760 bytes and never
    // finish a read of larger frames, and the AIFF reader divides by the frame's size
    // in whole bytes, which is 0 below 8 bits: a header may claim any of these, and no
    // sample file has them.
    const auto framesReadable = source.numChannels <= maxChannelsRead
                                && source.bitsPerSample >= 8 && source.bitsPerSample <= maxBitsPerSampleRead;

    if (sourceSampleRate > 0.0 && source.lengthInSamples > 0 && framesReadable)
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
                keepSamplesFinite (*data);
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

void SamplerSoundLog::keepSamplesFinite (AudioBuffer<float>& audio) noexcept
{
    // A floating-point file may hold NaN, infinities or numbers near the float limit;
    // through the voice's gains they would reach the host as NaN or infinity, which
    // mutes a track or a whole bus in many hosts.
    for (auto c = 0; c < audio.getNumChannels(); ++c)
        for (auto* sample = audio.getWritePointer (c), * end = sample + audio.getNumSamples(); sample != end; ++sample)
            *sample = std::isfinite (*sample) ? jlimit (-maxSampleMagnitude, maxSampleMagnitude, *sample) : 0.0f;
}

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
