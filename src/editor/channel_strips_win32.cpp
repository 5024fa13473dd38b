// The channel strips in Win32: skins, fader positions and meters written from the records, and
// the strips' own messages. What a fader or a button does to the records is decided by the
// portable strip handlers; this file moves values between them and the controls.
#include <windows.h>

#include <algorithm>
#include <cmath>

#include "editor/dialog_controls.h"
#include "editor/dialog_parts.h"
#include "engine/instance.h"
#include "engine/records.h"
#include "foundation/host_api.h"

namespace {

constexpr double SILENCE_DB = -150.0;

double ampToDb(double amp) { return amp > 0.0 ? std::max(SILENCE_DB, 20.0 * std::log10(amp)) : SILENCE_DB; }

int sliderOfDb(double dB) { return hostApi.DB2SLIDER ? int(hostApi.DB2SLIDER(dB)) : 0; }

HWND item(HWND dialog, int id) { return GetDlgItem(dialog, id); }

int inputFaderPosition(const PanInput& in, int mode) {
    switch (mode) {
        case 1: return sliderOfDb(ampToDb(sharedLoad(in.lfeSend)));
        case 2: return int(sharedLoad(in.divergence) * 1000.0);
        case 3: return int(std::sqrt(std::max(0.0, sharedLoad(in.delay)) / 0.04) * 1000.0);
        default: return sliderOfDb(ampToDb(sharedLoad(in.gain)));
    }
}

void setSkin(HWND dialog, int id, ButtonSkin* skin) { SendDlgItemMessageW(dialog, id, BM_SETIMAGE, CTL_SKIN_IMAGE_TYPE, LPARAM(skin)); }

}  // namespace

void refreshStrips(SurroundPanner* p, void* window) {
    HWND dialog = static_cast<HWND>(window);
    StripControls& skins = p->stripControls;
    int inputMode = int(p->uiFlags & 0xF), speakerMode = int(p->uiFlags >> 4 & 0xF);
    int dim = (p->uiFlags & FLAG_IGNORE_REVERSE) ? 2 : 0;
    int centre = inputMode <= 1 ? sliderOfDb(0.0) : 0;
    for (int r = 0; r < STRIP_ROWS; r++) SendDlgItemMessageW(dialog, stripControlId(STRIP_INPUT_FADER, r), CTL_FADER_SET_TIC, 0, centre);
    for (int r = 0; r < STRIP_ROWS; r++) {
        int i = p->firstInputStrip + r;
        if (i < 0 || i >= inputCount(p)) continue;
        const PanInput& in = inputRecords(p)[i];
        setSkin(dialog, stripControlId(STRIP_INPUT_MUTE, r), &skins.mute[in.mute ? 1 : 0]);
        setSkin(dialog, stripControlId(STRIP_INPUT_SOLO, r), &skins.solo[in.solo ? 1 : 0]);
        setSkin(dialog, stripControlId(STRIP_INPUT_REVERSE_X, r), &skins.reverseX[(in.reverseX ? 1 : 0) + dim]);
        setSkin(dialog, stripControlId(STRIP_INPUT_REVERSE_Y, r), &skins.reverseY[(in.reverseY ? 1 : 0) + dim]);
        setSkin(dialog, stripControlId(STRIP_INPUT_REVERSE_Z, r), &skins.reverseZ[(in.reverseZ ? 1 : 0) + dim]);
        SendDlgItemMessageW(dialog, stripControlId(STRIP_INPUT_FADER, r), CTL_FADER_SET_POS, 1, inputFaderPosition(in, inputMode));
    }
    centre = speakerMode == 1 ? 500 : sliderOfDb(0.0);
    for (int r = 0; r < STRIP_ROWS; r++) {
        HWND fader = item(dialog, stripControlId(STRIP_SPEAKER_FADER, r));
        SendMessageW(fader, CTL_FADER_SET_TIC, 0, centre);
        int s = p->firstSpeakerStrip + r;
        if (s < 0 || s >= speakerCount(p)) continue;
        const PanSpeaker& sp = speakerRecords(p)[s];
        setSkin(dialog, stripControlId(STRIP_SPEAKER_MUTE, r), &skins.mute[sp.mute ? 1 : 0]);
        setSkin(dialog, stripControlId(STRIP_SPEAKER_SOLO, r), &skins.solo[sp.solo ? 1 : 0]);
        int position = speakerMode == 1 ? int(sharedLoad(sp.influence) * 500.0) : sliderOfDb(ampToDb(sharedLoad(sp.gain)));
        SendMessageW(fader, CTL_FADER_SET_POS, 1, position);
    }
}

void refreshMeters(SurroundPanner* p, void* window) {
    HWND dialog = static_cast<HWND>(window);
    for (int k = 0; k < METER_COUNT; k++) {
        bool speaker = k >= STRIP_ROWS;
        int row = k % STRIP_ROWS;
        int channel = (speaker ? p->firstSpeakerStrip : p->firstInputStrip) + row;
        if (channel >= (speaker ? speakerCount(p) : inputCount(p))) continue;
        double dB = ampToDb(sharedLoad(p->meterPeaks[k]));
        double peaks[2] = {dB, dB};
        SendDlgItemMessageW(dialog, stripControlId(speaker ? STRIP_SPEAKER_METER : STRIP_INPUT_METER, row), CTL_METER_PEAKS, 0,
                            LPARAM(peaks));
    }
}

void rebuildPagingLists(SurroundPanner*, void*) {}

bool channelStripsMessage(SurroundPanner*, const DialogMessage&) { return false; }
