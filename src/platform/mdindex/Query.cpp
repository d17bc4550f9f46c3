#include "mdindex/Query.h"

#include <QSet>

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace mdindex {

namespace {

    bool isIdentifierStart(QChar c)
    {
        return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z') || c == u'_';
    }

    bool isIdentifierChar(QChar c)
    {
        return isIdentifierStart(c) || (c >= u'0' && c <= u'9') || c == u':' || c == u'.';
    }

    bool isDigit(QChar c)
    {
        return c >= u'0' && c <= u'9';
    }

    // Around `offset`, at most `reach` units to either side, cut between characters; what a person
    // is shown of text that may be huge, hostile or full of control characters.
    void excerptAround(QStringView text, qsizetype offset, QueryError &error)
    {
        constexpr qsizetype reach = 20;
        qsizetype from = std::max<qsizetype>(0, offset - reach);
        qsizetype to = std::min(text.size(), offset + reach);
        if (from > 0 && text[from].isLowSurrogate())
            ++from;
        if (to < text.size() && text[to].isLowSurrogate())
            --to;
        QString excerpt;
        if (from > 0)
            excerpt += u'…';
        error.caret = excerpt.size() + (offset - from);
        for (qsizetype i = from; i < to; ++i) {
            const QChar c = text[i];
            if (c.isHighSurrogate() && i + 1 < to && text[i + 1].isLowSurrogate()) {
                excerpt += c;
                excerpt += text[++i];
            } else if (c.isSurrogate()) {
                excerpt += QChar::ReplacementCharacter;
            } else if (c.category() == QChar::Other_Control || c.category() == QChar::Other_Format || c == u'\u2028' || c == u'\u2029') {
                excerpt += u'?';
            } else {
                excerpt += c;
            }
        }
        if (to < text.size())
            excerpt += u'…';
        error.excerpt = excerpt;
    }

    // Recursive descent without backtracking: the first place the text fails to continue a query is
    // where it stopped making sense. Every step moves forward or fails, and the brackets are bounded,
    // so time is linear in the length and the stack stays small.
    class Parser
    {
    public:
        Parser(QStringView text, const QDateTime &now)
            : m_text(text)
            , m_now(now)
        {
        }

        std::optional<Node> parse()
        {
            if (m_text.size() > Query::maxLength)
                return fail(Query::maxLength, QStringLiteral("the query is longer than %1 characters").arg(Query::maxLength));
            std::optional<Node> node = parseJoined(Node::Kind::any, 0);
            if (!node)
                return std::nullopt;
            skipSpace();
            if (m_pos != m_text.size())
                return fail(
                    m_pos, m_text[m_pos] == u')' ? QStringLiteral("this bracket closes nothing") : QStringLiteral("expected &&, || or the end of the query"));
            return node;
        }

        QStringList attributes;
        std::optional<QueryError> error;

    private:
        std::nullopt_t fail(qsizetype at, const QString &problem)
        {
            // The innermost failure is reported; callers that pass it on do not overwrite it.
            if (!error) {
                error.emplace();
                error->offset = at;
                error->problem = problem;
                qsizetype column = 1;
                for (qsizetype i = 0; i < at && i < m_text.size(); ++i) {
                    if (!m_text[i].isLowSurrogate() || i == 0 || !m_text[i - 1].isHighSurrogate())
                        ++column;
                }
                error->column = column;
                excerptAround(m_text, at, *error);
            }
            return std::nullopt;
        }

        void skipSpace()
        {
            while (m_pos < m_text.size() && m_text[m_pos].isSpace())
                ++m_pos;
        }

        bool take(QStringView token)
        {
            if (!m_text.sliced(m_pos).startsWith(token))
                return false;
            m_pos += token.size();
            return true;
        }

        // `any` joins `all`s with ||, `all` joins primaries with &&: so && binds tighter.
        std::optional<Node> parseJoined(Node::Kind kind, int depth)
        {
            const bool any = kind == Node::Kind::any;
            const auto operand = [&] { return any ? parseJoined(Node::Kind::all, depth) : parsePrimary(depth); };
            std::optional<Node> first = operand();
            if (!first)
                return std::nullopt;
            Node joined;
            joined.kind = kind;
            add(joined, std::move(*first));
            for (;;) {
                skipSpace();
                if (!take(any ? u"||" : u"&&"))
                    break;
                std::optional<Node> next = operand();
                if (!next)
                    return std::nullopt;
                add(joined, std::move(*next));
            }
            if (joined.children.size() == 1)
                return std::move(joined.children.front());
            return joined;
        }

        // (a && b) && c is one `all` of three.
        static void add(Node &joined, Node &&child)
        {
            if (child.kind != joined.kind) {
                joined.children.push_back(std::move(child));
                return;
            }
            for (Node &grandchild : child.children)
                joined.children.push_back(std::move(grandchild));
        }

        std::optional<Node> parsePrimary(int depth)
        {
            skipSpace();
            const qsizetype open = m_pos;
            if (!take(u"("))
                return parseComparison();
            if (depth >= Query::maxDepth)
                return fail(open, QStringLiteral("brackets nested deeper than %1").arg(Query::maxDepth));
            std::optional<Node> inner = parseJoined(Node::Kind::any, depth + 1);
            if (!inner)
                return std::nullopt;
            skipSpace();
            if (!take(u")"))
                return fail(m_pos, QStringLiteral("expected &&, || or ) to close the bracket at character %1").arg(open + 1));
            return inner;
        }

        std::optional<Node> parseComparison()
        {
            const qsizetype start = m_pos;
            if (m_pos >= m_text.size() || !isIdentifierStart(m_text[m_pos]))
                return fail(m_pos, QStringLiteral("expected an attribute name (such as kMDItemFSName) or ("));
            while (m_pos < m_text.size() && isIdentifierChar(m_text[m_pos]))
                ++m_pos;
            Comparison comparison;
            comparison.attribute = m_text.sliced(start, m_pos - start).toString();
            skipSpace();
            const qsizetype opAt = m_pos;
            if (take(u"=="))
                comparison.op = Op::equal;
            else if (take(u"!="))
                comparison.op = Op::notEqual;
            else if (take(u"<="))
                comparison.op = Op::lessEqual;
            else if (take(u">="))
                comparison.op = Op::greaterEqual;
            else if (take(u"<"))
                comparison.op = Op::less;
            else if (take(u">"))
                comparison.op = Op::greater;
            else
                return fail(m_pos, QStringLiteral("expected ==, !=, <, >, <= or >= after the attribute name"));
            const QStringView op = m_text.sliced(opAt, m_pos - opAt);
            skipSpace();
            if (m_pos >= m_text.size())
                return fail(m_pos, QStringLiteral("expected a value after %1: a quoted text, a number, a $time or *").arg(op));
            const QChar c = m_text[m_pos];
            if (c == u'\'' || c == u'"') {
                std::optional<TextPattern> pattern = parseString();
                if (!pattern)
                    return std::nullopt;
                comparison.value = std::move(*pattern);
            } else if (c == u'*') {
                // Only presence makes sense for a star; `< *` is a mistake, not a query.
                if (comparison.op != Op::equal && comparison.op != Op::notEqual)
                    return fail(m_pos, QStringLiteral("* goes only with == or !="));
                ++m_pos;
            } else if (c == u'$') {
                std::optional<QDateTime> time = parseTime();
                if (!time)
                    return std::nullopt;
                comparison.value = *time;
            } else {
                std::optional<double> number = parseNumber();
                if (!number)
                    return std::nullopt;
                comparison.value = *number;
            }
            if (!m_seenAttributes.contains(comparison.attribute)) {
                m_seenAttributes.insert(comparison.attribute);
                attributes.append(comparison.attribute);
            }
            Node leaf;
            leaf.comparison = std::move(comparison);
            return leaf;
        }

        std::optional<TextPattern> parseString()
        {
            const qsizetype open = m_pos;
            const QChar quote = m_text[m_pos++];
            const qsizetype start = m_pos;
            while (m_pos < m_text.size() && m_text[m_pos] != quote)
                m_pos += m_text[m_pos] == u'\\' ? 2 : 1;
            if (m_pos >= m_text.size())
                return fail(open, QStringLiteral("this quote is never closed"));
            const QStringView body = m_text.sliced(start, m_pos - start);
            const qsizetype modifiers = ++m_pos;
            while (m_pos < m_text.size() && m_text[m_pos].isLetter()) {
                if (!QStringView(u"cdw").contains(m_text[m_pos]))
                    return fail(m_pos, QStringLiteral("unknown modifier; c, d and w are known"));
                ++m_pos;
            }
            std::optional<TextPattern> pattern = TextPattern::compile(body, m_text.sliced(modifiers, m_pos - modifiers));
            if (!pattern)
                return fail(open, QStringLiteral("not a text pattern"));
            return pattern;
        }

        // Sign, digits, an optional fraction and exponent: 12, -3, +0.5, .5, 1e6.
        std::optional<double> parseNumber()
        {
            const qsizetype start = m_pos;
            const auto notANumber = [&] { return fail(start, QStringLiteral("expected a value: a quoted text, a number, a $time or *")); };
            if (m_text[m_pos] == u'+' || m_text[m_pos] == u'-')
                ++m_pos;
            qsizetype digits = 0;
            const auto skipDigits = [&] {
                while (m_pos < m_text.size() && isDigit(m_text[m_pos])) {
                    ++m_pos;
                    ++digits;
                }
            };
            skipDigits();
            if (m_pos < m_text.size() && m_text[m_pos] == u'.') {
                ++m_pos;
                skipDigits();
            }
            if (digits == 0)
                return notANumber();
            if (m_pos + 1 < m_text.size() && (m_text[m_pos] == u'e' || m_text[m_pos] == u'E')) {
                qsizetype exponent = m_pos + 1;
                if (m_text[exponent] == u'+' || m_text[exponent] == u'-')
                    ++exponent;
                if (exponent < m_text.size() && isDigit(m_text[exponent])) {
                    m_pos = exponent;
                    skipDigits();
                }
            }
            bool ok = false;
            const double number = m_text.sliced(start, m_pos - start).toDouble(&ok);
            if (!ok || !std::isfinite(number))
                return fail(start, QStringLiteral("this number is out of range"));
            return number;
        }

        // $time.today(N), $time.now(N), $time.iso(text); an argument left out, with or without its
        // brackets, is zero for today and now.
        std::optional<QDateTime> parseTime()
        {
            const qsizetype start = m_pos;
            if (!take(u"$time."))
                return fail(start, QStringLiteral("expected $time.today, $time.now or $time.iso"));
            const qsizetype nameStart = m_pos;
            while (m_pos < m_text.size() && m_text[m_pos].isLetter())
                ++m_pos;
            const QStringView name = m_text.sliced(nameStart, m_pos - nameStart);
            if (name != u"today" && name != u"now" && name != u"iso")
                return fail(nameStart, QStringLiteral("expected $time.today, $time.now or $time.iso"));
            QStringView argument;
            skipSpace();
            qsizetype argumentAt = m_pos;
            if (take(u"(")) {
                argumentAt = m_pos;
                // Only as far as the next bracket: a failure here must not make each later one scan on.
                const qsizetype close = m_text.indexOf(u')', m_pos);
                if (close < 0)
                    return fail(argumentAt - 1, QStringLiteral("this bracket is never closed"));
                argument = m_text.sliced(m_pos, close - m_pos).trimmed();
                m_pos = close + 1;
            }
            QDateTime time;
            if (name == u"today") {
                bool ok = true;
                const qint64 days = argument.isEmpty() ? 0 : argument.toLongLong(&ok);
                if (!ok || std::abs(days) > 1'000'000)
                    return fail(argumentAt, QStringLiteral("expected a whole number of days"));
                time = m_now.toLocalTime().date().addDays(days).startOfDay();
            } else if (name == u"now") {
                bool ok = true;
                const double seconds = argument.isEmpty() ? 0 : argument.toDouble(&ok);
                if (!ok || !(std::abs(seconds) <= 1e11))
                    return fail(argumentAt, QStringLiteral("expected a number of seconds"));
                time = m_now.addMSecs(std::llround(seconds * 1000));
            } else {
                if (argument.size() >= 2 && (argument.front() == u'"' || argument.front() == u'\'') && argument.back() == argument.front())
                    argument = argument.sliced(1, argument.size() - 2);
                time = QDateTime::fromString(argument.toString(), Qt::ISODateWithMs);
                if (!time.isValid())
                    return fail(argumentAt, QStringLiteral("expected a date and time such as 2026-11-09T00:00:00Z"));
            }
            if (!time.isValid())
                return fail(argumentAt, QStringLiteral("not a valid time"));
            return time;
        }

        QStringView m_text;
        QDateTime m_now;
        qsizetype m_pos = 0;
        QSet<QString> m_seenAttributes;
    };

    template<typename T>
    bool compare(const T &left, const T &right, Op op)
    {
        switch (op) {
        case Op::equal:
            return left == right;
        case Op::notEqual:
            return left != right;
        case Op::less:
            return left < right;
        case Op::greater:
            return left > right;
        case Op::lessEqual:
            return left <= right;
        case Op::greaterEqual:
            return left >= right;
        }
        return false;
    }

    bool compareText(const TextPattern &pattern, const QString &text, Op op)
    {
        switch (op) {
        case Op::equal:
            return pattern.matches(text);
        case Op::notEqual:
            return !pattern.matches(text);
        default:
            // Ordering takes the value's characters as they are, wildcards included.
            const int order = QStringView(foldText(text, pattern.ignoreCase(), pattern.ignoreDiacritics())).compare(pattern.literalText());
            return compare(order, 0, op);
        }
    }

    bool evaluate(const Node &node, const MetadataRecord &record)
    {
        switch (node.kind) {
        case Node::Kind::all:
            return std::all_of(node.children.begin(), node.children.end(), [&](const Node &child) { return evaluate(child, record); });
        case Node::Kind::any:
            return std::any_of(node.children.begin(), node.children.end(), [&](const Node &child) { return evaluate(child, record); });
        case Node::Kind::comparison:
            return node.comparison->matches(record.valueForAttribute(node.comparison->attribute));
        }
        return false;
    }

} // namespace

bool Comparison::matches(const QVariant &attributeValue) const
{
    if (std::holds_alternative<std::monostate>(value))
        return op == Op::equal ? attributeValue.isValid() : op == Op::notEqual && !attributeValue.isValid();
    if (!attributeValue.isValid())
        return false;

    if (const auto *pattern = std::get_if<TextPattern>(&value)) {
        if (MetadataRecord::isText(attributeValue))
            return compareText(*pattern, attributeValue.toString(), op);
        if (attributeValue.typeId() != QMetaType::QStringList)
            return false;
        const QStringList elements = attributeValue.toStringList();
        const auto elementMatches = [&](Op elementOp) {
            return std::any_of(elements.begin(), elements.end(), [&](const QString &element) { return compareText(*pattern, element, elementOp); });
        };
        // An array is unequal when no element is equal: "!= x" then means "does not hold x", where
        // "some element differs" would hold for nearly every array with two elements.
        return op == Op::notEqual ? !elementMatches(Op::equal) : elementMatches(op);
    }
    if (const auto *number = std::get_if<double>(&value)) {
        if (attributeValue.typeId() == QMetaType::Bool)
            return compare(attributeValue.toBool() ? 1.0 : 0.0, *number, op);
        if (!MetadataRecord::isNumber(attributeValue))
            return false;
        return compare(attributeValue.toDouble(), *number, op);
    }
    const QDateTime &time = std::get<QDateTime>(value);
    return MetadataRecord::isDate(attributeValue) && compare(attributeValue.toDateTime(), time, op);
}

QString QueryError::toString() const
{
    return QStringLiteral("%1 at character %2, near \u201C%3\u201D").arg(problem).arg(column).arg(excerpt);
}

std::optional<Query> Query::parse(QStringView text, const QDateTime &now)
{
    return parse(text, nullptr, now);
}

std::optional<Query> Query::parse(QStringView text, QueryError *error, const QDateTime &now)
{
    Parser parser(text, now);
    std::optional<Node> root = parser.parse();
    if (!root) {
        if (error)
            *error = parser.error.value_or(QueryError {});
        return std::nullopt;
    }
    Query query;
    query.m_root = std::move(*root);
    query.m_attributes = parser.attributes;
    return query;
}

bool Query::matches(const MetadataRecord &record) const
{
    return evaluate(m_root, record);
}

} // namespace mdindex
