#pragma once

#include <QImage>
#include <QString>
#include <QStringList>

// The icon a file manager shows for a file: its type's icon from the icon theme, the XDG folder icons
// for the user folders, and an application's own icon for its desktop entry.
namespace FileIcons {

// Theme icon names to try for the file, most specific first.
QStringList iconNames(const QString &path);

// Always an image: when the theme has none of the names, a plain sheet is drawn.
QImage iconForFile(const QString &path, int pixels);

} // namespace FileIcons
