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

// Where a query stopped making sense, and what would have made sense there.
struct QueryError {
    // In UTF-16 units from the start of the text.
    qsizetype offset = 0;
    // 1 for the first character, counted in characters.
    qsizetype column = 1;
    QString problem;
    // At most about 40 characters of the text around the place, control characters shown as `?`, an
    // ellipsis where it was cut; `caret` is where the place is in it.
    QString excerpt;
    qsizetype caret = 0;

    // "expected ... at character 18, near “kMDItemFSName == ”"
    QString toString() const;
};

class Query
{
public:
    // Longer text is not parsed at all; deeper brackets than maxDepth neither.
    static constexpr qsizetype maxLength = 4 * 1024 * 1024;
    static constexpr int maxDepth = 100;

    // No query for text that is not entirely a well-formed query. $time values are resolved against
    // now, in the local time zone. Time and memory grow in proportion to the length of the text.
    static std::optional<Query> parse(QStringView text, const QDateTime &now = QDateTime::currentDateTime());
    // The same, saying in `error` where the text stopped making sense when it is no query.
    static std::optional<Query> parse(QStringView text, QueryError *error, const QDateTime &now = QDateTime::currentDateTime());

    const Node &root() const { return m_root; }
    bool matches(const MetadataRecord &record) const;
    // Every attribute the query names, each once, in order of appearance.
    QStringList attributes() const { return m_attributes; }

private:
    Node m_root;
    QStringList m_attributes;
};

} // namespace mdindex
