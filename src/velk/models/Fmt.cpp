#include "Fmt.h"

#include <QLocale>

#include <cmath>

namespace Fmt {

namespace {

    // The locale's decimal text of `value` with at most `decimals` digits after the mark, trailing zeros
    // dropped.
    QString decimal(double value, int decimals)
    {
        const QLocale locale;
        QString text = locale.toString(value, 'f', decimals);
        if (decimals > 0) {
            const QString mark = locale.decimalPoint();
            if (text.contains(mark)) {
                while (text.endsWith(locale.zeroDigit()))
                    text.chop(locale.zeroDigit().size());
                if (text.endsWith(mark))
                    text.chop(mark.size());
            }
        }
        return text;
    }

    QString plural(qint64 n, const char *unit)
    {
        QString text = QLocale().toString(n) + QLatin1Char(' ') + QLatin1StringView(unit);
        if (n != 1)
            text += QLatin1Char('s');
        return text;
    }

} // namespace

QString bytes(qint64 count)
{
    if (count == 0)
        return QStringLiteral("Zero KB");
    const QString sign = count < 0 ? QStringLiteral("-") : QString();
    const quint64 magnitude = count < 0 ? 0 - quint64(count) : quint64(count);
    if (magnitude < 1000)
        return sign + plural(qint64(magnitude), "byte");

    static const char *const units[] = {"KB", "MB", "GB", "TB", "PB", "EB"};
    constexpr int lastUnit = int(std::size(units)) - 1;
    double value = double(magnitude) / 1000.0;
    for (int unit = 0;; ++unit) {
        // Kilobytes are whole, megabytes have one decimal, larger units two.
        const int decimals = unit == 0 ? 0 : unit == 1 ? 1 : 2;
        const double scale = std::pow(10.0, decimals);
        const double rounded = std::round(value * scale) / scale;
        if (rounded >= 1000.0 && unit < lastUnit) {
            value /= 1000.0;
            continue;
        }
        return sign + decimal(rounded, decimals) + QLatin1Char(' ') + QLatin1StringView(units[unit]);
    }
}

QString duration(double seconds)
{
    if (!std::isfinite(seconds) || seconds < 0)
        return QStringLiteral("0:00");
    // Beyond a few million years the exact figure stops meaning anything; keep the arithmetic in range.
    const qint64 total = qint64(std::min(std::round(seconds), 1e15));
    const qint64 hours = total / 3600;
    const qint64 minutes = total % 3600 / 60;
    const qint64 secs = total % 60;
    if (total < 3600)
        return QString::asprintf("%lld:%02lld", minutes, secs);
    return QString::asprintf("%lld:%02lld:%02lld", hours, minutes, secs);
}

QString date(const QDateTime &when)
{
    return date(when, QDateTime::currentDateTime());
}

QString date(const QDateTime &when, const QDateTime &now)
{
    if (when.secsTo(now) < 518400)
        return relativeDate(when, now);
    return abbreviatedDate(when);
}

QString relativeDate(const QDateTime &when, const QDateTime &now)
{
    const bool future = when > now;
    QDateTime from = (future ? now : when).toLocalTime();
    const QDateTime to = (future ? when : now).toLocalTime();

    // Whole calendar years and months first, then fixed-length units for the rest: the largest unit
    // that is not zero names the distance.
    qint64 years = 0;
    while (from.addYears(1) <= to) {
        from = from.addYears(1);
        ++years;
    }
    qint64 months = 0;
    while (from.addMonths(1) <= to) {
        from = from.addMonths(1);
        ++months;
    }
    const qint64 rest = from.secsTo(to);
    const struct {
        qint64 value;
        const char *unit;
        const char *last;
        const char *next;
    } parts[] = {
        {years, "year", "last year", "next year"},
        {months, "month", "last month", "next month"},
        {rest / 604800, "week", "last week", "next week"},
        {rest % 604800 / 86400, "day", "yesterday", "tomorrow"},
        {rest % 86400 / 3600, "hour", nullptr, nullptr},
        {rest % 3600 / 60, "minute", nullptr, nullptr},
        {rest % 60, "second", nullptr, nullptr},
    };
    for (const auto &part : parts) {
        if (part.value == 0)
            continue;
        if (part.value == 1 && part.last)
            return QString::fromLatin1(future ? part.next : part.last);
        const QString amount = plural(part.value, part.unit);
        return future ? QStringLiteral("in ") + amount : amount + QStringLiteral(" ago");
    }
    return QStringLiteral("now");
}

QString abbreviatedDate(const QDateTime &when)
{
    // The locale's long date without the weekday and with the short month name: "Nov 16, 2026" in
    // the United States, "16. Nov. 2026" in Germany.
    const QLocale locale;
    QString format = locale.dateFormat(QLocale::LongFormat);
    for (const char *weekday : {"dddd, ", "dddd ", ", dddd", " dddd", "dddd"})
        format.remove(QLatin1StringView(weekday));
    format.replace(QLatin1StringView("MMMM"), QLatin1StringView("MMM"));
    return locale.toString(when.toLocalTime().date(), format.trimmed());
}

} // namespace Fmt
