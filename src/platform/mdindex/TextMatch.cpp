#include "TextMatch.h"

#include <algorithm>
#include <array>
#include <memory>

namespace mdindex {

namespace {

    enum : quint8 { wordChar = 1, wordStart = 2 };

    // Segments of a pattern that get a prepared matcher; the kinds with a fixed shape need at most three.
    constexpr std::size_t kMaxMatchers = 8;

    bool isDroppedMark(char32_t c)
    {
        const QChar::Category category = QChar::category(c);
        return category == QChar::Mark_NonSpacing || category == QChar::Mark_Enclosing;
    }

    char32_t codePointAt(QStringView text, qsizetype i, qsizetype *length = nullptr)
    {
        if (text[i].isHighSurrogate() && i + 1 < text.size() && text[i + 1].isLowSurrogate()) {
            if (length)
                *length = 2;
            return QChar::surrogateToUcs4(text[i], text[i + 1]);
        }
        if (length)
            *length = 1;
        return text[i].unicode();
    }

    // The character left when a canonical decomposition loses its marks; c itself when that is not a
    // single character (Hangul syllables, for one, stay whole).
    char32_t baseCharacter(char32_t c)
    {
        if (c < 0xC0 || QChar::decompositionTag(c) != QChar::Canonical)
            return c;
        const QString parts = QChar::decomposition(c);
        char32_t base = 0;
        int bases = 0;
        for (qsizetype i = 0; i < parts.size(); ++i) {
            qsizetype length = 1;
            const char32_t part = codePointAt(parts, i, &length);
            i += length - 1;
            if (!isDroppedMark(part)) {
                base = part;
                ++bases;
            }
        }
        return bases == 1 ? baseCharacter(base) : c;
    }

    // Decomposing costs a string per character, so the BMP is done once.
    char32_t withoutDiacritics(char32_t c)
    {
        if (c < 0xC0)
            return c;
        if (c > 0xFFFF)
            return baseCharacter(c);
        static const auto table = [] {
            auto bases = std::make_unique<std::array<char16_t, 0x10000>>();
            for (char32_t u = 0; u <= 0xFFFF; ++u) {
                const char32_t base = baseCharacter(u);
                (*bases)[u] = char16_t(base <= 0xFFFF ? base : u);
            }
            return bases;
        }();
        return (*table)[c];
    }

    char32_t codePointBefore(QStringView text, qsizetype &i)
    {
        --i;
        if (i > 0 && text[i].isLowSurrogate() && text[i - 1].isHighSurrogate()) {
            --i;
            return QChar::surrogateToUcs4(text[i], text[i + 1]);
        }
        return text[i].unicode();
    }

    bool startsWordAfter(char32_t previous, char32_t c)
    {
        return !QChar::isLetterOrNumber(previous) || (QChar::isLower(previous) && (QChar::isUpper(c) || QChar::isTitleCase(c)));
    }

    void appendCodePoint(QString &out, char32_t c)
    {
        if (QChar::requiresSurrogates(c)) {
            out.append(QChar(QChar::highSurrogate(c)));
            out.append(QChar(QChar::lowSurrogate(c)));
        } else {
            out.append(QChar(char16_t(c)));
        }
    }

    // Folds text onto out; with flags, also notes for each unit of out where the original text had words.
    // Words are judged on the original, since case folding erases the lower-to-upper changes.
    void appendFolded(QStringView text, bool ignoreCase, bool ignoreDiacritics, QString &out, std::vector<quint8> *flags)
    {
        char32_t previousBase = 0;
        bool havePrevious = false;
        for (qsizetype i = 0; i < text.size();) {
            qsizetype length = 1;
            const char32_t c = codePointAt(text, i, &length);
            i += length;
            quint8 flag = 0;
            if (flags) {
                const bool mark = QChar::isMark(c);
                if (QChar::isLetterOrNumber(c))
                    flag = wordChar | (!havePrevious || startsWordAfter(previousBase, c) ? wordStart : 0);
                else if (mark)
                    flag = wordChar;
                if (!mark) {
                    previousBase = c;
                    havePrevious = true;
                }
            }
            char32_t folded = c;
            if (c < 0x80) {
                if (ignoreCase && c >= 'A' && c <= 'Z')
                    folded = c + ('a' - 'A');
            } else {
                if (ignoreDiacritics) {
                    if (isDroppedMark(c))
                        continue;
                    folded = withoutDiacritics(c);
                }
                if (ignoreCase)
                    folded = QChar::toCaseFolded(folded);
            }
            appendCodePoint(out, folded);
            if (flags) {
                flags->push_back(flag);
                if (QChar::requiresSurrogates(folded))
                    flags->push_back(flag & ~wordStart);
            }
        }
    }

    // A word-based match starts and ends at an edge: a place not inside a word. This one reads the notes
    // of appendFolded.
    struct FlagBounds {
        const std::vector<quint8> &flags;
        bool atEdge(qsizetype i) const { return i >= qsizetype(flags.size()) || (flags[i] & wordStart) || !(flags[i] & wordChar); }
    };

    // Word edges read off folded text. Without case, any letter after a letter may have been a change
    // from lower to upper case, so such a place counts as a possible edge.
    struct TextBounds {
        QStringView text;
        bool caseKnown;

        bool atEdge(qsizetype i) const
        {
            if (i >= text.size())
                return true;
            const char32_t c = codePointAt(text, i);
            if (!QChar::isLetterOrNumber(c))
                return !QChar::isMark(c);
            qsizetype j = i;
            while (j > 0) {
                const char32_t previous = codePointBefore(text, j);
                if (QChar::isMark(previous))
                    continue;
                if (caseKnown)
                    return startsWordAfter(previous, c);
                return !QChar::isLetterOrNumber(previous) || (QChar::isLetter(previous) && QChar::isLetter(c));
            }
            return true;
        }
    };

    qsizetype matchAt(const TextPattern::Segment &segment, QStringView value, qsizetype pos)
    {
        const qsizetype size = segment.text.size();
        if (!segment.hasAnyChar)
            return pos + size <= value.size() && value.sliced(pos, size) == QStringView(segment.text) ? pos + size : -1;
        for (qsizetype i = 0; i < size; ++i) {
            if (pos >= value.size())
                return -1;
            if (segment.anyChar[i]) {
                qsizetype length = 1;
                codePointAt(value, pos, &length);
                pos += length;
            } else if (value[pos] != segment.text[i]) {
                return -1;
            } else {
                ++pos;
            }
        }
        return pos;
    }

    qsizetype find(const TextPattern::Segment &segment, QStringView value, qsizetype from)
    {
        if (!segment.hasAnyChar) {
            if (from > value.size())
                return -1;
            return segment.matcher ? segment.matcher->indexIn(value, from) : value.indexOf(QStringView(segment.text), from);
        }
        for (qsizetype pos = from; pos < value.size(); ++pos) {
            if (matchAt(segment, value, pos) >= 0)
                return pos;
        }
        return -1;
    }

} // namespace

QString foldText(QStringView text, bool ignoreCase, bool ignoreDiacritics)
{
    if (!ignoreCase && !ignoreDiacritics)
        return text.toString();
    QString out;
    out.reserve(text.size());
    appendFolded(text, ignoreCase, ignoreDiacritics, out, nullptr);
    return out;
}

std::optional<TextPattern> TextPattern::compile(QStringView body, QStringView modifiers)
{
    bool flags[3] = {false, false, false};
    for (QChar letter : modifiers) {
        const qsizetype which = QStringView(u"cdw").indexOf(letter);
        if (which < 0)
            return std::nullopt;
        flags[which] = true;
    }
    return compile(body, flags[0], flags[1], flags[2]);
}

std::optional<TextPattern> TextPattern::compile(QStringView body, bool ignoreCase, bool ignoreDiacritics, bool wordBased)
{
    TextPattern pattern;
    pattern.m_ignoreCase = ignoreCase;
    pattern.m_ignoreDiacritics = ignoreDiacritics;
    pattern.m_wordBased = wordBased;

    // One segment per star at most: no regrowth, whatever the length.
    pattern.m_segments.reserve(size_t(body.count(u'*')) + 1);
    Segment segment;
    QString run; // literal characters not yet folded
    QString literal;
    const auto flushRun = [&] {
        const qsizetype before = segment.text.size();
        appendFolded(run, ignoreCase, ignoreDiacritics, segment.text, nullptr);
        if (segment.hasAnyChar)
            segment.anyChar.resize(segment.text.size(), false);
        if (segment.text.size() - before > pattern.m_requiredLiteral.size())
            pattern.m_requiredLiteral = segment.text.sliced(before);
        run.clear();
    };
    const auto closeSegment = [&] {
        flushRun();
        pattern.m_segments.push_back(std::move(segment));
        segment = Segment();
    };
    for (qsizetype i = 0; i < body.size(); ++i) {
        const QChar c = body[i];
        if (c == u'\\') {
            if (++i == body.size())
                return std::nullopt;
            run.append(body[i]);
            literal.append(body[i]);
            continue;
        }
        literal.append(c);
        if (c == u'*') {
            pattern.m_hasWildcards = true;
            // A run of stars is one star.
            if (segment.text.isEmpty() && run.isEmpty() && !pattern.m_segments.empty())
                continue;
            closeSegment();
        } else if (c == u'?') {
            pattern.m_hasWildcards = true;
            flushRun();
            segment.anyChar.resize(segment.text.size(), false);
            segment.text.append(u'?');
            segment.anyChar.push_back(true);
            segment.hasAnyChar = true;
        } else {
            run.append(c);
        }
    }
    closeSegment();
    pattern.m_literalText = foldText(literal, ignoreCase, ignoreDiacritics);
    if (pattern.m_segments.size() <= kMaxMatchers) {
        for (Segment &s : pattern.m_segments) {
            if (!s.hasAnyChar && !s.text.isEmpty())
                s.matcher = std::make_shared<const QStringMatcher>(s.text);
        }
    }

    const auto &segments = pattern.m_segments;
    const auto plain = [&](std::size_t i) { return !segments[i].hasAnyChar && !segments[i].text.isEmpty(); };
    const bool onlyStars = std::all_of(segments.begin(), segments.end(), [](const Segment &s) { return s.text.isEmpty(); });
    if (onlyStars && segments.size() > 1)
        pattern.m_kind = Kind::everything;
    else if (wordBased && !onlyStars)
        pattern.m_kind = Kind::word;
    else if (segments.size() == 1)
        pattern.m_kind = segments[0].hasAnyChar ? Kind::general : Kind::exact;
    else if (segments.size() == 2 && plain(0) && segments[1].text.isEmpty())
        pattern.m_kind = Kind::prefix;
    else if (segments.size() == 2 && segments[0].text.isEmpty() && plain(1))
        pattern.m_kind = Kind::suffix;
    else if (segments.size() == 3 && segments[0].text.isEmpty() && plain(1) && segments[2].text.isEmpty())
        pattern.m_kind = Kind::contains;
    else
        pattern.m_kind = Kind::general;
    return pattern;
}

bool TextPattern::matchGeneral(QStringView value) const
{
    const std::size_t count = m_segments.size();
    qsizetype pos = matchAt(m_segments[0], value, 0);
    if (pos < 0)
        return false;
    if (count == 1)
        return pos == value.size();
    // Between stars the leftmost place is never worse than a later one.
    for (std::size_t i = 1; i + 1 < count; ++i) {
        const qsizetype at = find(m_segments[i], value, pos);
        if (at < 0)
            return false;
        pos = matchAt(m_segments[i], value, at);
    }
    const Segment &last = m_segments.back();
    if (!last.hasAnyChar)
        return value.size() - pos >= last.text.size() && value.endsWith(last.text);
    for (qsizetype at = pos; at < value.size(); ++at) {
        if (matchAt(last, value, at) == value.size())
            return true;
    }
    return false;
}

template<typename Bounds>
bool TextPattern::matchWords(QStringView value, const Bounds &bounds) const
{
    const std::size_t count = m_segments.size();
    const Segment &first = m_segments[0];
    const auto nextStart = [&](qsizetype from) {
        if (first.text.isEmpty())
            return from <= value.size() ? from : -1;
        return find(first, value, from);
    };
    for (qsizetype start = nextStart(0); start >= 0; start = nextStart(start + 1)) {
        if (!bounds.atEdge(start))
            continue;
        qsizetype pos = matchAt(first, value, start);
        if (pos < 0)
            continue;
        if (count == 1) {
            if (bounds.atEdge(pos))
                return true;
            continue;
        }
        // Past the first star a later start only narrows what follows, so this start decides.
        for (std::size_t i = 1; i + 1 < count; ++i) {
            const qsizetype at = find(m_segments[i], value, pos);
            if (at < 0)
                return false;
            pos = matchAt(m_segments[i], value, at);
        }
        const Segment &last = m_segments.back();
        if (last.text.isEmpty())
            return true; // a trailing star: a word prefix
        for (qsizetype at = find(last, value, pos); at >= 0; at = find(last, value, at + 1)) {
            if (bounds.atEdge(matchAt(last, value, at)))
                return true;
        }
        return false;
    }
    return false;
}

bool TextPattern::matchesFolded(QStringView value) const
{
    switch (m_kind) {
    case Kind::everything:
        return true;
    case Kind::exact:
        return value == QStringView(m_segments[0].text);
    case Kind::prefix:
        return value.startsWith(m_segments[0].text);
    case Kind::suffix:
        return value.endsWith(m_segments[1].text);
    case Kind::contains:
        return m_segments[1].matcher->indexIn(value) >= 0;
    case Kind::general:
        return matchGeneral(value);
    case Kind::word:
        return matchWords(value, TextBounds {value, !m_ignoreCase});
    }
    return false;
}

bool TextPattern::matches(QStringView value) const
{
    if (m_kind == Kind::everything)
        return true;
    if (!m_ignoreCase && !m_ignoreDiacritics)
        return matchesFolded(value);
    // Reused per thread so a match allocates nothing once warm.
    thread_local QString folded;
    folded.resize(0);
    if (m_kind == Kind::word && m_ignoreCase) {
        thread_local std::vector<quint8> flags;
        flags.clear();
        appendFolded(value, m_ignoreCase, m_ignoreDiacritics, folded, &flags);
        return matchWords(folded, FlagBounds {flags});
    }
    appendFolded(value, m_ignoreCase, m_ignoreDiacritics, folded, nullptr);
    return matchesFolded(folded);
}

} // namespace mdindex
