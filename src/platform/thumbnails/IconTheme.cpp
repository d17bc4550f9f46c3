#include "IconTheme.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QImageReader>
#include <QSet>
#include <QStandardPaths>

#include <memory>
#include <mutex>
#include <vector>

namespace IconTheme {

namespace {

    struct Directory {
        enum Type { fixedSize, scalableSize, thresholdSize };
        QString name;
        int size = 0;
        int minSize = 0;
        int maxSize = 0;
        int threshold = 2;
        Type type = thresholdSize;

        bool matches(int pixels) const
        {
            switch (type) {
            case fixedSize:
                return size == pixels;
            case scalableSize:
                return minSize <= pixels && pixels <= maxSize;
            case thresholdSize:
                break;
            }
            return size - threshold <= pixels && pixels <= size + threshold;
        }

        int distance(int pixels) const
        {
            const int low = type == fixedSize ? size : type == scalableSize ? minSize : size - threshold;
            const int high = type == fixedSize ? size : type == scalableSize ? maxSize : size + threshold;
            return pixels < low ? low - pixels : pixels > high ? pixels - high : 0;
        }
    };

    struct Theme {
        QStringList folders; // the theme's folder below every icon base folder that has one
        QStringList inherits;
        std::vector<Directory> directories;
    };

    using Groups = QHash<QString, QHash<QString, QString>>;

    Groups readGroups(const QString &path)
    {
        Groups groups;
        QFile file(path);
        if (!file.open(QIODevice::ReadOnly))
            return groups;
        QHash<QString, QString> *group = nullptr;
        while (!file.atEnd()) {
            const QString line = QString::fromUtf8(file.readLine()).trimmed();
            if (line.isEmpty() || line.startsWith(QLatin1Char('#')))
                continue;
            if (line.startsWith(QLatin1Char('[')) && line.endsWith(QLatin1Char(']'))) {
                group = &groups[line.mid(1, line.size() - 2)];
                continue;
            }
            const qsizetype eq = line.indexOf(QLatin1Char('='));
            if (group && eq > 0)
                group->insert(line.left(eq).trimmed(), line.mid(eq + 1).trimmed());
        }
        return groups;
    }

    QStringList splitList(const QString &value)
    {
        return value.split(QLatin1Char(','), Qt::SkipEmptyParts);
    }

    QStringList baseFolders()
    {
        QStringList bases {QDir::homePath() + QStringLiteral("/.icons")};
        for (const QString &data : QStandardPaths::standardLocations(QStandardPaths::GenericDataLocation))
            bases.append(data + QStringLiteral("/icons"));
        bases.removeDuplicates();
        return bases;
    }

    // Everything that is read from disk once and then kept: themes, folder listings and answers.
    struct State {
        std::mutex mutex;
        QStringList bases;
        QString current;
        QHash<QString, std::shared_ptr<const Theme>> themes;
        QHash<QString, QSet<QString>> listings;
        QHash<QString, QString> answers;
    };

    State &state()
    {
        static State s;
        return s;
    }

    // Called with the lock held. The XDG folders may change in a test or a session; start over then.
    void refreshBases(State &s)
    {
        QStringList bases = baseFolders();
        if (bases == s.bases)
            return;
        s.bases = std::move(bases);
        s.current.clear();
        s.themes.clear();
        s.listings.clear();
        s.answers.clear();
    }

    std::shared_ptr<const Theme> theme(State &s, const QString &name)
    {
        if (const auto found = s.themes.constFind(name); found != s.themes.constEnd())
            return *found;
        std::shared_ptr<Theme> theme;
        for (const QString &base : std::as_const(s.bases)) {
            const QString folder = base + QLatin1Char('/') + name;
            if (!QFileInfo(folder).isDir())
                continue;
            if (!theme) {
                const Groups groups = readGroups(folder + QStringLiteral("/index.theme"));
                const auto header = groups.constFind(QStringLiteral("Icon Theme"));
                if (header == groups.constEnd())
                    continue;
                theme = std::make_shared<Theme>();
                theme->inherits = splitList(header->value(QStringLiteral("Inherits")));
                for (const QString &dirName : splitList(header->value(QStringLiteral("Directories")))) {
                    const QHash<QString, QString> keys = groups.value(dirName);
                    // Doubled-density folders repeat what the plain ones hold; pixels are asked for
                    // directly here.
                    if (keys.value(QStringLiteral("Scale"), QStringLiteral("1")).toInt() != 1)
                        continue;
                    Directory dir;
                    dir.name = dirName;
                    dir.size = keys.value(QStringLiteral("Size")).toInt();
                    if (dir.size <= 0)
                        continue;
                    dir.minSize = keys.value(QStringLiteral("MinSize"), QString::number(dir.size)).toInt();
                    dir.maxSize = keys.value(QStringLiteral("MaxSize"), QString::number(dir.size)).toInt();
                    dir.threshold = keys.value(QStringLiteral("Threshold"), QStringLiteral("2")).toInt();
                    const QString type = keys.value(QStringLiteral("Type"), QStringLiteral("Threshold"));
                    dir.type = type == QLatin1StringView("Fixed") ? Directory::fixedSize
                        : type == QLatin1StringView("Scalable")   ? Directory::scalableSize
                                                                  : Directory::thresholdSize;
                    theme->directories.push_back(dir);
                }
            }
            theme->folders.append(folder);
        }
        s.themes.insert(name, theme);
        return theme;
    }

    const QSet<QString> &listing(State &s, const QString &folder)
    {
        auto found = s.listings.find(folder);
        if (found == s.listings.end()) {
            const QStringList names = QDir(folder).entryList(QDir::Files);
            found = s.listings.insert(folder, QSet<QString>(names.begin(), names.end()));
        }
        return *found;
    }

    QString fileIn(State &s, const QString &folder, const QString &name)
    {
        const QSet<QString> &names = listing(s, folder);
        for (const char *extension : {".svg", ".png", ".svgz", ".xpm"}) {
            const QString file = name + QLatin1StringView(extension);
            if (names.contains(file))
                return folder + QLatin1Char('/') + file;
        }
        return {};
    }

    QString lookupInTheme(State &s, const Theme &theme, const QString &name, int pixels)
    {
        QString closest;
        int closestDistance = std::numeric_limits<int>::max();
        for (const Directory &dir : theme.directories) {
            for (const QString &folder : theme.folders) {
                const QString file = fileIn(s, folder + QLatin1Char('/') + dir.name, name);
                if (file.isEmpty())
                    continue;
                if (dir.matches(pixels))
                    return file;
                if (const int distance = dir.distance(pixels); distance < closestDistance) {
                    closest = file;
                    closestDistance = distance;
                }
            }
        }
        return closest;
    }

    QString detectCurrent(State &s)
    {
        const QString config = QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation);
        QStringList candidates;
        candidates.append(readGroups(config + QStringLiteral("/kdeglobals")).value(QStringLiteral("Icons")).value(QStringLiteral("Theme")));
        for (const char *gtk : {"/gtk-4.0/settings.ini", "/gtk-3.0/settings.ini"})
            candidates.append(readGroups(config + QLatin1StringView(gtk)).value(QStringLiteral("Settings")).value(QStringLiteral("gtk-icon-theme-name")));
        const QString desktop = qEnvironmentVariable("XDG_CURRENT_DESKTOP").toUpper();
        if (desktop.contains(QLatin1StringView("KDE")) || desktop.contains(QLatin1StringView("LXQT")))
            candidates.append(QStringLiteral("breeze"));
        if (desktop.contains(QLatin1StringView("GNOME")) || desktop.contains(QLatin1StringView("UNITY")) || desktop.contains(QLatin1StringView("BUDGIE")))
            candidates.append(QStringLiteral("Adwaita"));
        // Elsewhere the complete set the program itself depends on.
        candidates.append({QStringLiteral("breeze"), QStringLiteral("Adwaita"), QStringLiteral("hicolor")});
        for (const QString &name : std::as_const(candidates)) {
            if (!name.isEmpty() && theme(s, name))
                return name;
        }
        return QStringLiteral("hicolor");
    }

    // The themes to search, in order: the current one, what it inherits, and hicolor.
    QStringList chain(State &s)
    {
        if (s.current.isEmpty())
            s.current = detectCurrent(s);
        QStringList order;
        QStringList pending {s.current, QStringLiteral("hicolor")};
        while (!pending.isEmpty()) {
            const QString name = pending.takeFirst();
            if (order.contains(name))
                continue;
            const auto found = theme(s, name);
            if (!found)
                continue;
            order.append(name);
            pending = found->inherits + pending;
        }
        return order;
    }

    // Where the chain has none of the names, the complete themes that happen to be installed stand
    // in, so that a sparse theme still gives every file an icon.
    QStringList fallbacks(State &s, const QStringList &chain)
    {
        QStringList order;
        for (const char *fallback : {"breeze", "Adwaita"}) {
            const QString name = QString::fromLatin1(fallback);
            if (!chain.contains(name) && theme(s, name))
                order.append(name);
        }
        return order;
    }

    QString find(State &s, const QStringList &themes, const QString &name, int pixels)
    {
        for (const QString &themeName : themes) {
            if (QString file = lookupInTheme(s, *theme(s, themeName), name, pixels); !file.isEmpty())
                return file;
        }
        return {};
    }

    // Each name through the user's themes first; only then each name in the stand-ins.
    QString lookupAny(const QStringList &names, int pixels)
    {
        State &s = state();
        std::lock_guard lock(s.mutex);
        refreshBases(s);
        const QString key = QString::number(pixels) + QLatin1Char('|') + names.join(QLatin1Char(','));
        if (const auto found = s.answers.constFind(key); found != s.answers.constEnd())
            return *found;
        const QStringList themes = chain(s);
        QString file;
        const QStringList others = fallbacks(s, themes);
        for (int pass = 0; pass < 3 && file.isEmpty(); ++pass) {
            for (const QString &name : names) {
                if (name.isEmpty() || !file.isEmpty())
                    continue;
                file = pass == 0 ? find(s, themes, name, pixels)
                    : pass == 1  ? fileIn(s, QStringLiteral("/usr/share/pixmaps"), name)
                                 : find(s, others, name, pixels);
            }
        }
        s.answers.insert(key, file);
        return file;
    }

} // namespace

QString current()
{
    State &s = state();
    std::lock_guard lock(s.mutex);
    refreshBases(s);
    if (s.current.isEmpty())
        s.current = detectCurrent(s);
    return s.current;
}

QString lookup(const QString &name, int pixels)
{
    return lookupAny({name}, pixels);
}

QImage render(const QString &file, int pixels)
{
    QImageReader reader(file);
    const QSize natural = reader.size();
    const bool vector = reader.format().startsWith("svg");
    if (vector && natural.isValid())
        reader.setScaledSize(natural.scaled(pixels, pixels, Qt::KeepAspectRatio));
    QImage image = reader.read();
    if (image.isNull())
        return {};
    if (image.width() != pixels && image.height() != pixels)
        image = image.scaled(pixels, pixels, Qt::KeepAspectRatio, Qt::SmoothTransformation);
    return image.convertToFormat(QImage::Format_ARGB32_Premultiplied);
}

QImage load(const QStringList &names, int pixels)
{
    const QString file = lookupAny(names, pixels);
    return file.isEmpty() ? QImage() : render(file, pixels);
}

} // namespace IconTheme
