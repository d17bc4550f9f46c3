#pragma once

#include "RawEnum.h"

#include <QDateTime>
#include <QString>

#include <optional>

class SortKey : public RawEnum<SortKey>
{
public:
    enum Case { name, date, size, kind };
    static constexpr const char *rawValues[] = {"name", "date", "size", "kind"};

    constexpr SortKey(Case c)
        : RawEnum(c)
    {
    }
    constexpr operator Case() const { return Case(m_index); }

    QString label() const;
    // The direction a sort starts in when this key is chosen.
    bool defaultAscending() const { return *this == name || *this == kind; }
};

class ViewMode : public RawEnum<ViewMode>
{
public:
    enum Case { grid, list };
    static constexpr const char *rawValues[] = {"grid", "list"};

    constexpr ViewMode(Case c)
        : RawEnum(c)
    {
    }
    constexpr operator Case() const { return Case(m_index); }

    QString symbol() const;
};

class CardSize : public RawEnum<CardSize>
{
public:
    enum Case { small, medium, large };
    static constexpr const char *rawValues[] = {"small", "medium", "large"};

    constexpr CardSize(Case c)
        : RawEnum(c)
    {
    }
    constexpr operator Case() const { return Case(m_index); }

    QString label() const;
};

// A lower bound on size, in decimal bytes.
class SizeFilter : public RawEnum<SizeFilter>
{
public:
    enum Case { any, mb1, mb10, mb100, gb1 };
    static constexpr const char *rawValues[] = {"any", "mb1", "mb10", "mb100", "gb1"};

    constexpr SizeFilter(Case c)
        : RawEnum(c)
    {
    }
    constexpr operator Case() const { return Case(m_index); }

    QString label() const;
    qint64 minimumBytes() const;
};

// A lower bound on the modification date, computed at the moment of asking.
class DateFilter : public RawEnum<DateFilter>
{
public:
    enum Case { any, today, week, month, year };
    static constexpr const char *rawValues[] = {"any", "today", "week", "month", "year"};

    constexpr DateFilter(Case c)
        : RawEnum(c)
    {
    }
    constexpr operator Case() const { return Case(m_index); }

    QString label() const;
    std::optional<QDateTime> cutoff() const { return cutoff(QDateTime::currentDateTime()); }
    // "today" is the start of `now`'s day in the local time zone.
    std::optional<QDateTime> cutoff(const QDateTime &now) const;
};
