#pragma once

#include <QHashFunctions>
#include <QList>
#include <QString>

#include <optional>

// Base of the closed enums that carry a text raw value. A derived class declares
//   enum Case { ... };  static constexpr const char *rawValues[] = { ... };
// in declaration order, a constructor from Case and a conversion back to it, and gets
// rawValue(), id(), fromRaw() and allCases() from here.
template<typename Derived>
class RawEnum
{
public:
    QString rawValue() const { return QString::fromLatin1(Derived::rawValues[m_index]); }
    QString id() const { return rawValue(); }
    int index() const { return m_index; }

    static std::optional<Derived> fromRaw(QStringView raw)
    {
        for (int i = 0; i < count(); ++i) {
            if (raw == QLatin1StringView(Derived::rawValues[i]))
                return Derived(typename Derived::Case(i));
        }
        return std::nullopt;
    }

    static QList<Derived> allCases()
    {
        QList<Derived> cases;
        cases.reserve(count());
        for (int i = 0; i < count(); ++i)
            cases.append(Derived(typename Derived::Case(i)));
        return cases;
    }

    static constexpr int count() { return int(std::size(Derived::rawValues)); }

    friend size_t qHash(Derived value, size_t seed = 0) noexcept { return qHash(value.m_index, seed); }

protected:
    constexpr explicit RawEnum(int index)
        : m_index(index)
    {
    }

    int m_index;
};
