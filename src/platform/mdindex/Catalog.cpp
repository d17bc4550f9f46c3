#include "Catalog.h"

#include "mdindex/Query.h"

#include <QDateTime>

#include <algorithm>
#include <utility>

namespace mdindex {

namespace {

    // One bit per row.
    class RowSet
    {
    public:
        explicit RowSet(size_t rows = 0, bool filled = false)
            : m_words((rows + 63) / 64, filled ? ~quint64(0) : 0)
            , m_rows(rows)
        {
            if (filled)
                trim();
        }
        bool test(size_t row) const { return m_words[row / 64] >> (row % 64) & 1; }
        void set(size_t row) { m_words[row / 64] |= quint64(1) << (row % 64); }
        void reset(size_t row) { m_words[row / 64] &= ~(quint64(1) << (row % 64)); }
        bool none() const
        {
            return std::all_of(m_words.begin(), m_words.end(), [](quint64 w) { return w == 0; });
        }
        RowSet &operator|=(const RowSet &o)
        {
            for (size_t i = 0; i < m_words.size(); ++i)
                m_words[i] |= o.m_words[i];
            return *this;
        }
        RowSet minus(const RowSet &o) const
        {
            RowSet r = *this;
            for (size_t i = 0; i < m_words.size(); ++i)
                r.m_words[i] &= ~o.m_words[i];
            return r;
        }
        template<typename F>
        void forEach(F &&f) const
        {
            for (size_t w = 0; w < m_words.size(); ++w) {
                quint64 bits = m_words[w];
                while (bits) {
                    const int bit = __builtin_ctzll(bits);
                    f(Catalog::Row(w * 64 + size_t(bit)));
                    bits &= bits - 1;
                }
            }
        }
        size_t size() const { return m_rows; }

    private:
        void trim()
        {
            if (m_rows % 64)
                m_words.back() &= (quint64(1) << (m_rows % 64)) - 1;
        }
        std::vector<quint64> m_words;
        size_t m_rows;
    };

    bool isAscii(QStringView text)
    {
        return std::all_of(text.begin(), text.end(), [](QChar c) { return c.unicode() < 128; });
    }

    QDateTime fromMs(qint64 ms)
    {
        return QDateTime::fromMSecsSinceEpoch(ms, Qt::UTC);
    }

    bool compareNumbers(double a, Op op, double b)
    {
        switch (op) {
        case Op::equal:
            return a == b;
        case Op::notEqual:
            return a != b;
        case Op::less:
            return a < b;
        case Op::greater:
            return a > b;
        case Op::lessEqual:
            return a <= b;
        case Op::greaterEqual:
            return a >= b;
        }
        return false;
    }

} // namespace

Catalog::Catalog()
{
    m_types.push_back({QString(), {}}); // index 0: no type
    m_typeIndex.insert(QString(), 0);
}

quint16 Catalog::typeIndex(const QString &identifier)
{
    // Neighbouring rows often share a type.
    if (m_lastType < m_types.size() && m_types[m_lastType].identifier == identifier)
        return m_lastType;
    if (auto it = m_typeIndex.constFind(identifier); it != m_typeIndex.cend())
        return m_lastType = *it;
    TypeInfo info {identifier, {}};
    if (const auto type = UTType::fromIdentifier(identifier))
        info.tree = type->tree();
    else
        info.tree = QStringList {identifier};
    const auto index = quint16(m_types.size());
    m_types.push_back(std::move(info));
    m_typeIndex.insert(identifier, index);
    return m_lastType = index;
}

quint64 Catalog::childKey(Row parent, QStringView name)
{
    return (quint64(parent) << 32) | quint32(qHash(name));
}

size_t Catalog::childSlot(Row parent, QStringView name) const
{
    // The finaliser of MurmurHash3: spreads the parent's row and the name's hash over all bits.
    quint64 key = childKey(parent, name);
    key ^= key >> 33;
    key *= 0xff51afd7ed558ccdULL;
    key ^= key >> 33;
    key *= 0xc4ceb9fe1a85ec53ULL;
    key ^= key >> 33;
    return size_t(key) & (m_childSlots.size() - 1);
}

void Catalog::rehashChildren(size_t entries)
{
    // At most three quarters full, so that probes stay short.
    size_t capacity = 16;
    while (capacity * 3 < entries * 4)
        capacity *= 2;
    const std::vector<Row> old = std::exchange(m_childSlots, std::vector<Row>(capacity, noRow));
    m_childUsed = 0;
    m_childLive = 0;
    for (const Row row : old) {
        if (row != noRow && row != tombstone)
            insertChild(row);
    }
}

void Catalog::insertChild(Row row)
{
    if (m_childSlots.empty() || (m_childUsed + 1) * 4 > m_childSlots.size() * 3)
        rehashChildren(std::max<size_t>(m_childLive * 2, 16));
    const size_t mask = m_childSlots.size() - 1;
    for (size_t i = childSlot(m_rows[row].parent, name(row));; i = (i + 1) & mask) {
        if (m_childSlots[i] == noRow) {
            m_childSlots[i] = row;
            ++m_childUsed;
            ++m_childLive;
            return;
        }
    }
}

void Catalog::eraseChild(Row row)
{
    if (m_childSlots.empty())
        return;
    const size_t mask = m_childSlots.size() - 1;
    for (size_t i = childSlot(m_rows[row].parent, name(row)); m_childSlots[i] != noRow; i = (i + 1) & mask) {
        if (m_childSlots[i] == row) {
            m_childSlots[i] = tombstone;
            --m_childLive;
            return;
        }
    }
}

void Catalog::reserve(qsizetype rows)
{
    m_rows.reserve(size_t(rows));
    if (size_t(rows) > m_childLive)
        rehashChildren(size_t(rows));
    m_names.reserve(rows * 24);
}

Catalog::Row Catalog::add(qint64 id, Row parent, const FileFacts &facts, const ExtractedAttributes &extracted)
{
    RowData r {};
    r.id = id;
    m_nextId = std::max(m_nextId, id + 1);
    r.parent = parent;
    r.firstChild = noRow;
    r.nextSibling = noRow;
    // A root is named by its last component, so that a name query finds it as it finds any folder;
    // its path is kept aside for the paths of everything below it.
    QStringView name = QStringView(facts.name).left(0xFFFF);
    if (parent == noRow) {
        const qsizetype slash = name.size() > 1 ? name.lastIndexOf(QLatin1Char('/')) : -1;
        if (slash >= 0)
            name = name.sliced(slash + 1);
    }
    r.nameOffset = quint32(m_names.size());
    r.nameLength = quint16(name.size());
    m_names.append(name);
    const QString folded = foldText(name, true, true);
    if (folded == name) {
        r.foldedOffset = r.nameOffset;
        r.foldedLength = r.nameLength;
    } else {
        r.foldedOffset = quint32(m_names.size());
        r.foldedLength = quint16(std::min<qsizetype>(folded.size(), 0xFFFF));
        m_names.append(QStringView(folded).left(r.foldedLength));
    }
    r.flags = isAscii(name) ? AsciiName : 0;
    const Row row = Row(m_rows.size());
    m_rows.push_back(r);
    update(row, facts, extracted);

    if (parent == noRow) {
        m_roots.append(row);
        m_rootPaths.insert(row, facts.name);
    } else {
        m_rows[row].nextSibling = m_rows[parent].firstChild;
        m_rows[parent].firstChild = row;
    }
    insertChild(row);
    ++m_liveCount;
    return row;
}

void Catalog::update(Row row, const FileFacts &facts, const ExtractedAttributes &extracted)
{
    RowData &r = m_rows[row];
    r.size = facts.isDirectory ? 0 : facts.size;
    r.modifiedMs = facts.modifiedMs;
    r.changedMs = facts.changedMs;
    r.createdMs = facts.createdMs.value_or(noTime);
    r.inode = facts.inode;
    r.type = typeIndex(facts.contentType);
    r.flags = quint8((r.flags & (AsciiName | Removed | Pending)) | (facts.isDirectory ? Directory : 0) | (facts.isSymlink ? Symlink : 0));
    setExtracted(row, extracted);
}

void Catalog::updateFacts(Row row, const FileFacts &facts)
{
    const auto it = m_extracted.find(row);
    update(row, facts, it == m_extracted.end() ? ExtractedAttributes() : it->second);
}

void Catalog::setExtracted(Row row, const ExtractedAttributes &extracted)
{
    if (extracted.isEmpty())
        m_extracted.erase(row);
    else
        m_extracted[row] = extracted;
}

void Catalog::setPending(Row row, bool pending)
{
    if (pending)
        m_rows[row].flags |= Pending;
    else
        m_rows[row].flags &= quint8(~Pending);
}

std::vector<Catalog::Row> Catalog::pendingRows() const
{
    std::vector<Row> rows;
    for (size_t row = 0; row < m_rows.size(); ++row) {
        if ((m_rows[row].flags & (Pending | Removed)) == Pending)
            rows.push_back(Row(row));
    }
    return rows;
}

std::vector<qint64> Catalog::remove(Row row)
{
    std::vector<qint64> ids;
    if (!isLive(row))
        return ids;
    // Unlink from the parent's list of children first.
    const Row parent = m_rows[row].parent;
    if (parent == noRow) {
        m_roots.removeAll(row);
        m_rootPaths.remove(row);
    } else if (m_rows[parent].firstChild == row) {
        m_rows[parent].firstChild = m_rows[row].nextSibling;
    } else {
        for (Row c = m_rows[parent].firstChild; c != noRow; c = m_rows[c].nextSibling) {
            if (m_rows[c].nextSibling == row) {
                m_rows[c].nextSibling = m_rows[row].nextSibling;
                break;
            }
        }
    }
    std::vector<Row> stack {row};
    while (!stack.empty()) {
        const Row r = stack.back();
        stack.pop_back();
        for (Row c = m_rows[r].firstChild; c != noRow; c = m_rows[c].nextSibling)
            stack.push_back(c);
        eraseChild(r);
        m_extracted.erase(r);
        m_lastUsed.erase(r);
        m_rows[r].flags |= Removed;
        m_rows[r].firstChild = noRow;
        ids.push_back(m_rows[r].id);
        --m_liveCount;
    }
    return ids;
}

QStringView Catalog::name(Row row) const
{
    return QStringView(m_names).mid(m_rows[row].nameOffset, m_rows[row].nameLength);
}

QStringView Catalog::folded(Row row) const
{
    return QStringView(m_names).mid(m_rows[row].foldedOffset, m_rows[row].foldedLength);
}

QString Catalog::path(Row row) const
{
    QVarLengthArray<Row, 32> chain;
    for (Row r = row; r != noRow; r = m_rows[r].parent)
        chain.append(r);
    QString out = m_rootPaths.value(chain.back());
    for (qsizetype i = chain.size() - 2; i >= 0; --i) {
        if (!out.endsWith(QLatin1Char('/')))
            out += QLatin1Char('/');
        out += name(chain[i]);
    }
    return out;
}

FileFacts Catalog::facts(Row row) const
{
    const RowData &r = m_rows[row];
    FileFacts f;
    f.name = name(row).toString();
    f.isDirectory = r.flags & Directory;
    f.isSymlink = r.flags & Symlink;
    f.size = r.size;
    f.modifiedMs = r.modifiedMs;
    f.changedMs = r.changedMs;
    if (r.createdMs != noTime)
        f.createdMs = r.createdMs;
    f.inode = r.inode;
    f.contentType = m_types[r.type].identifier;
    return f;
}

ExtractedAttributes Catalog::extracted(Row row) const
{
    const auto it = m_extracted.find(row);
    return it == m_extracted.end() ? ExtractedAttributes() : it->second;
}

Catalog::Row Catalog::child(Row parent, QStringView childName) const
{
    if (m_childSlots.empty())
        return noRow;
    const size_t mask = m_childSlots.size() - 1;
    for (size_t i = childSlot(parent, childName); m_childSlots[i] != noRow; i = (i + 1) & mask) {
        const Row row = m_childSlots[i];
        if (row != tombstone && m_rows[row].parent == parent && name(row) == childName)
            return row;
    }
    return noRow;
}

std::vector<Catalog::Row> Catalog::children(Row parent) const
{
    std::vector<Row> out;
    for (Row c = m_rows[parent].firstChild; c != noRow; c = m_rows[c].nextSibling)
        out.push_back(c);
    return out;
}

Catalog::Row Catalog::find(QStringView path) const
{
    // The deepest root that holds the path, then one name at a time.
    Row best = noRow;
    qsizetype bestLength = -1;
    for (Row root : m_roots) {
        const QString rootPath = m_rootPaths.value(root);
        const bool holds
            = path == rootPath || (path.startsWith(rootPath) && (rootPath.endsWith(QLatin1Char('/')) || path.at(rootPath.size()) == QLatin1Char('/')));
        if (holds && rootPath.size() > bestLength) {
            best = root;
            bestLength = rootPath.size();
        }
    }
    if (best == noRow)
        return noRow;
    Row row = best;
    for (QStringView part : path.sliced(bestLength).split(QLatin1Char('/'), Qt::SkipEmptyParts)) {
        row = child(row, part);
        if (row == noRow)
            return noRow;
    }
    return row;
}

QVariant Catalog::value(Row row, QStringView attribute) const
{
    const RowData &r = m_rows[row];
    if (attribute == MDAttribute::fsName)
        return name(row).toString();
    if (attribute == MDAttribute::path)
        return path(row);
    if (attribute == MDAttribute::fsSize)
        return (r.flags & Directory) ? QVariant() : QVariant(r.size);
    if (attribute == MDAttribute::fsContentChangeDate)
        return fromMs(r.modifiedMs);
    if (attribute == MDAttribute::fsCreationDate)
        return r.createdMs == noTime ? QVariant() : QVariant(fromMs(r.createdMs));
    if (attribute == MDAttribute::contentType)
        return r.type ? QVariant(m_types[r.type].identifier) : QVariant();
    if (attribute == MDAttribute::contentTypeTree)
        return r.type ? QVariant(m_types[r.type].tree) : QVariant();
    if (attribute == MDAttribute::lastUsedDate) {
        const auto used = m_lastUsed.find(row);
        return used == m_lastUsed.end() ? QVariant() : QVariant(fromMs(used->second));
    }
    const auto it = m_extracted.find(row);
    if (it == m_extracted.end())
        return {};
    return it->second.value(attribute.toString());
}

Catalog::Row Catalog::rowOfId(qint64 id) const
{
    // Ids only grow as rows are added, so the rows are ordered by id.
    const auto it = std::lower_bound(m_rows.begin(), m_rows.end(), id, [](const RowData &r, qint64 v) { return r.id < v; });
    if (it == m_rows.end() || it->id != id)
        return noRow;
    const Row row = Row(it - m_rows.begin());
    return isLive(row) ? row : noRow;
}

void Catalog::setLastUsed(const QHash<QString, qint64> &lastUsedByPath)
{
    m_lastUsed.clear();
    for (auto it = lastUsedByPath.cbegin(); it != lastUsedByPath.cend(); ++it) {
        const Row row = find(it.key());
        if (row != noRow)
            m_lastUsed[row] = it.value();
    }
}

// Evaluates a query over whole columns: each comparison looks only at the rows that can still
// change the outcome, and the common comparisons (names, types, sizes, dates) read the columns
// directly instead of building a value per row.
class Catalog::Evaluator
{
public:
    Evaluator(const Catalog &catalog, const TextSearch &textSearch)
        : c(catalog)
        , texts(textSearch)
    {
    }

    RowSet evaluate(const Node &node, const RowSet &within) const
    {
        switch (node.kind) {
        case Node::Kind::all: {
            RowSet current = within;
            for (const Node &child : node.children) {
                if (current.none())
                    break;
                current = evaluate(child, current);
            }
            return current;
        }
        case Node::Kind::any: {
            RowSet found(within.size());
            for (const Node &child : node.children)
                found |= evaluate(child, within.minus(found));
            return found;
        }
        case Node::Kind::comparison:
            break;
        }
        return compare(*node.comparison, within);
    }

private:
    RowSet compare(const Comparison &cmp, const RowSet &within) const
    {
        RowSet out(within.size());
        const QStringView attribute = cmp.attribute;
        const auto *pattern = std::get_if<TextPattern>(&cmp.value);

        if (attribute == MDAttribute::fsName && pattern && (cmp.op == Op::equal || cmp.op == Op::notEqual)) {
            const bool wanted = cmp.op == Op::equal;
            const bool fullFold = pattern->ignoreCase() && pattern->ignoreDiacritics();
            const bool caseOnly = pattern->ignoreCase() && !pattern->ignoreDiacritics();
            within.forEach([&](Row row) {
                // ASCII names fold the same with or without diacritics, so the stored fold serves both.
                const bool useFolded = fullFold || (caseOnly && (c.m_rows[row].flags & AsciiName));
                const bool hit = useFolded ? pattern->matchesFolded(c.folded(row), c.name(row)) : pattern->matches(c.name(row));
                if (hit == wanted)
                    out.set(row);
            });
            return out;
        }
        if (attribute == MDAttribute::contentType || attribute == MDAttribute::contentTypeTree) {
            // Few distinct types: decide each once.
            const bool tree = attribute == MDAttribute::contentTypeTree;
            std::vector<quint8> verdict(c.m_types.size());
            for (size_t t = 0; t < c.m_types.size(); ++t) {
                const QVariant v = t == 0 ? QVariant() : tree ? QVariant(c.m_types[t].tree) : QVariant(c.m_types[t].identifier);
                verdict[t] = cmp.matches(v);
            }
            within.forEach([&](Row row) {
                if (verdict[c.m_rows[row].type])
                    out.set(row);
            });
            return out;
        }
        if (attribute == MDAttribute::textContent) {
            const bool absence = cmp.op == Op::notEqual && std::holds_alternative<std::monostate>(cmp.value);
            if (!texts)
                return absence ? within : out;
            if (absence) {
                // Files without text: everything but those with some.
                RowSet withText(within.size());
                Comparison present {cmp.attribute, Op::equal, std::monostate()};
                for (qint64 id : texts(present)) {
                    const Row row = c.rowOfId(id);
                    if (row != noRow)
                        withText.set(row);
                }
                return within.minus(withText);
            }
            for (qint64 id : texts(cmp)) {
                const Row row = c.rowOfId(id);
                if (row != noRow && within.test(row))
                    out.set(row);
            }
            return out;
        }
        const auto *number = std::get_if<double>(&cmp.value);
        const auto *time = std::get_if<QDateTime>(&cmp.value);
        if (attribute == MDAttribute::fsSize && number) {
            within.forEach([&](Row row) {
                if (!(c.m_rows[row].flags & Directory) && compareNumbers(double(c.m_rows[row].size), cmp.op, *number))
                    out.set(row);
            });
            return out;
        }
        if ((attribute == MDAttribute::fsContentChangeDate || attribute == MDAttribute::fsCreationDate) && time) {
            const double bound = double(time->toMSecsSinceEpoch());
            const bool modified = attribute == MDAttribute::fsContentChangeDate;
            within.forEach([&](Row row) {
                const qint64 ms = modified ? c.m_rows[row].modifiedMs : c.m_rows[row].createdMs;
                if (ms != noTime && compareNumbers(double(ms), cmp.op, bound))
                    out.set(row);
            });
            return out;
        }
        within.forEach([&](Row row) {
            if (cmp.matches(c.value(row, attribute)))
                out.set(row);
        });
        return out;
    }

    const Catalog &c;
    const TextSearch &texts;
};

std::vector<Catalog::Row> Catalog::search(const Query &query, const QStringList &scopes, QStringView sortAttribute, const TextSearch &textSearch) const
{
    const size_t n = m_rows.size();
    RowSet within(n);
    if (scopes.isEmpty()) {
        for (size_t row = 0; row < n; ++row) {
            if (!(m_rows[row].flags & Removed))
                within.set(row);
        }
    } else {
        std::vector<Row> stack;
        for (const QString &scope : scopes) {
            const QString clean = scope.size() > 1 && scope.endsWith(QLatin1Char('/')) ? scope.chopped(1) : scope;
            const Row top = find(clean);
            if (top != noRow)
                stack.push_back(top);
            // A scope holds every root below it too: one above the roots, and one that holds another
            // root walked on its own (the applications folder in the home folder).
            for (Row root : m_roots) {
                const QString rootPath = m_rootPaths.value(root);
                if (clean == QLatin1StringView("/") || rootPath.startsWith(clean + QLatin1Char('/')))
                    stack.push_back(root);
            }
        }
        while (!stack.empty()) {
            const Row r = stack.back();
            stack.pop_back();
            if (within.test(r) || !isLive(r))
                continue;
            within.set(r);
            for (Row ch = m_rows[r].firstChild; ch != noRow; ch = m_rows[ch].nextSibling)
                stack.push_back(ch);
        }
    }

    std::vector<Row> rows;
    Evaluator(*this, textSearch).evaluate(query.root(), within).forEach([&rows](Row row) { rows.push_back(row); });
    if (sortAttribute.isEmpty())
        return rows;

    // Descending by the attribute; rows without it go last, in catalog order.
    std::vector<std::pair<double, Row>> numeric;
    std::vector<Row> lacking;
    const bool bySize = sortAttribute == MDAttribute::fsSize;
    const bool byModified = sortAttribute == MDAttribute::fsContentChangeDate;
    const bool byCreated = sortAttribute == MDAttribute::fsCreationDate;
    if (bySize || byModified || byCreated) {
        for (Row row : rows) {
            const RowData &r = m_rows[row];
            if (bySize && !(r.flags & Directory))
                numeric.emplace_back(double(r.size), row);
            else if (byModified)
                numeric.emplace_back(double(r.modifiedMs), row);
            else if (byCreated && r.createdMs != noTime)
                numeric.emplace_back(double(r.createdMs), row);
            else
                lacking.push_back(row);
        }
        std::stable_sort(numeric.begin(), numeric.end(), [](const auto &a, const auto &b) { return a.first > b.first; });
        std::vector<Row> sorted;
        sorted.reserve(rows.size());
        for (const auto &entry : numeric)
            sorted.push_back(entry.second);
        sorted.insert(sorted.end(), lacking.begin(), lacking.end());
        return sorted;
    }

    std::vector<std::pair<QVariant, Row>> keyed;
    for (Row row : rows) {
        QVariant v = value(row, sortAttribute);
        if (v.isValid())
            keyed.emplace_back(std::move(v), row);
        else
            lacking.push_back(row);
    }
    std::stable_sort(keyed.begin(), keyed.end(), [](const auto &a, const auto &b) { return QVariant::compare(a.first, b.first) == QPartialOrdering::Greater; });
    std::vector<Row> sorted;
    sorted.reserve(rows.size());
    for (const auto &entry : keyed)
        sorted.push_back(entry.second);
    sorted.insert(sorted.end(), lacking.begin(), lacking.end());
    return sorted;
}

qsizetype Catalog::memoryUsage() const
{
    return qsizetype(m_rows.capacity() * sizeof(RowData)) + m_names.capacity() * 2 + qsizetype(m_childSlots.capacity() * sizeof(Row));
}

} // namespace mdindex
