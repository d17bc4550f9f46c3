#include "ViewOptions.h"

QString SortKey::label() const
{
    static const char *const labels[] = {"Name", "Date Modified", "Size", "Kind"};
    return QString::fromLatin1(labels[m_index]);
}

QString ViewMode::symbol() const
{
    static const char *const symbols[] = {"square.grid.2x2", "list.bullet"};
    return QString::fromLatin1(symbols[m_index]);
}

QString CardSize::label() const
{
    const QString raw = rawValue();
    return raw.left(1).toUpper() + raw.mid(1);
}

QString SizeFilter::label() const
{
    static const char *const labels[] = {"Any", "Over 1 MB", "Over 10 MB", "Over 100 MB", "Over 1 GB"};
    return QString::fromLatin1(labels[m_index]);
}

qint64 SizeFilter::minimumBytes() const
{
    static const qint64 minimums[] = {0, 1'000'000, 10'000'000, 100'000'000, 1'000'000'000};
    return minimums[m_index];
}

QString DateFilter::label() const
{
    static const char *const labels[] = {"Any", "Today", "Past Week", "Past Month", "Past Year"};
    return QString::fromLatin1(labels[m_index]);
}

std::optional<QDateTime> DateFilter::cutoff(const QDateTime &now) const
{
    switch (Case(m_index)) {
    case any:
        return std::nullopt;
    case today:
        return QDateTime(now.toLocalTime().date().startOfDay());
    case week:
        return now.addSecs(-604800);
    case month:
        return now.addSecs(-2592000);
    case year:
        return now.addSecs(-31536000);
    }
    return std::nullopt;
}
