#include "NoteEventList.h"

void NoteEventList::addNoteOn (Steinberg::int16 pitch, float velocity, Steinberg::int32 sampleOffset)
{
    Steinberg::Vst::Event e {};
    e.type = Steinberg::Vst::Event::kNoteOnEvent;
    e.sampleOffset = sampleOffset;
    e.noteOn.channel = 0;
    e.noteOn.pitch = pitch;
    e.noteOn.velocity = velocity;
    e.noteOn.noteId = -1;
    events.push_back (e);
}

void NoteEventList::addNoteOff (Steinberg::int16 pitch, Steinberg::int32 sampleOffset)
{
    Steinberg::Vst::Event e {};
    e.type = Steinberg::Vst::Event::kNoteOffEvent;
    e.sampleOffset = sampleOffset;
    e.noteOff.channel = 0;
    e.noteOff.pitch = pitch;
    e.noteOff.velocity = 0.0f;
    e.noteOff.noteId = -1;
    events.push_back (e);
}

Steinberg::int32 PLUGIN_API NoteEventList::getEventCount()
{
    return static_cast<Steinberg::int32> (events.size());
}

Steinberg::tresult PLUGIN_API NoteEventList::getEvent (Steinberg::int32 index, Steinberg::Vst::Event& e)
{
    if (index < 0 || static_cast<size_t> (index) >= events.size())
        return Steinberg::kInvalidArgument;

    e = events[static_cast<size_t> (index)];
    return Steinberg::kResultOk;
}

Steinberg::tresult PLUGIN_API NoteEventList::addEvent (Steinberg::Vst::Event& e)
{
    events.push_back (e);
    return Steinberg::kResultOk;
}
