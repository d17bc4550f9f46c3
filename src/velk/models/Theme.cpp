#include "Theme.h"

namespace Theme {

const QList<Rgb> &pastels()
{
    static const QList<Rgb> colours = {
        {0.55, 0.5, 0.95},
        {0.35, 0.62, 0.95},
        {0.98, 0.58, 0.38},
        {0.25, 0.72, 0.55},
        {0.93, 0.42, 0.62},
        {0.93, 0.7, 0.2},
    };
    return colours;
}

Rgb pastel(QStringView name)
{
    quint64 sum = 0;
    for (const uint scalar : name.toUcs4())
        sum += scalar;
    const auto &colours = pastels();
    return colours.at(qsizetype(sum % quint64(colours.size())));
}

} // namespace Theme
