#include "shell/entry.h"

#include <cstring>

#include "editor/dialog_menus.h"
#include "engine/audio_block.h"
#include "engine/speaker_analysis.h"
#include "foundation/host_api.h"
#include "layouts/layouts.h"
#include "platform/window.h"
#include "roomview/view_window.h"
#include "shell/dispatcher.h"
#include "shell/panner.h"
#include "shell/parameters.h"
#include "shell/theme.h"

unsigned char hostApiBound = 0;

SurroundPanner* createPanner() {
    SurroundPanner* p = instanceCreate();
    if (!p) return nullptr;
    p->panLawDb = readDefaultPanLaw();

    // The host's channel count and the AEffect the host sees.
    int n = hostChannelCount();
    std::memset(&p->effect, 0, sizeof p->effect);
    p->effect.magic = kEffectMagic;
    p->effect.dispatcher = dispatcher;
    p->effect.process = processFloatIgnored;
    p->effect.setParameter = setParameter;
    p->effect.getParameter = getParameter;
    p->effect.numPrograms = 1;
    p->effect.numInputs = n;
    p->effect.numOutputs = n;
    p->effect.numParams = parameterCount(n, n);
    p->effect.flags = PANNER_FLAGS;
    p->effect.initialDelay = 0;
    p->effect.ioRatio = 1.0f;
    p->effect.object = p;
    p->effect.uniqueID = PANNER_UNIQUE_ID;
    p->effect.version = PANNER_VERSION;
    p->effect.processReplacing = processFloatIgnored;
    p->effect.processDoubleReplacing = processDoubleReplacing;

    // The layout of that many channels, as many inputs placed by rule, and the analysis of the
    // final speakers.
    applyLayout(p, layoutForChannelCount(n));
    setInputCount(p, n);
    analyzeSpeakers(p);

    // Meters clear; the first audio block sizes the gain tables.
    std::memset(p->meterPeaks, 0, sizeof p->meterPeaks);
    p->audioInputs = -1;
    p->audioSpeakers = -1;

    // The first instance registers the view's window class.
    if (++instanceCount == 1) windowClassRegister(VIEW_WINDOW_CLASS, roomViewWindowProcedure());

    // The editor's fields start empty.
    std::memset(p->dialogMetrics, 0, sizeof p->dialogMetrics);
    std::memset(&p->stripControls, 0, sizeof p->stripControls);
    return p;
}

static void** slotOf(const HostApiName& row) {
    return reinterpret_cast<void**>(reinterpret_cast<char*>(&hostApi) + row.slotOffset);
}

// The first three names decide whether the host is usable at all; the rest follow.
static bool bindHost(audioMasterCallback host) {
    constexpr int FIRST_NAMES = 3;
    for (int i = 0; i < FIRST_NAMES; i++) importHostFunction(slotOf(HOST_API_NAMES[i]), HOST_API_NAMES[i].name, host);
    if (!hostApi.DB2SLIDER || !hostApi.SLIDER2DB) return false;
    for (int i = FIRST_NAMES; i < HOST_API_NAME_COUNT; i++)
        importHostFunction(slotOf(HOST_API_NAMES[i]), HOST_API_NAMES[i].name, host);
    if (!hostApi.get_ini_file) return false;
    hostApiBound = 1;
    return true;
}

AEffect* pluginMain(audioMasterCallback host) {
    if (!host) return nullptr;
    hostCallback = host;
    if (!hostApiBound && !bindHost(host)) return nullptr;
    readThemeColours(hostApi.get_ini_file());
    SurroundPanner* p = createPanner();
    return p ? &p->effect : nullptr;
}
