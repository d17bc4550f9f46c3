#pragma once

#include <QDateTime>
#include <QLocale>
#include <QTimeZone>

#include <utility>

// The calendar units a typed date phrase can name.
enum class DateUnit { day, weekOfYear, month, year };

// Gregorian calendar arithmetic in one time zone, with the locale's first day of the week and month
// names. Everything the date phrases of a search need, and nothing more.
struct Calendar {
    QTimeZone timeZone = QTimeZone::systemTimeZone();
    Qt::DayOfWeek firstDayOfWeek = Qt::Monday;
    QLocale locale;

    // The user's calendar: the system time zone and the current locale.
    static Calendar current();

    QDateTime startOfDay(const QDateTime &when) const;
    // `count` units later (negative: earlier), keeping the wall-clock time where the date allows.
    QDateTime adding(DateUnit unit, qint64 count, const QDateTime &when) const;
    // The whole day, week, month or year that holds `when`: its start, inclusive, and end, exclusive.
    std::pair<QDateTime, QDateTime> interval(DateUnit unit, const QDateTime &when) const;
    // The start of day 1 of `month` in `year`.
    QDateTime startOfMonth(int year, int month) const;
    // The full month name in the locale's language, month 1 to 12.
    QString monthName(int month) const;
    QDate date(const QDateTime &when) const { return when.toTimeZone(timeZone).date(); }
};
