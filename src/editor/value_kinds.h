// The kinds of value the dialog shows for one channel: the value row's kinds and the strips'
// fader modes are one list. Also the dialog's decibel conversions and its reading of a typed
// number. Portable; called by the selected-channel controls and the channel strips.
#pragma once

#include <cstdint>

// The value row's kinds; an input's strip mode 0 to 3 and a speaker's 0 to 1 map onto them.
enum : int32_t {
    KIND_INPUT_GAIN = 0,
    KIND_INPUT_LFE = 1,
    KIND_INPUT_DIVERGENCE = 2,
    KIND_INPUT_DELAY = 3,
    KIND_SPEAKER_GAIN = 4,
    KIND_SPEAKER_INFLUENCE = 5,
    KIND_COUNT = 6,
};

// How a kind's value is put as text: through the host's volume text, or a number of the value
// times a factor.
enum : int32_t { KIND_TEXT_VOLUME = 0, KIND_TEXT_NUMBER = 1 };

struct ValueKind {
    bool speaker;        // a speaker's value, else an input's
    const char* label;   // shown on the kind's button and in its menu
    int32_t textStyle;   // KIND_TEXT_
    const char* format;  // for KIND_TEXT_NUMBER, of value * factor
    double factor;
    const char* unit;
    int32_t hostCode;    // the notifyParameter code; -1 when the host hears nothing
};
extern const ValueKind VALUE_KINDS[KIND_COUNT];

// [any thread] The kind a strip mode stands for: an input's mode 0 to 3 is that kind, a
// speaker's mode 0 or 1 is 4 or 5; anything else -1.
int32_t kindFromStripMode(bool isInput, bool isSpeaker, int32_t mode);

// [any thread] Decibels of an amplitude: -150 below 2^-25, never below -150.
double ampToDb(double amp);
// [any thread] The amplitude of a level in decibels.
double dbToAmp(double dB);

// [any thread] A typed number: true with *value when the text holds at least one digit 0 to 9;
// it is then read as a decimal number as far as it goes ("1x" is 1). False for null, empty,
// "-inf", "abc" and the like, *value untouched.
bool parseTypedNumber(const char* text, double* value);
