#pragma once

#include <QList>
#include <QString>

// An sRGB colour with components from 0 to 1. The interface turns these into its own colour type.
struct Rgb {
    double red = 0;
    double green = 0;
    double blue = 0;
    double alpha = 1;

    friend bool operator==(const Rgb &, const Rgb &) = default;
};

namespace Theme {

// Six soft colours that give names and kinds a tint of their own.
const QList<Rgb> &pastels();
// The same name always gets the same pastel: the sum of its Unicode scalar values, modulo six.
Rgb pastel(QStringView name);

// The neutral gray the system uses for things without a colour of their own.
inline constexpr Rgb systemGray {0.557, 0.557, 0.576};

} // namespace Theme
