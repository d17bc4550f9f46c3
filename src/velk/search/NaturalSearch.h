#pragma once

#include "Calendar.h"
#include "ParsedQuery.h"

#include <QDateTime>
#include <QString>
#include <QStringList>

// Everyday language to a ParsedQuery: "big videos from last week in downloads". One left-to-right scan
// over tokens with a fixed order of rules; it never fails, and it touches no file.
namespace NaturalSearch {

ParsedQuery parse(const QString &raw, const QDateTime &now, const Calendar &calendar);
inline ParsedQuery parse(const QString &raw)
{
    return parse(raw, QDateTime::currentDateTime(), Calendar::current());
}

// Lower-cased words, with ">" and "<" split off and trailing punctuation and "'s" removed.
QStringList tokenize(const QString &text);

} // namespace NaturalSearch
