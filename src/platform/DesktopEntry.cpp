#include "DesktopEntry.h"

#include <QFile>
#include <QLocale>

namespace {

constexpr qint64 kMaxEntrySize = 64 * 1024;

bool isTrue(QByteArrayView value)
{
    return value.trimmed() == "true";
}

// The locale's keys in the order the desktop entry format looks them up: lang_COUNTRY, then lang.
QList<QByteArray> localeKeys()
{
    const QString bcp = QLocale().name(); // "de_DE"
    QList<QByteArray> keys;
    keys.append("Name[" + bcp.toLatin1() + ']');
    const qsizetype underscore = bcp.indexOf(QLatin1Char('_'));
    if (underscore > 0)
        keys.append("Name[" + bcp.left(underscore).toLatin1() + ']');
    return keys;
}

QString unescape(QByteArrayView raw)
{
    QString out = QString::fromUtf8(raw.trimmed());
    out.replace(QLatin1StringView("\\s"), QLatin1StringView(" "));
    out.replace(QLatin1StringView("\\t"), QLatin1StringView("\t"));
    out.replace(QLatin1StringView("\\n"), QLatin1StringView(" "));
    out.replace(QLatin1StringView("\\\\"), QLatin1StringView("\\"));
    return out;
}

} // namespace

std::optional<DesktopEntry> DesktopEntry::read(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return std::nullopt;
    return parse(file.read(kMaxEntrySize));
}

std::optional<DesktopEntry> DesktopEntry::parse(QByteArrayView contents)
{
    const QList<QByteArray> localized = localeKeys();
    DesktopEntry entry;
    bool inMainGroup = false;
    bool sawMainGroup = false;
    int nameRank = -1; // 0 plain Name, 1 language, 2 language and country

    for (QByteArrayView line : QByteArray(contents.data(), contents.size()).split('\n')) {
        line = line.trimmed();
        if (line.isEmpty() || line.startsWith('#'))
            continue;
        if (line.startsWith('[')) {
            inMainGroup = line == "[Desktop Entry]";
            sawMainGroup = sawMainGroup || inMainGroup;
            continue;
        }
        if (!inMainGroup)
            continue;
        const qsizetype eq = line.indexOf('=');
        if (eq <= 0)
            continue;
        const QByteArrayView key = line.first(eq).trimmed();
        const QByteArrayView value = line.sliced(eq + 1);
        if (key == "Type") {
            entry.type = unescape(value);
        } else if (key == "Hidden") {
            entry.hidden = isTrue(value);
        } else if (key == "NoDisplay") {
            entry.noDisplay = isTrue(value);
        } else if (key == "Icon") {
            entry.icon = unescape(value);
        } else if (key == "Exec") {
            entry.exec = unescape(value);
        } else if (key == "Name" && nameRank < 0) {
            entry.name = unescape(value);
            nameRank = 0;
        } else if (key.startsWith("Name[")) {
            for (int i = 0; i < localized.size(); ++i) {
                const int rank = 2 - i;
                if (key == localized[i] && rank > nameRank) {
                    entry.name = unescape(value);
                    nameRank = rank;
                }
            }
        }
    }
    if (!sawMainGroup)
        return std::nullopt;
    return entry;
}
