#include "MimeApps.h"

#include "DesktopEntry.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QMimeDatabase>
#include <QSet>
#include <QStandardPaths>

#include <mutex>

namespace MimeApps {

namespace {

    using Table = QHash<QString, QStringList>; // MIME type to desktop entry IDs

    struct ListFile {
        Table defaults;
        Table added;
        Table removed;
    };

    // Reads the "key=a;b;c" lines of every group.
    QHash<QString, Table> readGroups(const QString &path)
    {
        QHash<QString, Table> groups;
        QFile file(path);
        if (!file.open(QIODevice::ReadOnly))
            return groups;
        Table *group = nullptr;
        while (!file.atEnd()) {
            const QString line = QString::fromUtf8(file.readLine()).trimmed();
            if (line.isEmpty() || line.startsWith(QLatin1Char('#')))
                continue;
            if (line.startsWith(QLatin1Char('['))) {
                group = &groups[line.mid(1, line.indexOf(QLatin1Char(']')) - 1)];
                continue;
            }
            const qsizetype eq = line.indexOf(QLatin1Char('='));
            if (group && eq > 0)
                (*group)[line.left(eq).trimmed()].append(line.mid(eq + 1).split(QLatin1Char(';'), Qt::SkipEmptyParts));
        }
        return groups;
    }

    QStringList pathList(const char *variable, const char *fallback)
    {
        QString value = qEnvironmentVariable(variable);
        if (value.isEmpty())
            value = QString::fromLatin1(fallback);
        return value.split(QLatin1Char(':'), Qt::SkipEmptyParts);
    }

    // Every mimeapps.list in the order that decides: the user's configuration, the system's, then the
    // lists shipped beside the desktop entries; each desktop-specific list before the plain one.
    QStringList listFiles()
    {
        QStringList folders {QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation)};
        folders += pathList("XDG_CONFIG_DIRS", "/etc/xdg");
        folders += applicationFolders();
        QStringList desktops;
        for (const QString &desktop : qEnvironmentVariable("XDG_CURRENT_DESKTOP").split(QLatin1Char(':'), Qt::SkipEmptyParts))
            desktops.append(desktop.toLower());
        QStringList files;
        for (const QString &folder : std::as_const(folders)) {
            for (const QString &desktop : std::as_const(desktops))
                files.append(folder + QLatin1Char('/') + desktop + QStringLiteral("-mimeapps.list"));
            files.append(folder + QStringLiteral("/mimeapps.list"));
        }
        files.removeDuplicates();
        return files;
    }

    QStringList mimeTypesOfEntry(const QString &path)
    {
        const Table main = readGroups(path).value(QStringLiteral("Desktop Entry"));
        return main.value(QStringLiteral("MimeType"));
    }

    // The associations the desktop entries of one folder declare: from its mimeinfo.cache where
    // update-desktop-database left one, otherwise from the entries themselves.
    Table folderAssociations(const QString &folder)
    {
        const QString cache = folder + QStringLiteral("/mimeinfo.cache");
        if (QFileInfo::exists(cache))
            return readGroups(cache).value(QStringLiteral("MIME Cache"));
        Table table;
        QDirIterator it(folder, {QStringLiteral("*.desktop")}, QDir::Files, QDirIterator::Subdirectories);
        while (it.hasNext()) {
            const QString path = it.next();
            const QString id = path.mid(folder.size() + 1).replace(QLatin1Char('/'), QLatin1Char('-'));
            for (const QString &mime : mimeTypesOfEntry(path))
                table[mime].append(id);
        }
        return table;
    }

    struct Snapshot {
        QString signature;
        QList<ListFile> lists;
        QList<Table> folders;
    };

    // What the answer depends on, cheap to compare: the files and folders with their change times.
    QString signature(const QStringList &lists, const QStringList &folders)
    {
        QString text;
        for (const QString &path : lists + folders) {
            const QFileInfo info(path);
            text += path + QLatin1Char('=') + (info.exists() ? QString::number(info.lastModified().toMSecsSinceEpoch()) : QString()) + QLatin1Char('\n');
        }
        return text;
    }

    std::shared_ptr<const Snapshot> snapshot()
    {
        static std::mutex mutex;
        static std::shared_ptr<const Snapshot> current;
        const QStringList lists = listFiles();
        const QStringList folders = applicationFolders();
        const QString sig = signature(lists, folders);
        std::lock_guard lock(mutex);
        if (current && current->signature == sig)
            return current;
        auto fresh = std::make_shared<Snapshot>();
        fresh->signature = sig;
        for (const QString &path : lists) {
            if (!QFileInfo::exists(path))
                continue;
            const QHash<QString, Table> groups = readGroups(path);
            fresh->lists.append({groups.value(QStringLiteral("Default Applications")), groups.value(QStringLiteral("Added Associations")),
                groups.value(QStringLiteral("Removed Associations"))});
        }
        for (const QString &folder : folders)
            fresh->folders.append(folderAssociations(folder));
        current = fresh;
        return current;
    }

    QStringList idVariants(const QString &id)
    {
        // "kde-okular.desktop" may be applications/kde/okular.desktop: each dash may stand for a folder.
        QStringList variants {id};
        for (qsizetype i = 0; i < id.size(); ++i) {
            if (id.at(i) != QLatin1Char('-'))
                continue;
            const QStringList current = variants;
            for (QString variant : current) {
                variant[i] = QLatin1Char('/');
                variants.append(variant);
            }
            if (variants.size() > 16)
                break;
        }
        return variants;
    }

} // namespace

QStringList applicationFolders()
{
    QStringList folders {QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) + QStringLiteral("/applications")};
    for (const QString &data : pathList("XDG_DATA_DIRS", "/usr/local/share:/usr/share"))
        folders.append(data + QStringLiteral("/applications"));
    folders.removeDuplicates();
    return folders;
}

QString desktopEntryFile(const QString &id)
{
    if (id.isEmpty() || id.contains(QLatin1Char('/')))
        return {};
    for (const QString &folder : applicationFolders()) {
        for (const QString &variant : idVariants(id)) {
            const QString path = folder + QLatin1Char('/') + variant;
            if (!QFileInfo(path).isFile())
                continue;
            // The first entry of an ID decides, even when it hides the application.
            const auto entry = DesktopEntry::read(path);
            if (!entry || entry->hidden || entry->type != QLatin1StringView("Application"))
                return {};
            return path;
        }
    }
    return {};
}

QString defaultApplication(const QString &mimeType)
{
    static const QMimeDatabase database;
    const QMimeType mime = database.mimeTypeForName(mimeType);
    QStringList types {mime.isValid() ? mime.name() : mimeType};
    if (mime.isValid())
        types += mime.allAncestors();
    const auto snap = snapshot();

    // An explicit default for the type or any type it derives from wins over every mere association.
    for (const QString &type : std::as_const(types)) {
        for (const ListFile &list : snap->lists) {
            for (const QString &id : list.defaults.value(type)) {
                if (QString file = desktopEntryFile(id); !file.isEmpty())
                    return file;
            }
        }
    }
    for (const QString &type : std::as_const(types)) {
        QSet<QString> removed;
        for (const ListFile &list : snap->lists) {
            for (const QString &id : list.added.value(type)) {
                if (removed.contains(id))
                    continue;
                if (QString file = desktopEntryFile(id); !file.isEmpty())
                    return file;
            }
            for (const QString &id : list.removed.value(type))
                removed.insert(id);
        }
        for (const Table &folder : snap->folders) {
            for (const QString &id : folder.value(type)) {
                if (removed.contains(id))
                    continue;
                if (QString file = desktopEntryFile(id); !file.isEmpty())
                    return file;
            }
        }
    }
    return {};
}

QString defaultApplicationForFile(const QString &path)
{
    static const QMimeDatabase database;
    return defaultApplication(database.mimeTypeForFile(path).name());
}

} // namespace MimeApps
