#pragma once

#include <QList>
#include <QUrl>

// Handing files to the rest of the desktop: the file manager and the default applications.
// Main thread, with a QGuiApplication.
namespace FileManager {

// Shows these files selected in the user's file manager, in one window: one
// org.freedesktop.FileManager1.ShowItems call on the session bus with all of them. Where no file
// manager answers, the folder holding the first one opens instead. Returns at once.
void reveal(const QList<QUrl> &urls);

// Opens a file or folder with its default application (xdg-open or the desktop's portal). False when
// nothing could be started.
bool open(const QUrl &url);

} // namespace FileManager
