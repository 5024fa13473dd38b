#include "shell/entry.h"

#include "foundation/host_api.h"
#include "shell/panner.h"
#include "shell/theme.h"

unsigned char hostApiBound = 0;

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
