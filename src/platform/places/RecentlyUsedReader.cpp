#include "RecentlyUsedReader.h"

#include <QFile>
#include <QStandardPaths>
#include <QUrl>
#include <QXmlStreamReader>

namespace {

// The list is trimmed by the programs that write it; anything larger is not one.
constexpr qint64 kMaxListSize = 64 * 1024 * 1024;

// GLib writes microseconds ("2024-05-01T12:34:56.123456Z"), which Qt reads to the millisecond; older
// writers whole seconds.
QDateTime stamp(QStringView text)
{
    const QDateTime when = QDateTime::fromString(text.toString(), Qt::ISODateWithMs);
    return when.isValid() ? when.toUTC() : QDateTime();
}

} // namespace

namespace RecentlyUsedReader {

QString defaultPath()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) + QStringLiteral("/recently-used.xbel");
}

QHash<QString, QDateTime> read(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return parse(file.read(kMaxListSize));
}

QHash<QString, QDateTime> parse(QByteArrayView xbel)
{
    QHash<QString, QDateTime> latest;
    QXmlStreamReader reader(QByteArray::fromRawData(xbel.data(), xbel.size()));
    while (!reader.atEnd() && reader.readNext() != QXmlStreamReader::Invalid) {
        if (!reader.isStartElement() || reader.name() != QLatin1StringView("bookmark"))
            continue;
        const QXmlStreamAttributes attributes = reader.attributes();
        const QUrl url(attributes.value(QLatin1StringView("href")).toString());
        if (!url.isLocalFile())
            continue;
        QDateTime when;
        for (const char *name : {"visited", "modified"}) {
            const QDateTime candidate = stamp(attributes.value(QLatin1StringView(name)));
            if (candidate.isValid() && (!when.isValid() || candidate > when))
                when = candidate;
        }
        if (!when.isValid())
            continue;
        // A file may be listed more than once; its latest stamp counts.
        QDateTime &known = latest[url.toLocalFile()];
        if (!known.isValid() || when > known)
            known = when;
    }
    return latest;
}

} // namespace RecentlyUsedReader
