#pragma once

#include "MetadataRecord.h"
#include "mdindex/TextMatch.h"

#include <QDateTime>
#include <QStringList>
#include <QVariant>

#include <optional>
#include <variant>
#include <vector>

namespace mdindex {

enum class Op { equal, notEqual, less, greater, lessEqual, greaterEqual };

// One attribute compared with one value. The value is std::monostate for `*` (== * asks whether the
// attribute is there, != * whether it is missing), a text pattern, a number or a time.
struct Comparison {
    QString attribute;
    Op op = Op::equal;
    std::variant<std::monostate, TextPattern, double, QDateTime> value;

    // attributeValue as a record gives it: invalid when missing; text, number, bool, date or a list of texts.
    bool matches(const QVariant &attributeValue) const;
};

// The parsed query: `all` for &&, `any` for ||, each with two or more children; a leaf holds its comparison.
struct Node {
    enum class Kind { all, any, comparison };
    Kind kind = Kind::comparison;
    std::vector<Node> children;
    std::optional<Comparison> comparison;
};

class Query
{
public:
    // No query for text that is not entirely a well-formed query. $time values are resolved against
    // now, in the local time zone.
    static std::optional<Query> parse(QStringView text, const QDateTime &now = QDateTime::currentDateTime());

    const Node &root() const { return m_root; }
    bool matches(const MetadataRecord &record) const;
    // Every attribute the query names, each once, in order of appearance.
    QStringList attributes() const { return m_attributes; }

private:
    Node m_root;
    QStringList m_attributes;
};

} // namespace mdindex
