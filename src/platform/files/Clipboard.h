#pragma once

#include <QList>
#include <QMimeData>
#include <QString>
#include <QUrl>

#include <memory>

// The desktop's clipboard and the data of a drag. Needs a QGuiApplication; without one nothing is
// written.
namespace Clipboard {

// Files in the forms that file managers paste: text/uri-list, the GNOME copied-files form
// ("copy", then one URI a line), which Nautilus, Nemo, Thunar and others read, and their paths as
// plain text for text fields and terminals.
std::unique_ptr<QMimeData> filesData(const QList<QUrl> &urls);

// One file dragged out of the program, as text/uri-list; empty data when the file is gone.
std::unique_ptr<QMimeData> dragData(const QUrl &url);

// Replaces the clipboard's contents.
void setFiles(const QList<QUrl> &urls);
void setText(const QString &text);

} // namespace Clipboard
