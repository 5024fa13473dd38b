// The channel strips' laws, views and handlers.
#include "editor/channel_strips.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "editor/dialog_layout.h"
#include "editor/value_kinds.h"
#include "engine/instance.h"
#include "engine/parameter_map.h"
#include "engine/parameter_table.h"
#include "engine/position.h"
#include "engine/records.h"
#include "foundation/host_api.h"
#include "roomview/pointer.h"

namespace {

// How a field maps onto the fader's 0..1000.
enum : int32_t {
    FADER_LAW_DECIBEL,      // the host's fader curve over decibels of the gain
    FADER_LAW_LINEAR,       // value * scale
    FADER_LAW_SQUARE_ROOT,  // sqrt(value / scale) * 1000: fine steps at small values, scale at the top
};

// What a changed value asks of the audio thread.
enum : int32_t {
    FADER_ASKS_NOTHING,       // read at each block as it is
    FADER_ASKS_INPUT_GAINS,   // the gains of the input that changed
    FADER_ASKS_ALL_GAINS,     // the gains of every input
    FADER_ASKS_SPEAKERS,      // the speakers' analysis
};

constexpr double STRIP_FADER_TOP = 1000.0;  // a fader runs from 0 to here
constexpr int32_t CENTRE_AT_UNITY = -1;  // the centre mark stands where the host's curve puts 0 dB

// One fader mode, indexed by the value kind it stands for (kindFromStripMode).
struct FaderLaw {
    double PanInput::*inputField;
    double PanSpeaker::*speakerField;
    int32_t law;
    double scale;  // linear: positions per unit; square root: the value at the top
    int32_t asks;
    int32_t centre;
};

const FaderLaw FADER_LAWS[KIND_COUNT] = {
    // input field           speaker field            law                    scale                        asks                    centre
    {&PanInput::gain,       nullptr,                 FADER_LAW_DECIBEL,     0.0,                         FADER_ASKS_INPUT_GAINS, CENTRE_AT_UNITY},
    {&PanInput::lfeSend,    nullptr,                 FADER_LAW_DECIBEL,     0.0,                         FADER_ASKS_INPUT_GAINS, CENTRE_AT_UNITY},
    {&PanInput::divergence, nullptr,                 FADER_LAW_LINEAR,      1000.0,                      FADER_ASKS_INPUT_GAINS, 0},
    {&PanInput::delay,      nullptr,                 FADER_LAW_SQUARE_ROOT, PARAMETER_DELAY_MAX_SECONDS, FADER_ASKS_NOTHING,     0},
    {nullptr,               &PanSpeaker::gain,       FADER_LAW_DECIBEL,     0.0,                         FADER_ASKS_ALL_GAINS,   CENTRE_AT_UNITY},
    {nullptr,               &PanSpeaker::influence,  FADER_LAW_LINEAR,      500.0,                       FADER_ASKS_SPEAKERS,    500},
};

// One button family: its flag in the record and its host parameter (-1: none).
struct ButtonField {
    int32_t role;
    uint8_t PanInput::*inputField;
    uint8_t PanSpeaker::*speakerField;
    int32_t hostCode;
};

const ButtonField BUTTON_FIELDS[] = {
    // role                  input field          speaker field         host code
    {STRIP_INPUT_MUTE,      &PanInput::mute,     nullptr,              PI_MUTE},
    {STRIP_INPUT_SOLO,      &PanInput::solo,     nullptr,              PI_SOLO},
    {STRIP_INPUT_REVERSE_X, &PanInput::reverseX, nullptr,              -1},
    {STRIP_INPUT_REVERSE_Y, &PanInput::reverseY, nullptr,              -1},
    {STRIP_INPUT_REVERSE_Z, &PanInput::reverseZ, nullptr,              -1},
    {STRIP_SPEAKER_MUTE,    nullptr,             &PanSpeaker::mute,    PS_MUTE},
    {STRIP_SPEAKER_SOLO,    nullptr,             &PanSpeaker::solo,    PS_SOLO},
};

constexpr double SILENT_METER_DB = -120.0;

int32_t kindOf(int32_t list, int32_t mode) {
    return kindFromStripMode(list == STRIP_LIST_INPUTS, list == STRIP_LIST_SPEAKERS, mode);
}

const FaderLaw* lawOf(int32_t list, int32_t mode) {
    int32_t kind = kindOf(list, mode);
    return kind >= 0 ? &FADER_LAWS[kind] : nullptr;
}

int channelCount(const SurroundPanner* p, int32_t list) {
    return list == STRIP_LIST_INPUTS ? inputCount(p) : speakerCount(p);
}

int32_t firstStrip(const SurroundPanner* p, int32_t list) {
    return list == STRIP_LIST_INPUTS ? p->firstInputStrip : p->firstSpeakerStrip;
}

// The channel behind row 0..15 of a list, or -1.
int rowChannel(const SurroundPanner* p, int32_t list, int row) {
    if (row < 0 || row >= STRIP_ROWS) return -1;
    int channel = firstStrip(p, list) + row;
    return channel >= 0 && channel < channelCount(p, list) ? channel : -1;
}

// The channel behind a row (-1: none) and the fader mode its list shows, with that mode's law
// (null for a mode the list lacks).
struct RowFader {
    int channel;
    int32_t mode;
    int32_t kind;
    const FaderLaw* law;
};
RowFader rowFader(const SurroundPanner* p, int32_t list, int row) {
    int32_t mode = stripMode(p, list);
    return RowFader{rowChannel(p, list, row), mode, kindOf(list, mode), lawOf(list, mode)};
}

// A position as a whole step, cut toward zero. A value stored from position p reads back as p:
// the round trip through the host's curve or the square root leaves an error in the last bits,
// and that error must not cost a step. Far beyond any fader the position is held at +-1e9.
int32_t wholeStep(double position) {
    constexpr double LIMIT = 1e9;
    if (!(std::fabs(position) < LIMIT)) return position > 0.0 ? int32_t(LIMIT) : position < 0.0 ? -int32_t(LIMIT) : 0;
    double nearest = std::nearbyint(position);
    return std::fabs(position - nearest) < 1e-6 ? int32_t(nearest) : int32_t(position);
}

double& inputValue(SurroundPanner* p, const FaderLaw& law, int i) { return inputRecords(p)[i].*law.inputField; }

// The channel whose name lies under client pixel (x, y) in a list's name column, or -1.
int nameColumnChannel(const SurroundPanner* p, int32_t list, int x, int y) {
    int visible = std::clamp(channelCount(p, list) - firstStrip(p, list), 0, STRIP_ROWS);
    PixelRect column = list == STRIP_LIST_INPUTS ? inputNameColumn(p->dialogMetrics, p->dpiScale, visible)
                                                 : speakerNameColumn(p->dialogMetrics, p->dpiScale, visible);
    if (x < column.x || x >= column.x + column.w || y < column.y || y >= column.y + column.h) return -1;
    return rowChannel(p, list, (y - column.y) / scaled(16, p->dpiScale));
}

}  // namespace

int32_t stripMode(const SurroundPanner* p, int32_t list) {
    return int32_t(list == STRIP_LIST_INPUTS ? p->uiFlags & 0xF : p->uiFlags >> 4 & 0xF);
}

int32_t faderPosition(int32_t list, int32_t mode, double value) {
    const FaderLaw* law = lawOf(list, mode);
    if (!law) return 0;
    switch (law->law) {
        case FADER_LAW_DECIBEL: return hostApi.DB2SLIDER ? wholeStep(hostApi.DB2SLIDER(ampToDb(value))) : 0;
        case FADER_LAW_LINEAR: return wholeStep(value * law->scale);
        default: return wholeStep(std::sqrt(value / law->scale) * STRIP_FADER_TOP);
    }
}

double faderValue(int32_t list, int32_t mode, double position) {
    const FaderLaw* law = lawOf(list, mode);
    if (!law) return 0.0;
    switch (law->law) {
        case FADER_LAW_DECIBEL: return hostApi.SLIDER2DB ? dbToAmp(hostApi.SLIDER2DB(position)) : 0.0;
        case FADER_LAW_LINEAR: return position / law->scale;
        default: return (position / STRIP_FADER_TOP) * (position / STRIP_FADER_TOP) * law->scale;
    }
}

int32_t faderCentre(int32_t list, int32_t mode) {
    const FaderLaw* law = lawOf(list, mode);
    if (!law) return 0;
    if (law->centre != CENTRE_AT_UNITY) return law->centre;
    return hostApi.DB2SLIDER ? wholeStep(hostApi.DB2SLIDER(0.0)) : 0;
}

StripRowView stripRowView(const SurroundPanner* p, int32_t list, int row) {
    StripRowView view{};
    const RowFader f = rowFader(p, list, row);
    if (f.channel < 0) return view;
    view.channel = true;
    if (list == STRIP_LIST_INPUTS) {
        const PanInput& in = inputRecords(p)[f.channel];
        int dim = (p->uiFlags & FLAG_IGNORE_REVERSE) ? 2 : 0;
        view.skins[0] = in.mute ? 1 : 0;
        view.skins[1] = in.solo ? 1 : 0;
        view.skins[2] = uint8_t((in.reverseX ? 1 : 0) + dim);
        view.skins[3] = uint8_t((in.reverseY ? 1 : 0) + dim);
        view.skins[4] = uint8_t((in.reverseZ ? 1 : 0) + dim);
        // The LFE channel has no gain or divergence of its own: its row stands grey at 0 dB and 0
        // in those modes, and only its LFE send can be moved.
        bool lfeRow = (p->channelOptions & CHANNEL_OPTION_LFE_INPUT) && f.channel == 3;
        if (f.law) {
            double value = sharedLoad(in.*f.law->inputField);
            if (lfeRow && f.kind == KIND_INPUT_GAIN) value = 1.0;
            if (lfeRow && f.kind == KIND_INPUT_DIVERGENCE) value = 0.0;
            view.position = faderPosition(list, f.mode, value);
        }
        view.greyed = lfeRow && f.kind != KIND_INPUT_LFE;
    } else {
        const PanSpeaker& sp = speakerRecords(p)[f.channel];
        view.skins[0] = sp.mute ? 1 : 0;
        view.skins[1] = sp.solo ? 1 : 0;
        // A vacant speaker has nothing to set; an LFE speaker takes no part in panning.
        view.greyed = sp.vacant || (sp.lfe && f.kind == KIND_SPEAKER_INFLUENCE);
        if (f.law && !view.greyed) view.position = faderPosition(list, f.mode, sharedLoad(sp.*f.law->speakerField));
    }
    return view;
}

StripFaderMove stripFaderMoved(SurroundPanner* p, int32_t list, int row, int32_t position, bool ending) {
    StripFaderMove move{};
    const RowFader f = rowFader(p, list, row);
    if (f.channel < 0) return move;
    move.acted = true;
    const int channel = f.channel;
    int32_t* selection = p->selectionState;
    if (list == STRIP_LIST_INPUTS) {
        if (f.law) {
            // The group moves by the step this fader made, each member from its own position, so
            // that the members keep their spacing in the fader's scale.
            PanInput* in = inputRecords(p);
            int n = inputCount(p), first = p->firstInputStrip;
            bool all = p->uiFlags & FLAG_EDIT_ALL, lfeInput = p->channelOptions & CHANNEL_OPTION_LFE_INPUT;
            double step = double(position) - faderPosition(list, f.mode, sharedLoad(inputValue(p, *f.law, channel)));
            for (int j = 0; j < n; j++) {
                if (!(j == channel || all || (in[channel].selected && in[j].selected))) continue;
                if (lfeInput && j == 3 && f.kind != KIND_INPUT_LFE) continue;
                double& field = inputValue(p, *f.law, j);
                double value = faderValue(list, f.mode, faderPosition(list, f.mode, sharedLoad(field)) + step);
                if (value == sharedLoad(field)) continue;
                sharedStore(field, value);
                if (f.law->asks == FADER_ASKS_INPUT_GAINS) markInputDirty(p, j);
                int r = j - first;
                if (j != channel && r >= 0 && r < STRIP_ROWS) {
                    move.rowsToSet |= uint16_t(1u << r);
                    move.positions[r] = faderPosition(list, f.mode, value);
                }
                notifyParameter(p, j, -1, VALUE_KINDS[f.kind].hostCode);
            }
        }
        if (ending) endGestures(p);
        selection[SELECTION_VALUE_SPEAKER] = -1;
        selection[SELECTION_VALUE_INPUT] = channel;
    } else {
        if (f.law) {
            double& field = speakerRecords(p)[channel].*f.law->speakerField;
            double value = faderValue(list, f.mode, position);
            if (value != sharedLoad(field)) {
                sharedStore(field, value);
                if (f.law->asks == FADER_ASKS_SPEAKERS) sharedStore(p->speakersChanged, uint8_t(1));
                if (f.law->asks == FADER_ASKS_ALL_GAINS) markAllInputsDirty(p);
                if (VALUE_KINDS[f.kind].hostCode >= 0) notifyParameter(p, -1, channel, VALUE_KINDS[f.kind].hostCode);
            }
        }
        if (ending) endGestures(p);
        selection[SELECTION_VALUE_INPUT] = -1;
        selection[SELECTION_VALUE_SPEAKER] = channel;
    }
    selection[SELECTION_VALUE_KIND] = f.kind;
    return move;
}

bool stripButtonClicked(SurroundPanner* p, int32_t role, int row, uint32_t keys) {
    const ButtonField* button = nullptr;
    for (const ButtonField& b : BUTTON_FIELDS)
        if (b.role == role) button = &b;
    if (!button) return false;
    int32_t list = button->inputField ? STRIP_LIST_INPUTS : STRIP_LIST_SPEAKERS;
    int channel = rowChannel(p, list, row);
    if (channel < 0) return false;
    auto flag = [&](int j) -> uint8_t& {
        return list == STRIP_LIST_INPUTS ? inputRecords(p)[j].*button->inputField : speakerRecords(p)[j].*button->speakerField;
    };
    auto write = [&](int j, bool on) {
        sharedStore(flag(j), uint8_t(on ? 1 : 0));
        if (button->hostCode < 0) return;
        if (list == STRIP_LIST_INPUTS) notifyParameter(p, j, -1, button->hostCode);
        else notifyParameter(p, -1, j, button->hostCode);
    };
    if (!(keys & POINTER_CTRL)) {
        write(channel, !sharedLoad(flag(channel)));
        return true;
    }
    bool keepThis = keys & POINTER_ALT;
    for (int j = 0, n = channelCount(p, list); j < n; j++) write(j, keepThis && j == channel);
    return true;
}

void stripModeChosen(SurroundPanner* p, int32_t list, int32_t position) {
    int32_t kind = kindOf(list, position);
    if (kind < 0) return;
    int shift = list == STRIP_LIST_INPUTS ? 0 : 4;
    p->uiFlags = (p->uiFlags & ~(0xFu << shift)) | uint32_t(position) << shift;
    int shown = p->selectionState[list == STRIP_LIST_INPUTS ? SELECTION_VALUE_INPUT : SELECTION_VALUE_SPEAKER];
    if (shown >= 0) p->selectionState[SELECTION_VALUE_KIND] = kind;
}

bool stripPages(int channels, int first, StripPages* out) {
    *out = StripPages{};
    if (channels <= STRIP_ROWS) return false;
    // Pages start every STRIP_PAGE_STEP channels and overlap by the rest of a list; the last one
    // ends at the count.
    for (int start = 0; start + STRIP_ROWS - STRIP_PAGE_STEP < channels && out->count < STRIP_PAGES_MAX;
         start += STRIP_PAGE_STEP) {
        std::snprintf(out->text[out->count++], sizeof out->text[0], "%d-%d", start + 1, std::min(start + STRIP_ROWS, channels));
    }
    out->selected = first / STRIP_PAGE_STEP;
    return true;
}

void stripPageChosen(SurroundPanner* p, int32_t list, int32_t position) {
    if (position < 0) return;
    sharedStore(list == STRIP_LIST_INPUTS ? p->firstInputStrip : p->firstSpeakerStrip, position * STRIP_PAGE_STEP);
}

double stripMeterLevel(const SurroundPanner* p, int32_t list, int row) {
    if (rowChannel(p, list, row) < 0) return SILENT_METER_DB;
    return ampToDb(sharedLoad(p->meterPeaks[list * STRIP_ROWS + row]));
}

bool stripNameClick(SurroundPanner* p, int x, int y, uint32_t keys) {
    if (p->uiFlags & FLAG_LOCK_INPUTS) return false;
    int i = nameColumnChannel(p, STRIP_LIST_INPUTS, x, y);
    if (i < 0) return false;
    p->selectionState[SELECTION_VALUE_INPUT] = i;
    p->selectionState[SELECTION_VALUE_SPEAKER] = -1;
    PanInput* in = inputRecords(p);
    int n = inputCount(p);
    if (keys & POINTER_SHIFT) {
        // The range runs to the nearer selected neighbour; on a tie the lower one wins.
        int below = i - 1, above = i + 1;
        while (below >= 0 && !in[below].selected) below--;
        while (above < n && !in[above].selected) above++;
        int from = i, to = i;
        if (below >= 0 && above < n) {
            if (i - below > above - i) to = above;
            else from = below;
        } else if (below >= 0) {
            from = below;
        } else if (above < n) {
            to = above;
        }
        for (int j = from; j <= to; j++) in[j].selected = 1;
    } else if (keys & POINTER_CTRL) {
        in[i].selected = !in[i].selected;
    } else {
        for (int j = 0; j < n; j++) in[j].selected = j == i;
    }
    recomputeScene(p);
    return true;
}

int32_t stripNameEditItem(const SurroundPanner* p, int x, int y) {
    if (!(p->uiFlags & FLAG_LOCK_INPUTS)) {
        int i = nameColumnChannel(p, STRIP_LIST_INPUTS, x, y);
        if (i >= 0) return i;
    }
    // The names of a built-in layout's speakers are the layout's.
    if (p->layoutId != 0) return -1;
    int s = nameColumnChannel(p, STRIP_LIST_SPEAKERS, x, y);
    return s >= 0 ? inputCount(p) + s : -1;
}
