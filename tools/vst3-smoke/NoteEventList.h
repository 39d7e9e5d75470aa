#pragma once

#include "ComObject.h"
#include "pluginterfaces/vst/ivstevents.h"

#include <vector>

// The events of one processing block, handed to the plug-in's event input bus.
class NoteEventList final : public ComObject<Steinberg::Vst::IEventList>
{
public:
    void clear() { events.clear(); }
    void addNoteOn (Steinberg::int16 pitch, float velocity, Steinberg::int32 sampleOffset);
    void addNoteOff (Steinberg::int16 pitch, Steinberg::int32 sampleOffset);

    Steinberg::int32 PLUGIN_API getEventCount() override;
    Steinberg::tresult PLUGIN_API getEvent (Steinberg::int32 index, Steinberg::Vst::Event& e) override;
    Steinberg::tresult PLUGIN_API addEvent (Steinberg::Vst::Event& e) override;

private:
    std::vector<Steinberg::Vst::Event> events;
};
