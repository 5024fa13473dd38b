#include "editor/name_editor.h"

#include "engine/instance.h"
#include "engine/records.h"
#include "platform/ini_text.h"

NameEditPlan planNameEdit(const SurroundPanner* p, int item, bool backward) {
    const int inputs = inputCount(p), total = inputs + speakerCount(p);
    if (item < 0 || item >= total) return NameEditPlan{0, 0, -1};
    if (item >= inputs) {
        // Names of a built-in layout are its own; the request is only noted.
        if (p->layoutId != 0) return NameEditPlan{1, 0, item};
        if (speakerRecords(p)[item - inputs].lfe) {
            int next = backward ? item - 1 : item + 1;
            if (next < inputs || next >= total) return NameEditPlan{1, 0, item};
            item = next;
        }
    }
    return NameEditPlan{1, 1, item};
}

PixelRect nameEditRect(const SurroundPanner* p, int item) {
    const int32_t* m = p->dialogMetrics;
    const int32_t rowH = scaled(16, p->dpiScale);
    const bool input = item < inputCount(p);
    const int row = input ? item - p->firstInputStrip : item - inputCount(p) - p->firstSpeakerStrip;
    return PixelRect{input ? m[METRIC_INPUT_NAME_X] : m[METRIC_SPEAKER_NAME_X], m[METRIC_STRIP_TOP] + row * rowH,
                     input ? m[METRIC_INPUT_NAME_WIDTH] : m[METRIC_SPEAKER_NAME_WIDTH], rowH};
}

NameKeyAnswer nameEditKey(bool keyMessage, uint32_t key, bool shift, bool ctrl, int32_t item) {
    NameKeyAnswer a{NAME_KEY_AS_USUAL, -1, -1, 0};
    if (!keyMessage) return a;
    if (key == NAME_KEY_TAB || key == NAME_KEY_RETURN || key == NAME_KEY_ESCAPE) {
        a.answer = NAME_KEY_EATEN;
        a.end = key == NAME_KEY_ESCAPE ? 0 : 1;
        if (key == NAME_KEY_TAB && !shift) {
            a.nextItem = item + 1;
        } else if (key == NAME_KEY_TAB && item > 0) {
            a.nextItem = item - 1;
            a.backward = 1;
        }
        return a;
    }
    if (ctrl) a.answer = NAME_KEY_TO_FIELD;
    return a;
}

// The cut of an ini value is the one a name needs: bytes up to the capacity, whole characters.
void copyChannelName(char (&name)[64], const char* text) { iniCopyValue(text, name, int(sizeof name)); }

bool applyEditedName(SurroundPanner* p, int item, const char* text) {
    const int inputs = inputCount(p);
    if (item < 0 || item >= inputs + speakerCount(p)) return false;
    copyChannelName(item < inputs ? inputRecords(p)[item].name : speakerRecords(p)[item - inputs].name, text);
    return true;
}
