#pragma once

#include <QString>
#include <QStringList>

// Which application opens a type of file, as the XDG mimeapps.list files and the installed desktop
// entries say.
namespace MimeApps {

// The desktop entry file of the default application for a MIME type (or, failing that, for a type it
// derives from); empty when no installed application takes it.
QString defaultApplication(const QString &mimeType);
// The same for a file, by the type its name and contents give.
QString defaultApplicationForFile(const QString &path);

// The folders desktop entries are looked up in, most important first.
QStringList applicationFolders();
// The file of an installed desktop entry ID ("org.kde.okular.desktop", where "kde-okular.desktop" may
// live in applications/kde/); empty when none or when it is hidden.
QString desktopEntryFile(const QString &id);

} // namespace MimeApps
