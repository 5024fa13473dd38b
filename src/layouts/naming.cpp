#include "layouts/naming.h"

#include <cstdio>
#include <cstring>
#include <string>

#include "engine/instance.h"
#include "engine/records.h"
#include "foundation/localize.h"

static const char* const NAME_SECTION = "kelvanepan";

namespace {

// Two phrases built side by side: plain words and their translations, one blank between words.
struct Phrase {
    std::string plain, translated;
    void add(const char* word) {
        if (!plain.empty()) plain += ' ';
        if (!translated.empty()) translated += ' ';
        plain += word;
        translated += localize(word, NAME_SECTION, 0);
    }
};

void buildName(const SurroundPanner* p, const PanSpeaker& s, Phrase* ph) {
    uint32_t f = s.flags;
    // Across.
    if (f & SPK_LEFT) ph->add("left");
    else if (f & SPK_XCENTER) ph->add("center");
    else if (f & SPK_RIGHT) ph->add("right");
    // Depth: "surround" when the room has only one kind of back or side speaker.
    uint32_t all = p->speakerFlagsUnion;
    if (!(f & (SPK_REAR | SPK_YMID))) {
        if (f & SPK_FRONT) ph->add("front");
    } else if (!(f & (SPK_LEFT | SPK_RIGHT)) || ((all & SPK_REAR) && (all & SPK_YMID))) {
        if (f & SPK_REAR) ph->add("rear");
        else ph->add(s.posY < 1.0 / 3.0 || s.posY >= 2.0 / 3.0 ? "side" : "wide");
    } else {
        ph->add("surround");
    }
    // Height.
    if (f & SPK_HIGH) ph->add((f & SPK_GRIDKEY & ~SPK_HIGH) ? "height" : "overhead");
}

}  // namespace

void nameSpeakers(SurroundPanner* p, int first, int last) {
    if (last > speakerCount(p)) last = speakerCount(p);
    if (first < 0) first = 0;
    for (int i = first; i < last; i++) {
        PanSpeaker& s = speakerRecords(p)[i];
        std::string name;
        if (s.lfe) {
            name = localize("LFE", NAME_SECTION, 0);
        } else if (!s.vacant) {
            Phrase ph;
            buildName(p, s, &ph);
            // A translation of the whole phrase wins over the words one by one.
            if (!ph.plain.empty()) {
                const char* whole = localize(ph.plain.c_str(), NAME_SECTION, 2);
                if (whole && *whole && ph.plain != whole) ph.translated = whole;
            }
            name = ph.translated.empty() ? localize("free", NAME_SECTION, 0) : ph.translated;
        }
        // Cut to fit, terminated.
        setRecordName(s.name, name.c_str());
    }
}
