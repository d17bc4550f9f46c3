#pragma once

#include <QByteArrayView>
#include <QDateTime>
#include <QHash>
#include <QList>
#include <QString>

// The desktop's list of recently used files, which GTK programs (and Velk, when it hands a file to
// another program) add to whenever a file is opened. It is where the last used date of a file comes
// from; file access times are not, since backups, indexers and thumbnailers touch those. Each entry
// also names the programs that opened the file and when each last did, which is where the last used
// date of an app comes from.
namespace RecentlyUsedReader {

// $XDG_DATA_HOME/recently-used.xbel
QString defaultPath();

// A program the list names as having opened something.
struct Application {
    QString name; // what the program calls itself: "Document Viewer", "org.gnome.Evince", "velk"
    QString program; // the first word of its command without folders: "evince"
    QDateTime lastUsed; // the latest time it opened anything in the list
};

struct Contents {
    // The latest `visited` or `modified` stamp of each local file, keyed by absolute path.
    QHash<QString, QDateTime> files;
    // One entry per name and program.
    QList<Application> applications;
};

// A missing or unreadable list gives nothing; a malformed one gives what was read before the fault.
Contents readContents(const QString &path = defaultPath());
Contents parseContents(QByteArrayView xbel);

// The files alone.
QHash<QString, QDateTime> read(const QString &path = defaultPath());
QHash<QString, QDateTime> parse(QByteArrayView xbel);

// The program a command line starts, without folders: "'evince %u'" and "env LANG=C /usr/bin/evince
// %U" both give "evince". Single and double quotes and backslashes are taken as a shell takes them;
// `flatpak run` gives the command it runs inside the sandbox, or else the app's id.
QString programOf(QStringView command);

} // namespace RecentlyUsedReader
