#include "RecentlyUsedReader.h"
#include "FilePath.h"

#include <QFile>
#include <QStandardPaths>
#include <QUrl>
#include <QXmlStreamReader>

namespace {

// The list is trimmed by the programs that write it; anything larger is not one.
constexpr qint64 kMaxListSize = 64 * 1024 * 1024;

constexpr QLatin1StringView kBookmarkNamespace("http://www.freedesktop.org/standards/desktop-bookmarks");

// GLib writes microseconds ("2024-05-01T12:34:56.123456Z"), which Qt reads to the millisecond; older
// writers whole seconds.
QDateTime stamp(QStringView text)
{
    const QDateTime when = QDateTime::fromString(text.toString(), Qt::ISODateWithMs);
    return when.isValid() ? when.toUTC() : QDateTime();
}

void keepLatest(QDateTime &known, const QDateTime &when)
{
    if (when.isValid() && (!known.isValid() || when > known))
        known = when;
}

// Words as a shell splits them.
QStringList words(QStringView text)
{
    QStringList out;
    QString word;
    bool inWord = false;
    QChar quote;
    for (qsizetype i = 0; i < text.size(); ++i) {
        const QChar c = text[i];
        if (quote == u'\'') {
            if (c == u'\'')
                quote = QChar();
            else
                word += c;
        } else if (quote == u'"') {
            if (c == u'"')
                quote = QChar();
            else if (c == u'\\' && i + 1 < text.size())
                word += text[++i];
            else
                word += c;
        } else if (c.isSpace()) {
            if (inWord)
                out.append(std::exchange(word, QString()));
            inWord = false;
        } else {
            inWord = true;
            if (c == u'\'' || c == u'"')
                quote = c;
            else if (c == u'\\' && i + 1 < text.size())
                word += text[++i];
            else
                word += c;
        }
    }
    if (inWord)
        out.append(word);
    return out;
}

QString baseName(const QString &word)
{
    return word.mid(word.lastIndexOf(u'/') + 1);
}

} // namespace

namespace RecentlyUsedReader {

QString defaultPath()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) + QStringLiteral("/recently-used.xbel");
}

QString programOf(QStringView command)
{
    QStringList parts = words(command);
    // GLib quotes the whole command as one word: "'evince %u'".
    if (parts.size() == 1 && parts.first().contains(u' '))
        parts = words(parts.first());
    qsizetype i = 0;
    if (i < parts.size() && baseName(parts[i]) == QLatin1StringView("env")) {
        ++i;
        while (i < parts.size() && (parts[i].startsWith(u'-') || parts[i].contains(u'=')))
            ++i;
    }
    if (i >= parts.size())
        return {};
    if (baseName(parts[i]) == QLatin1StringView("flatpak") && i + 1 < parts.size() && parts[i + 1] == QLatin1StringView("run")) {
        QString appId;
        for (qsizetype j = i + 2; j < parts.size(); ++j) {
            if (parts[j].startsWith(QLatin1StringView("--command=")))
                return baseName(parts[j].mid(10));
            if (!parts[j].startsWith(u'-')) {
                appId = parts[j];
                break;
            }
        }
        return appId;
    }
    return baseName(parts[i]);
}

Contents readContents(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return parseContents(file.read(kMaxListSize));
}

Contents parseContents(QByteArrayView xbel)
{
    Contents contents;
    QHash<QString, qsizetype> applicationIndex; // by name and program
    QXmlStreamReader reader(QByteArray::fromRawData(xbel.data(), xbel.size()));
    while (!reader.atEnd() && reader.readNext() != QXmlStreamReader::Invalid) {
        if (!reader.isStartElement())
            continue;
        const QXmlStreamAttributes attributes = reader.attributes();
        if (reader.name() == QLatin1StringView("application") && reader.namespaceUri() == kBookmarkNamespace) {
            // Older GLib wrote seconds since 1970 as `timestamp`.
            QDateTime when = stamp(attributes.value(QLatin1StringView("modified")));
            if (!when.isValid()) {
                bool ok = false;
                const qint64 seconds = attributes.value(QLatin1StringView("timestamp")).toLongLong(&ok);
                if (ok && seconds > 0)
                    when = QDateTime::fromSecsSinceEpoch(seconds, Qt::UTC);
            }
            const QString name = attributes.value(QLatin1StringView("name")).toString().trimmed();
            const QString program = programOf(attributes.value(QLatin1StringView("exec")));
            if (!when.isValid() || (name.isEmpty() && program.isEmpty()))
                continue;
            const QString key = name + u'\n' + program;
            if (const auto known = applicationIndex.constFind(key); known != applicationIndex.cend()) {
                keepLatest(contents.applications[*known].lastUsed, when);
            } else {
                applicationIndex.insert(key, contents.applications.size());
                contents.applications.append({name, program, when});
            }
            continue;
        }
        if (reader.name() != QLatin1StringView("bookmark"))
            continue;
        const QUrl url(attributes.value(QLatin1StringView("href")).toString());
        if (!url.isLocalFile())
            continue;
        QDateTime when;
        for (const char *name : {"visited", "modified"})
            keepLatest(when, stamp(attributes.value(QLatin1StringView(name))));
        // A file may be listed more than once; its latest stamp counts.
        if (when.isValid())
            keepLatest(contents.files[FilePath::fromUrl(url)], when);
    }
    return contents;
}

QHash<QString, QDateTime> read(const QString &path)
{
    return readContents(path).files;
}

QHash<QString, QDateTime> parse(QByteArrayView xbel)
{
    return parseContents(xbel).files;
}

} // namespace RecentlyUsedReader
