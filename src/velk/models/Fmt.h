#pragma once

#include <QDateTime>
#include <QString>

// The one place where byte counts, durations and dates become text. Numbers follow the locale's
// grouping and decimal mark; the words are English.
namespace Fmt {

// Decimal units as file sizes are shown: "Zero KB", "1 byte", "999 bytes", "1 KB", "1.5 MB", "1.23 GB".
QString bytes(qint64 count);
// "m:ss" below an hour, "h:mm:ss" from an hour on; "0:00" for negative or non-finite input.
QString duration(double seconds);
// Relative ("yesterday", "3 hours ago", "in 2 days") for anything less than six days old, including
// the future; otherwise the abbreviated date, such as "Nov 16, 2026".
QString date(const QDateTime &date);
QString date(const QDateTime &date, const QDateTime &now);
QString relativeDate(const QDateTime &date, const QDateTime &now);
QString abbreviatedDate(const QDateTime &date);

} // namespace Fmt
