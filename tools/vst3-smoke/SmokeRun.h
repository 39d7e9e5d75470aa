#pragma once

#include "CheckLog.h"
#include "HostApplication.h"
#include "PlugFrame.h"

#include "pluginterfaces/base/ipluginbase.h"
#include "pluginterfaces/base/smartpointer.h"
#include "pluginterfaces/gui/iplugview.h"
#include "pluginterfaces/vst/ivstaudioprocessor.h"
#include "pluginterfaces/vst/ivstcomponent.h"
#include "pluginterfaces/vst/ivsteditcontroller.h"

#include <windows.h>

#include <string>
#include <vector>

struct SmokeOptions
{
    std::wstring pluginPath;   // the DLL inside the bundle's Contents/x86-win
    std::string wavPath;       // Windows paths of the two samples, UTF-8
    std::string flacPath;
    std::wstring snapshotPath;  // optional: where to write the editor's picture (PPM)
};

// Drives the plug-in through what a Windows host does with an instrument: load the
// module, read the factory, create and connect component and controller, restore
// a state that names two samples, render notes, save and restore the state, open
// and close the editor, and unload. Every step is a check in the log.
class SmokeRun
{
public:
    explicit SmokeRun (SmokeOptions options);
    ~SmokeRun();

    SmokeRun (const SmokeRun&) = delete;
    SmokeRun& operator= (const SmokeRun&) = delete;

    int run();

private:
    bool loadModule();
    bool readFactory();
    bool createComponent();
    void checkBuses();
    bool createController();
    bool restoreSampleState();
    void renderNotes();
    void roundTripState();
    void openEditor();
    void shutDown();
    bool unloadModule();

    void checkEditorPicture (HWND editorWindow);
    void checkContentScale (Steinberg::IPlugView& view, PlugFrame& frame, HWND editorWindow);
    std::vector<char> makeStateBlock() const;
    std::vector<char> currentState();

    SmokeOptions options;
    CheckLog log;

    HMODULE module = nullptr;
    Steinberg::IPtr<Steinberg::IPluginFactory> factory;
    Steinberg::IPtr<HostApplication> host;
    Steinberg::IPtr<Steinberg::Vst::IComponent> component;
    Steinberg::IPtr<Steinberg::Vst::IAudioProcessor> processor;
    Steinberg::IPtr<Steinberg::Vst::IEditController> controller;
    Steinberg::IPtr<Steinberg::Vst::IConnectionPoint> componentPoint, controllerPoint;
    Steinberg::TUID componentClass {}, controllerClass {};
    bool componentInitialised = false, controllerInitialised = false, connected = false;
    bool active = false, processing = false;
};
