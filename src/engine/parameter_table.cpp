#include "engine/parameter_table.h"

#include <cmath>

#include "foundation/host_api.h"

const ParameterRow PARAMETER_ROWS[] = {
    {POWNER_GLOBAL, PG_CENTER, "center %", 0, 1, PSCALE_LINEAR, PFORMAT_PERCENT},
    {POWNER_GLOBAL, PG_SIDE, "side %", 0, 1, PSCALE_LINEAR, PFORMAT_PERCENT},
    {POWNER_GLOBAL, PG_ZSHAPE, "Z shape", 0, PARAMETER_ZSHAPE_STEPS, PSCALE_STEPS, PFORMAT_ZSHAPE},
    {POWNER_GLOBAL, PG_SCENE_X, "scene X", -1, 1, PSCALE_LINEAR, PFORMAT_POSITION},
    {POWNER_GLOBAL, PG_SCENE_Y, "scene Y", -1, 1, PSCALE_LINEAR, PFORMAT_POSITION},
    {POWNER_GLOBAL, PG_SCENE_Z, "scene Z", -1, 1, PSCALE_LINEAR, PFORMAT_POSITION},
    {POWNER_INPUT, PI_GAIN, "gain", 0, PARAMETER_GAIN_MAX, PSCALE_LINEAR, PFORMAT_GAIN},
    {POWNER_INPUT, PI_X, "X", -1, 1, PSCALE_LINEAR, PFORMAT_POSITION},
    {POWNER_INPUT, PI_Y, "Y", -1, 1, PSCALE_LINEAR, PFORMAT_POSITION},
    {POWNER_INPUT, PI_Z, "Z", 0, 1, PSCALE_LINEAR, PFORMAT_POSITION},
    {POWNER_INPUT, PI_LFE, "LFE", 0, PARAMETER_GAIN_MAX, PSCALE_LINEAR, PFORMAT_GAIN},
    {POWNER_INPUT, PI_DIVERGENCE, "divergence", 0, 1, PSCALE_LINEAR, PFORMAT_POSITION},
    {POWNER_INPUT, PI_DELAY, "delay", 0, PARAMETER_DELAY_MAX_SECONDS, PSCALE_SQUARED, PFORMAT_DELAY},
    {POWNER_INPUT, PI_MUTE, "mute", 0, 1, PSCALE_SWITCH, PFORMAT_MUTE},
    {POWNER_INPUT, PI_SOLO, "solo", 0, 1, PSCALE_SWITCH, PFORMAT_SOLO},
    {POWNER_SPEAKER, PS_GAIN, "gain", 0, PARAMETER_GAIN_MAX, PSCALE_LINEAR, PFORMAT_GAIN},
    {POWNER_SPEAKER, PS_MUTE, "mute", 0, 1, PSCALE_SWITCH, PFORMAT_MUTE},
    {POWNER_SPEAKER, PS_SOLO, "solo", 0, 1, PSCALE_SWITCH, PFORMAT_SOLO},
};
const int PARAMETER_ROW_COUNT = int(sizeof PARAMETER_ROWS / sizeof PARAMETER_ROWS[0]);

const ParameterRow* findParameterRow(int owner, int number) {
    for (const ParameterRow& row : PARAMETER_ROWS)
        if (row.owner == owner && row.number == number) return &row;
    return nullptr;
}

double plainFromNormalised(const ParameterRow& row, double v) {
    switch (row.scale) {
        case PSCALE_SQUARED: return row.max * v * v;
        case PSCALE_STEPS: return double(int(row.max * v + 0.5));
        case PSCALE_SWITCH: return v >= 0.5 ? row.max : row.min;
        default: return row.min + (row.max - row.min) * v;
    }
}

double normalisedFromPlain(const ParameterRow& row, double plain) {
    switch (row.scale) {
        case PSCALE_SQUARED: return plain > 0.0 ? std::sqrt(plain / row.max) : 0.0;
        case PSCALE_STEPS: return plain / row.max;
        case PSCALE_SWITCH: return plain != row.min ? 1.0 : 0.0;
        default: return (plain - row.min) / (row.max - row.min);
    }
}

int32_t parameterCount(int inputs, int speakers) {
    return PARAMS_GLOBAL + PARAMS_PER_INPUT * inputs + PARAMS_PER_SPEAKER * speakers;
}

int32_t parameterIndex(int owner, int channel, int number, int inputs) {
    switch (owner) {
        case POWNER_GLOBAL: return number;
        case POWNER_INPUT: return PARAMS_GLOBAL + PARAMS_PER_INPUT * channel + number;
        default: return PARAMS_GLOBAL + PARAMS_PER_INPUT * inputs + PARAMS_PER_SPEAKER * channel + number;
    }
}

// 20 / ln 10: dB from a natural logarithm.
constexpr double DB_PER_NEPER = 8.685889638065037;
constexpr double FADER_TOP = 1000.0;

int faderFromGain(double gain) {
    if (!hostApi.DB2SLIDER || !(gain > 0.0)) return 0;
    double position = hostApi.DB2SLIDER(std::log(gain) * DB_PER_NEPER);
    return position > 0.0 ? int(position < FADER_TOP ? position : FADER_TOP) : 0;
}

double gainFromFader(double position) {
    if (!hostApi.SLIDER2DB) return 0.0;
    return std::exp(hostApi.SLIDER2DB(position) / DB_PER_NEPER);
}
