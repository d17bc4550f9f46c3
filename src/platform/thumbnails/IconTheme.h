#pragma once

#include <QImage>
#include <QString>
#include <QStringList>

// The desktop's icon theme, looked up as the freedesktop icon theme rules say: the user's theme, the
// themes it inherits, hicolor, then the loose pixmaps. Safe from any thread, so worker threads can draw
// icons without a GUI thread's QIcon.
namespace IconTheme {

// The theme the user chose in KDE's or GTK's settings; otherwise the one of the running desktop that is
// installed.
QString current();

// The file of the best icon of `name` near `pixels`, or empty when no theme has it.
QString lookup(const QString &name, int pixels);

// The first of `names` that exists, drawn to fit a square of `pixels`; a null image when none exists.
QImage load(const QStringList &names, int pixels);

// Draws an icon file (SVG or bitmap) to fit a square of `pixels`.
QImage render(const QString &file, int pixels);

} // namespace IconTheme
