#include "Calendar.h"

Calendar Calendar::current()
{
    Calendar calendar;
    calendar.firstDayOfWeek = calendar.locale.firstDayOfWeek();
    return calendar;
}

QDateTime Calendar::startOfDay(const QDateTime &when) const
{
    return date(when).startOfDay(timeZone);
}

QDateTime Calendar::adding(DateUnit unit, qint64 count, const QDateTime &when) const
{
    const QDateTime local = when.toTimeZone(timeZone);
    // Beyond a few thousand years the calendar has nothing sensible to say; keep QDate in range.
    const int n = int(std::clamp<qint64>(count, -1'000'000, 1'000'000));
    switch (unit) {
    case DateUnit::day:
        return local.addDays(n);
    case DateUnit::weekOfYear:
        return local.addDays(qint64(n) * 7);
    case DateUnit::month:
        return local.addMonths(n);
    case DateUnit::year:
        return local.addYears(n);
    }
    return local;
}

std::pair<QDateTime, QDateTime> Calendar::interval(DateUnit unit, const QDateTime &when) const
{
    const QDate day = date(when);
    QDate first = day;
    switch (unit) {
    case DateUnit::day:
        break;
    case DateUnit::weekOfYear:
        first = day.addDays(-((day.dayOfWeek() - int(firstDayOfWeek) + 7) % 7));
        break;
    case DateUnit::month:
        first = QDate(day.year(), day.month(), 1);
        break;
    case DateUnit::year:
        first = QDate(day.year(), 1, 1);
        break;
    }
    const QDateTime start = first.startOfDay(timeZone);
    return {start, adding(unit, 1, start)};
}

QDateTime Calendar::startOfMonth(int year, int month) const
{
    return QDate(year, month, 1).startOfDay(timeZone);
}

QString Calendar::monthName(int month) const
{
    return locale.standaloneMonthName(month, QLocale::LongFormat);
}
