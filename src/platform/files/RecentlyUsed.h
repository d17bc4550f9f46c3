#pragma once

#include <QDateTime>
#include <QList>
#include <QString>
#include <QUrl>

// The desktop's list of recently used files, $XDG_DATA_HOME/recently-used.xbel, which GTK programs
// keep and file managers show as "Recent". Velk adds to it as a GTK program does when it opens a
// file, so that files opened from Velk show up there and carry a last used date.
namespace RecentlyUsed {

// $XDG_DATA_HOME/recently-used.xbel
QString path();

// Who opened the files: a name and a command line with "%u" for the file ("velk %u").
struct Application {
    QString name;
    QString exec;

    // This program, by its application name and executable.
    static Application current();
};

// Records that `application` used these local files at `when`: a new bookmark for a file not yet on
// the list, and for one that is, a fresh modified and visited date and one more use by the
// application. Every other bookmark, element and attribute in the file stays as it was, and the file
// is replaced in one step. Nothing is written when the existing list cannot be read as XBEL (another
// program may be halfway through writing it), or when the path is not a regular file (a link to
// /dev/null is how some people switch the list off). True when the list was written.
bool add(const QList<QUrl> &files, const Application &application, const QDateTime &when);
bool add(const QList<QUrl> &files);

} // namespace RecentlyUsed
