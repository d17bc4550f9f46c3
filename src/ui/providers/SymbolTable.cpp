#include "SymbolTable.h"

#include <QFile>
#include <QMutex>
#include <QSet>

SymbolTable::SymbolTable(QObject *parent)
    : QObject(parent)
{
}

const QHash<QString, QString> &SymbolTable::table()
{
    // The same list the build copies the icons by.
    static const QHash<QString, QString> symbols = [] {
        QHash<QString, QString> map;
        QFile file(QStringLiteral(":/symbols/symbols.txt"));
        if (!file.open(QIODevice::ReadOnly | QIODevice::Text))
            return map;
        while (!file.atEnd()) {
            const QString line = QString::fromUtf8(file.readLine()).trimmed();
            if (line.isEmpty() || line.startsWith(QLatin1Char('#')))
                continue;
            const QStringList parts = line.split(QLatin1Char(' '), Qt::SkipEmptyParts);
            if (parts.size() == 2)
                map.insert(parts[0], parts[1]);
        }
        return map;
    }();
    return symbols;
}

QString SymbolTable::iconName(const QString &name)
{
    return table().value(name);
}

QUrl SymbolTable::source(const QString &name)
{
    if (name.isEmpty())
        return {};
    QString icon = iconName(name);
    if (icon.isEmpty()) {
        static QMutex mutex;
        static QSet<QString> warned;
        QMutexLocker lock(&mutex);
        if (!warned.contains(name)) {
            warned.insert(name);
            qWarning("velk: no icon for the symbol \"%s\"", qPrintable(name));
        }
        icon = QStringLiteral("question-circle");
    }
    return QUrl(QStringLiteral("qrc:/symbols/%1.svg").arg(icon));
}
