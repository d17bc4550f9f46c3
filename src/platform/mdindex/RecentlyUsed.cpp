#include "RecentlyUsed.h"

#include <QDateTime>
#include <QFile>
#include <QStandardPaths>
#include <QUrl>
#include <QXmlStreamReader>

namespace mdindex {

QString recentlyUsedPath()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) + QStringLiteral("/recently-used.xbel");
}

QHash<QString, qint64> readRecentlyUsed(const QString &file)
{
    QHash<QString, qint64> lastUsed;
    QFile input(file);
    if (!input.open(QIODevice::ReadOnly))
        return lastUsed;
    QXmlStreamReader xml(&input);
    while (!xml.atEnd()) {
        if (xml.readNext() != QXmlStreamReader::StartElement || xml.name() != QLatin1StringView("bookmark"))
            continue;
        const QXmlStreamAttributes attributes = xml.attributes();
        const QUrl url(attributes.value(QLatin1StringView("href")).toString());
        if (!url.isLocalFile())
            continue;
        qint64 latest = -1;
        for (const char *stamp : {"visited", "modified"}) {
            const QDateTime when = QDateTime::fromString(attributes.value(QLatin1StringView(stamp)).toString(), Qt::ISODateWithMs);
            if (when.isValid())
                latest = std::max(latest, when.toMSecsSinceEpoch());
        }
        if (latest < 0)
            continue;
        const QString path = url.toLocalFile();
        lastUsed.insert(path, std::max(latest, lastUsed.value(path, -1)));
    }
    return lastUsed;
}

} // namespace mdindex
