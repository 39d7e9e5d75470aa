#include "SmokeRun.h"

#include "MemoryStream.h"
#include "NoteEventList.h"
#include "PlugFrame.h"
#include "ToneMeter.h"
#include "VolumeLaw.h"
#include "XmlText.h"

#include "pluginterfaces/gui/iplugview.h"
#include "pluginterfaces/gui/iplugviewcontentscalesupport.h"
#include "pluginterfaces/vst/ivstmessage.h"
#include "pluginterfaces/vst/vstspeaker.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdint>
#include <cstring>
#include <regex>
#include <unordered_set>

using namespace Steinberg;

namespace
{
using InitDllFunction = bool (*)();
using ExitDllFunction = bool (*)();
using GetPluginFactoryFunction = IPluginFactory* (PLUGIN_API*)();

constexpr int blockSize = 512;

// The host runs at 48 kHz while the samples are written at 44.1 kHz, so a note that
// skipped the rate conversion would come out 48/44.1 times too high (479 Hz, not 440).
constexpr double hostRate = 48000.0;

// The state's volume, and the velocity of every note: 102/127 passes unchanged
// through JUCE's 7-bit MIDI velocity, so the expected level needs no rounding model.
constexpr double stateVolume = 0.25;
constexpr float noteVelocity = 102.0f / 127.0f;

// The peak of the test samples (make-samples.pl: half of 16-bit full scale).
constexpr double samplePeak = 0.5 * 32767.0 / 32768.0;

std::string fromString128 (const Vst::String128 text)
{
    std::string result;

    for (int i = 0; i < 128 && text[i] != 0; ++i)
        result += text[i] < 128 ? static_cast<char> (text[i]) : '?';

    return result;
}

std::string classIdText (const TUID cid)
{
    char text[64] = {};
    FUID::fromTUID (cid).toString (text);
    return text;
}

// The XML text of a JUCE binary XML block ("VC2!", a 32-bit little-endian length,
// the UTF-8 text and its terminating zero), or empty when the block is malformed.
std::string xmlOfStateBlock (const std::vector<char>& block)
{
    if (block.size() < 9 || std::memcmp (block.data(), "VC2!", 4) != 0)
        return {};

    uint32_t length = 0;

    for (int i = 3; i >= 0; --i)
        length = (length << 8) | static_cast<unsigned char> (block[static_cast<size_t> (4 + i)]);

    if (length == 0 || length > block.size() - 8)
        return {};

    return std::string (block.data() + 8, strnlen (block.data() + 8, length));
}

// The state document without the save date, which legitimately changes between saves.
std::string withoutSaveDate (const std::string& xml)
{
    return std::regex_replace (xml, std::regex (R"re( date_modified="[^"]*")re"), "");
}

void pumpMessages (DWORD milliseconds)
{
    const auto end = GetTickCount() + milliseconds;

    while (GetTickCount() < end)
    {
        MSG message;

        while (PeekMessageW (&message, nullptr, 0, 0, PM_REMOVE))
        {
            TranslateMessage (&message);
            DispatchMessageW (&message);
        }

        Sleep (10);
    }
}
} // namespace

SmokeRun::SmokeRun (SmokeOptions opts) : options (std::move (opts)), host (owned (new HostApplication())) {}

SmokeRun::~SmokeRun()
{
    shutDown();
}

int SmokeRun::run()
{
    if (loadModule() && readFactory() && createComponent())
    {
        checkBuses();

        if (createController() && restoreSampleState())
        {
            renderNotes();
            roundTripState();
            openEditor();
        }
    }

    shutDown();
    log.check (unloadModule(), "module unloaded (ExitDll, FreeLibrary)");
    return log.summarise();
}

bool SmokeRun::loadModule()
{
    module = LoadLibraryW (options.pluginPath.c_str());

    if (! log.check (module != nullptr, "LoadLibrary of the plug-in DLL (error " + std::to_string (module == nullptr ? GetLastError() : 0) + ")"))
        return false;

    auto initDll = reinterpret_cast<InitDllFunction> (reinterpret_cast<void*> (GetProcAddress (module, "InitDll")));
    auto exitDll = GetProcAddress (module, "ExitDll");
    auto getFactory = reinterpret_cast<GetPluginFactoryFunction> (reinterpret_cast<void*> (GetProcAddress (module, "GetPluginFactory")));

    log.check (exitDll != nullptr, "ExitDll exported");

    if (! log.check (initDll != nullptr && getFactory != nullptr, "InitDll and GetPluginFactory exported"))
        return false;

    if (! log.check (initDll(), "InitDll returned true"))
        return false;

    factory = owned (getFactory());
    return log.check (factory != nullptr, "GetPluginFactory returned a factory");
}

bool SmokeRun::readFactory()
{
    PFactoryInfo factoryInfo {};
    factory->getFactoryInfo (&factoryInfo);
    log.check (std::string (factoryInfo.vendor) == "Vantrel", "factory vendor \"" + std::string (factoryInfo.vendor) + "\"");

    FUnknownPtr<IPluginFactory2> factory2 (factory);
    bool haveComponent = false, haveController = false;

    for (int32 i = 0; i < factory->countClasses(); ++i)
    {
        PClassInfo info {};
        factory->getClassInfo (i, &info);
        const std::string category = info.category;
        std::string subCategories;

        if (factory2)
        {
            PClassInfo2 info2 {};
            factory2->getClassInfo2 (i, &info2);
            subCategories = info2.subCategories;
        }

        log.note ("class " + std::to_string (i) + ": \"" + info.name + "\" category \"" + category
                  + "\" sub-categories \"" + subCategories + "\" " + classIdText (info.cid));

        if (category == kVstAudioEffectClass)
        {
            haveComponent = true;
            std::memcpy (componentClass, info.cid, sizeof (TUID));
            log.check (std::string (info.name) == "Vantrel Sampivo", "component class name \"" + std::string (info.name) + "\"");
            log.check (subCategories == "Instrument|Synth", "component sub-categories \"" + subCategories + "\"");
        }
        else if (category == kVstComponentControllerClass)
        {
            haveController = true;
            std::memcpy (controllerClass, info.cid, sizeof (TUID));
        }
    }

    log.check (haveController, "factory has a controller class");
    return log.check (haveComponent, "factory has an audio component class");
}

bool SmokeRun::createComponent()
{
    Vst::IComponent* created = nullptr;
    factory->createInstance (componentClass, Vst::IComponent::iid, reinterpret_cast<void**> (&created));
    component = owned (created);

    if (! log.check (component != nullptr, "component created"))
        return false;

    componentInitialised = component->initialize (host) == kResultOk;

    if (! log.check (componentInitialised, "component initialised"))
        return false;

    TUID reportedController {};
    component->getControllerClassId (reportedController);
    log.check (FUnknownPrivate::iidEqual (reportedController, controllerClass),
               "component names the factory's controller class " + classIdText (reportedController));

    processor = FUnknownPtr<Vst::IAudioProcessor> (component);
    return log.check (processor != nullptr, "component is an IAudioProcessor");
}

void SmokeRun::checkBuses()
{
    log.check (component->getBusCount (Vst::kAudio, Vst::kInput) == 0, "no audio input bus");
    log.check (component->getBusCount (Vst::kEvent, Vst::kOutput) == 0, "no event output bus");

    if (log.check (component->getBusCount (Vst::kAudio, Vst::kOutput) == 1, "one audio output bus"))
    {
        Vst::BusInfo info {};
        component->getBusInfo (Vst::kAudio, Vst::kOutput, 0, info);
        const auto name = fromString128 (info.name);
        log.check (info.channelCount == 2, "output bus is stereo (" + std::to_string (info.channelCount) + " channels)");
        log.check (name == "Output", "output bus named \"" + name + "\"");
        log.check ((info.flags & Vst::BusInfo::kDefaultActive) != 0, "output bus active by default");
    }

    if (log.check (component->getBusCount (Vst::kEvent, Vst::kInput) == 1, "one event input bus"))
    {
        Vst::BusInfo info {};
        component->getBusInfo (Vst::kEvent, Vst::kInput, 0, info);
        log.note ("event input \"" + fromString128 (info.name) + "\"");
    }
}

bool SmokeRun::createController()
{
    Vst::IEditController* created = nullptr;
    factory->createInstance (controllerClass, Vst::IEditController::iid, reinterpret_cast<void**> (&created));
    controller = owned (created);

    if (! log.check (controller != nullptr, "controller created"))
        return false;

    controllerInitialised = controller->initialize (host) == kResultOk;

    if (! log.check (controllerInitialised, "controller initialised"))
        return false;

    componentPoint = FUnknownPtr<Vst::IConnectionPoint> (component);
    controllerPoint = FUnknownPtr<Vst::IConnectionPoint> (controller);

    if (componentPoint && controllerPoint)
        connected = componentPoint->connect (controllerPoint) == kResultOk
                    && controllerPoint->connect (componentPoint) == kResultOk;

    log.check (connected, "component and controller connected");
    log.check (controller->getParameterCount() >= 14,
               "controller has the instrument's parameters (" + std::to_string (controller->getParameterCount()) + ")");
    return true;
}

std::vector<char> SmokeRun::makeStateBlock() const
{
    // Besides the volume, the state makes the level predictable: an envelope that
    // jumps to full sustain, no random level, pitch or start offset, and velocity
    // fully to volume, so that the level is the volume law's and nothing else.
    const auto xml = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n\n<settings volume=\"0.2500\" pan=\"0.5000\""
                     " attack=\"0.0000\" decay=\"0.0000\" sustain=\"1.0000\" release=\"0.0000\" curve=\"0.0000\""
                     " rndpitch=\"0.0000\" rnddecay=\"0.0000\" vel2vol=\"1.0000\" vel2offs=\"0.0000\" vel2prob=\"0.0000\""
                     " probabl=\"1.0000\" msec=\"0.0000\" filenames=\""
                     + XmlText::escaped (options.wavPath + "\n" + options.flacPath) + "\"/>\n";
    const auto length = static_cast<uint32_t> (xml.size() + 1);

    std::vector<char> block { 'V', 'C', '2', '!' };

    for (int i = 0; i < 4; ++i)
        block.push_back (static_cast<char> ((length >> (8 * i)) & 0xff));

    block.insert (block.end(), xml.begin(), xml.end());
    block.push_back (0);
    return block;
}

std::vector<char> SmokeRun::currentState()
{
    IPtr<MemoryStream> stream = owned (new MemoryStream());

    if (component->getState (stream) != kResultOk)
        return {};

    return stream->getData();
}

bool SmokeRun::restoreSampleState()
{
    // A host on a non-English system hands the plug-in such paths; the script puts
    // the first sample in a folder named with non-ASCII letters.
    const auto nonAscii = std::any_of (options.wavPath.begin(), options.wavPath.end(),
                                       [] (char c) { return (static_cast<unsigned char> (c) & 0x80) != 0; });
    log.check (nonAscii, "first sample's path has non-ASCII letters: " + options.wavPath);

    const auto block = makeStateBlock();
    IPtr<MemoryStream> stream = owned (new MemoryStream (block));

    if (! log.check (component->setState (stream) == kResultOk, "component accepted a state naming a WAV and a FLAC file"))
        return false;

    // JUCE's controller answers kNotImplemented (the SDK base's result) after it has
    // copied the processor's parameter values; the value itself is the real check.
    stream->seek (0, IBStream::kIBSeekSet, nullptr);
    const auto result = controller->setComponentState (stream);
    log.check (result == kResultOk || result == kNotImplemented, "controller took the component state");

    bool foundVolume = false;

    for (int32 i = 0; i < controller->getParameterCount(); ++i)
    {
        Vst::ParameterInfo info {};
        controller->getParameterInfo (i, info);

        if (fromString128 (info.title) == "Volume")
        {
            foundVolume = true;
            const auto value = controller->getParamNormalized (info.id);
            log.check (std::abs (value - stateVolume) < 1.0e-4,
                       "controller shows the restored volume (" + std::to_string (value) + ")");
        }
    }

    log.check (foundVolume, "controller has a parameter titled \"Volume\"");
    return true;
}

void SmokeRun::renderNotes()
{
    // The output may be mono or stereo and nothing else; the test ends on stereo.
    Vst::SpeakerArrangement surround = Vst::SpeakerArr::k51;
    log.check (processor->setBusArrangements (nullptr, 0, &surround, 1) != kResultTrue, "5.1 output arrangement refused");
    Vst::SpeakerArrangement mono = Vst::SpeakerArr::kMono;
    log.check (processor->setBusArrangements (nullptr, 0, &mono, 1) == kResultTrue, "mono output arrangement accepted");
    Vst::SpeakerArrangement stereo = Vst::SpeakerArr::kStereo;
    log.check (processor->setBusArrangements (nullptr, 0, &stereo, 1) == kResultTrue, "stereo output arrangement accepted");

    Vst::SpeakerArrangement current = 0;
    processor->getBusArrangement (Vst::kOutput, 0, current);
    log.check (current == Vst::SpeakerArr::kStereo, "output arrangement is stereo again");
    component->activateBus (Vst::kAudio, Vst::kOutput, 0, true);
    component->activateBus (Vst::kEvent, Vst::kInput, 0, true);

    Vst::ProcessSetup setup { Vst::kRealtime, Vst::kSample32, blockSize, hostRate };
    log.check (processor->setupProcessing (setup) == kResultOk, "processing set up (48 kHz host, 512-sample blocks)");

    active = component->setActive (true) == kResultOk;
    log.check (active, "component activated");
    processing = processor->setProcessing (true) == kResultOk;

    std::vector<float> left (blockSize), right (blockSize);
    float* channels[] = { left.data(), right.data() };
    Vst::AudioBusBuffers output {};
    output.numChannels = 2;
    output.channelBuffers32 = channels;

    IPtr<NoteEventList> events = owned (new NoteEventList());

    Vst::ProcessData data {};
    data.processMode = Vst::kRealtime;
    data.symbolicSampleSize = Vst::kSample32;
    data.numSamples = blockSize;
    data.numInputs = 0;
    data.numOutputs = 1;
    data.outputs = &output;
    data.inputEvents = events;

    // Key 60 and key 61 play different files of the two-file set: the files
    // alternate across neighbouring keys. Each note is held for 20 blocks.
    // Expected pitches: the first file (440 Hz) has its root on key 60; the second
    // (660 Hz) has its root lowered by one to key 59, so key 61 plays it two
    // semitones up. Both files hold 44.1 kHz audio and the host runs at 48 kHz.
    struct Phase { int16 key; const char* file; double expectedHz; };
    const Phase phases[] = { { 60, "first file", 440.0 }, { 61, "second file", 660.0 * std::pow (2.0, 2.0 / 12.0) } };
    constexpr int blocksPerNote = 20;
    constexpr int releaseBlocks = 60;

    // The level is taken where the note is steady: after the sample's 10 ms fade-in
    // and before the note-off.
    constexpr int firstLevelBlock = 2, lastLevelBlock = blocksPerNote - 2;
    const auto expectedRms = VolumeLaw (stateVolume, noteVelocity).sineRmsPerSide (samplePeak);
    bool allFinite = true;

    for (const auto& phase : phases)
    {
        ToneMeter meter (hostRate);

        for (int blockIndex = 0; blockIndex < blocksPerNote; ++blockIndex)
        {
            events->clear();

            if (blockIndex == 0)
                events->addNoteOn (phase.key, noteVelocity, 16);
            else if (blockIndex == blocksPerNote - 1)
                events->addNoteOff (phase.key, 0);

            std::fill (left.begin(), left.end(), 0.0f);
            std::fill (right.begin(), right.end(), 0.0f);

            if (processor->process (data) != kResultOk)
            {
                log.check (false, "process() returned an error");
                return;
            }

            const bool inLevelWindow = blockIndex >= firstLevelBlock && blockIndex <= lastLevelBlock;

            for (size_t i = 0; i < left.size(); ++i)
                meter.add (left[i], right[i], inLevelWindow);
        }

        const auto keyText = std::string ("key ") + std::to_string (phase.key);
        char figures[160];
        std::snprintf (figures, sizeof (figures), "peak %.4f", static_cast<double> (meter.peak()));
        log.check (meter.peak() > 1.0e-3f, keyText + " (" + phase.file + ") renders audio: " + figures);

        std::snprintf (figures, sizeof (figures), "%.1f Hz, expected %.1f Hz", meter.frequency(), phase.expectedHz);
        log.check (std::abs (meter.frequency() / phase.expectedHz - 1.0) < 0.01, keyText + " pitch at 48 kHz " + figures);

        // 0.25 dB leaves room for the interpolation and the 16-bit samples, and is
        // far below the 3 dB that one wrong factor in the law would make.
        const auto levelDb = 20.0 * std::log10 (std::max (meter.rms(), 1.0e-9) / expectedRms);
        std::snprintf (figures, sizeof (figures), "rms %.5f per side, expected %.5f (volume %.2f, velocity %.4f): %+.2f dB",
                       meter.rms(), expectedRms, stateVolume, static_cast<double> (noteVelocity), levelDb);
        log.check (std::abs (levelDb) < 0.25, keyText + " level follows the volume law: " + figures);
        allFinite = allFinite && meter.allFinite();

        // Let the released note ring out, so that it does not blend into the next
        // note's measurement.
        events->clear();

        for (int blockIndex = 0; blockIndex < releaseBlocks; ++blockIndex)
            if (processor->process (data) != kResultOk)
                break;
    }

    log.check (allFinite, "all rendered samples finite");
}

void SmokeRun::roundTripState()
{
    const auto saved = currentState();
    const auto xml = xmlOfStateBlock (saved);

    if (! log.check (! xml.empty(), "getState returned a binary XML block (" + std::to_string (saved.size()) + " bytes)"))
        return;

    log.note ("saved: " + xml);
    log.check (xml.find ("<settings") != std::string::npos, "saved state is a settings document");
    log.check (XmlText::attribute (xml, "filenames") == options.wavPath + "\n" + options.flacPath,
               "saved state gives the two file paths back unchanged (the non-ASCII one included)");
    log.check (xml.find ("volume=\"0.2500\"") != std::string::npos, "saved state keeps the restored volume");

    IPtr<MemoryStream> stream = owned (new MemoryStream (saved));
    log.check (component->setState (stream) == kResultOk, "saved state restored");

    const auto again = xmlOfStateBlock (currentState());
    log.check (withoutSaveDate (again) == withoutSaveDate (xml), "state unchanged by a save-restore-save round trip");
}

void SmokeRun::openEditor()
{
    IPtr<IPlugView> view = owned (controller->createView (Vst::ViewType::kEditor));

    if (! log.check (view != nullptr, "controller created the editor view"))
        return;

    log.check (view->isPlatformTypeSupported (kPlatformTypeHWND) == kResultTrue, "view supports HWND parents");

    ViewRect size {};
    view->getSize (&size);
    log.check (size.getWidth() == 375 && size.getHeight() == 400,
               "editor size " + std::to_string (size.getWidth()) + " x " + std::to_string (size.getHeight()));

    const auto windowClass = L"SampivoSmokeHostWindow";
    WNDCLASSW wc {};
    wc.lpfnWndProc = DefWindowProcW;
    wc.hInstance = GetModuleHandleW (nullptr);
    wc.lpszClassName = windowClass;
    RegisterClassW (&wc);

    HWND parent = CreateWindowExW (0, windowClass, L"Vantrel Sampivo", WS_OVERLAPPEDWINDOW | WS_VISIBLE,
                                   CW_USEDEFAULT, CW_USEDEFAULT, 480, 480, nullptr, nullptr, wc.hInstance, nullptr);

    if (! log.check (parent != nullptr, "host window created"))
        return;

    IPtr<PlugFrame> frame = owned (new PlugFrame());
    view->setFrame (frame);

    if (log.check (view->attached (parent, kPlatformTypeHWND) == kResultOk, "editor attached to the host window"))
    {
        pumpMessages (1500);

        HWND child = GetWindow (parent, GW_CHILD);
        RECT childRect {};

        if (log.check (child != nullptr, "editor created a child window"))
        {
            GetClientRect (child, &childRect);
            log.check (childRect.right - childRect.left == 375 && childRect.bottom - childRect.top == 400,
                       "editor window is " + std::to_string (childRect.right - childRect.left) + " x "
                           + std::to_string (childRect.bottom - childRect.top));
            checkEditorPicture (child);
            checkContentScale (*view, *frame, child);
        }

        log.check (view->removed() == kResultOk, "editor detached");
    }

    view->setFrame (nullptr);
    DestroyWindow (parent);
    pumpMessages (100);
}

// Asks for 150 % the way a Windows host on a high-DPI screen does. JUCE's VST3 editor
// then scales the editor by a transform, asks the frame for the new size through
// resizeView and reports it from getSize: the smallest whole-pixel size that holds the
// scaled editor, so 375 x 400 becomes 563 x 600 (562.5 rounded up).
void SmokeRun::checkContentScale (IPlugView& view, PlugFrame& frame, HWND editorWindow)
{
    FUnknownPtr<IPlugViewContentScaleSupport> scaling (&view);

    if (! log.check (scaling != nullptr, "view offers IPlugViewContentScaleSupport"))
        return;

    constexpr double scale = 1.5;
    const auto expectedWidth = static_cast<int32> (std::ceil (375 * scale));
    const auto expectedHeight = static_cast<int32> (std::ceil (400 * scale));
    const auto requestsBefore = frame.resizeRequests;

    log.check (scaling->setContentScaleFactor (static_cast<IPlugViewContentScaleSupport::ScaleFactor> (scale)) == kResultTrue,
               "view accepted a content scale of 1.5");
    pumpMessages (1000);

    const auto sizeText = [] (int32 width, int32 height) { return std::to_string (width) + " x " + std::to_string (height); };
    const auto& asked = frame.lastRequest;
    log.check (frame.resizeRequests > requestsBefore && asked.getWidth() == expectedWidth && asked.getHeight() == expectedHeight,
               "at 150 % the editor asked the host for " + sizeText (asked.getWidth(), asked.getHeight())
                   + " (expected " + sizeText (expectedWidth, expectedHeight) + ")");

    ViewRect reported {};
    view.getSize (&reported);
    log.check (reported.getWidth() == expectedWidth && reported.getHeight() == expectedHeight,
               "at 150 % getSize reports " + sizeText (reported.getWidth(), reported.getHeight()));

    RECT client {};
    GetClientRect (editorWindow, &client);
    log.check (client.right - client.left == expectedWidth && client.bottom - client.top == expectedHeight,
               "at 150 % the editor window is " + sizeText (client.right - client.left, client.bottom - client.top));
}

// Reads back what the editor painted: knobs, labels and texts give many colours,
// while an editor that failed to paint leaves a blank or single-colour window.
void SmokeRun::checkEditorPicture (HWND editorWindow)
{
    RECT rect {};
    GetClientRect (editorWindow, &rect);
    const auto width = static_cast<int> (rect.right - rect.left);
    const auto height = static_cast<int> (rect.bottom - rect.top);

    if (width <= 0 || height <= 0)
        return;

    BITMAPINFO info {};
    info.bmiHeader.biSize = sizeof (BITMAPINFOHEADER);
    info.bmiHeader.biWidth = width;
    info.bmiHeader.biHeight = -height; // top row first
    info.bmiHeader.biPlanes = 1;
    info.bmiHeader.biBitCount = 32;
    info.bmiHeader.biCompression = BI_RGB;

    HDC windowDC = GetDC (editorWindow);
    HDC memoryDC = CreateCompatibleDC (windowDC);
    void* bits = nullptr;
    HBITMAP bitmap = CreateDIBSection (windowDC, &info, DIB_RGB_COLORS, &bits, nullptr, 0);
    auto previous = SelectObject (memoryDC, bitmap);
    BitBlt (memoryDC, 0, 0, width, height, windowDC, 0, 0, SRCCOPY);
    GdiFlush();

    const auto* pixels = static_cast<const uint32_t*> (bits);
    const auto count = static_cast<size_t> (width) * static_cast<size_t> (height);
    std::unordered_set<uint32_t> colours;

    for (size_t i = 0; i < count; ++i)
        colours.insert (pixels[i] & 0xffffffu);

    log.check (colours.size() > 100, "editor painted its controls (" + std::to_string (colours.size()) + " colours)");

    if (! options.snapshotPath.empty())
    {
        if (auto* file = _wfopen (options.snapshotPath.c_str(), L"wb"))
        {
            std::fprintf (file, "P6\n%d %d\n255\n", width, height);

            for (size_t i = 0; i < count; ++i)
            {
                const unsigned char rgb[] = { static_cast<unsigned char> (pixels[i] >> 16),
                                              static_cast<unsigned char> (pixels[i] >> 8),
                                              static_cast<unsigned char> (pixels[i]) };
                std::fwrite (rgb, 1, 3, file);
            }

            std::fclose (file);
        }
    }

    SelectObject (memoryDC, previous);
    DeleteObject (bitmap);
    DeleteDC (memoryDC);
    ReleaseDC (editorWindow, windowDC);
}

void SmokeRun::shutDown()
{
    if (processing)
        processor->setProcessing (false);

    if (active)
        component->setActive (false);

    processing = active = false;

    if (connected)
    {
        componentPoint->disconnect (controllerPoint);
        controllerPoint->disconnect (componentPoint);
        connected = false;
    }

    componentPoint = nullptr;
    controllerPoint = nullptr;

    if (controllerInitialised)
        controller->terminate();

    if (componentInitialised)
        component->terminate();

    controllerInitialised = componentInitialised = false;
    controller = nullptr;
    processor = nullptr;
    component = nullptr;
    factory = nullptr;
}

bool SmokeRun::unloadModule()
{
    if (module == nullptr)
        return false;

    auto exitDll = reinterpret_cast<ExitDllFunction> (reinterpret_cast<void*> (GetProcAddress (module, "ExitDll")));
    const bool exited = exitDll == nullptr || exitDll();
    const bool freed = FreeLibrary (module) != 0;
    module = nullptr;
    return exited && freed;
}
