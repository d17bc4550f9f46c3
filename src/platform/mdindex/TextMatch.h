#pragma once

#include <QString>
#include <QStringMatcher>

#include <memory>
#include <optional>
#include <vector>

namespace mdindex {

// The folding every text comparison goes through: with ignoreDiacritics each character loses its
// combining marks (canonical decomposition, nonspacing and enclosing marks dropped), then with
// ignoreCase it is case folded. Works character by character, so folding a concatenation is the
// concatenation of the folds.
QString foldText(QStringView text, bool ignoreCase, bool ignoreDiacritics);

// A quoted value of the query language, compiled once: `*` any run, `?` one character, a backslash
// takes the next character literally; modifiers c (ignore case), d (ignore diacritics), w (words).
class TextPattern
{
public:
    // body is the text between the quotes with its backslashes intact. No pattern for a dangling
    // backslash or an unknown modifier letter.
    static std::optional<TextPattern> compile(QStringView body, QStringView modifiers = {});
    static std::optional<TextPattern> compile(QStringView body, bool ignoreCase, bool ignoreDiacritics, bool wordBased);

    bool ignoreCase() const { return m_ignoreCase; }
    bool ignoreDiacritics() const { return m_ignoreDiacritics; }
    bool wordBased() const { return m_wordBased; }

    bool matches(QStringView value) const;
    // value already went through foldText with this pattern's flags. Exact, except for a word-based
    // pattern that ignores case: folding lost the lower-to-upper changes that start words, so there a
    // true only says the record is a candidate for matches() on the original value.
    bool matchesFolded(QStringView foldedValue) const;
    bool matchesFoldedIsExact() const { return !(m_wordBased && m_ignoreCase); }
    // Always exact: the fast path, and the original value only where the fast path cannot decide.
    bool matchesFolded(QStringView foldedValue, QStringView value) const { return matchesFolded(foldedValue) && (matchesFoldedIsExact() || matches(value)); }

    // Folded text every matching value contains (the longest run free of wildcards); empty if none.
    QString requiredLiteral() const { return m_requiredLiteral; }
    // The value without escapes, wildcards taken as plain characters, folded: what < and > compare with.
    const QString &literalText() const { return m_literalText; }
    bool hasWildcards() const { return m_hasWildcards; }

    // A piece between two stars. `?` sits in text as a placeholder with its flag set in anyChar (which
    // is empty when the piece has no `?`).
    struct Segment {
        QString text;
        std::vector<bool> anyChar;
        bool hasAnyChar = false;
        // Prepared for a search, in patterns of a few pieces; a matcher is about a kilobyte, so a pattern
        // of many stars searches without.
        std::shared_ptr<const QStringMatcher> matcher;
    };

private:
    enum class Kind { everything, exact, prefix, suffix, contains, general, word };

    TextPattern() = default;
    template<typename Bounds>
    bool matchWords(QStringView value, const Bounds &bounds) const;
    bool matchGeneral(QStringView value) const;

    Kind m_kind = Kind::exact;
    bool m_ignoreCase = false;
    bool m_ignoreDiacritics = false;
    bool m_wordBased = false;
    bool m_hasWildcards = false;
    std::vector<Segment> m_segments; // split at the stars, so a leading or trailing star leaves an empty end
    QString m_requiredLiteral;
    QString m_literalText;
};

} // namespace mdindex
