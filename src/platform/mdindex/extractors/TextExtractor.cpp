#include "ExtractorSupport.h"
#include "Extractors.h"

#include <QStringDecoder>
#include <QVarLengthArray>

using namespace Qt::StringLiterals;

namespace mdindex::extractors {

namespace {

    // Bytes a text file starts with that a text file never holds: a binary file with a text name.
    bool looksBinary(QByteArrayView head)
    {
        if (head.startsWith("\xFF\xFE") || head.startsWith("\xFE\xFF"))
            return false;
        return head.first(std::min<qsizetype>(head.size(), 8192)).contains('\0');
    }

    void appendSpace(QString &out, QChar space)
    {
        if (out.isEmpty())
            return;
        const QChar last = out.back();
        if (last == u'\n' || (last.isSpace() && space != u'\n'))
            return;
        if (last.isSpace())
            out.back() = space;
        else
            out += space;
    }

    QChar entity(QStringView name)
    {
        static const std::pair<QStringView, char16_t> named[] = {
            {u"amp", u'&'},
            {u"lt", u'<'},
            {u"gt", u'>'},
            {u"quot", u'"'},
            {u"apos", u'\''},
            {u"nbsp", u' '},
            {u"mdash", u'—'},
            {u"ndash", u'–'},
            {u"hellip", u'…'},
            {u"copy", u'©'},
            {u"reg", u'®'},
            {u"euro", u'€'},
        };
        if (name.startsWith(u'#')) {
            bool ok = false;
            const uint code = name.size() > 1 && (name[1] == u'x' || name[1] == u'X') ? name.sliced(2).toUInt(&ok, 16) : name.sliced(1).toUInt(&ok);
            // Outside the basic plane would need a pair; such characters do not help a search.
            return ok && code > 0 && code < 0xD800 ? QChar(char16_t(code)) : QChar();
        }
        for (const auto &[key, value] : named) {
            if (name == key)
                return QChar(value);
        }
        return QChar();
    }

    // Markup without its tags, comments, scripts and styles, entities decoded.
    QString markupText(QStringView html)
    {
        static const QStringView blocks[] = {u"p", u"div", u"br", u"li", u"tr", u"td", u"th", u"h1", u"h2", u"h3", u"h4", u"h5", u"h6", u"title", u"section",
            u"article", u"header", u"footer", u"table", u"ul", u"ol", u"blockquote", u"pre", u"dt", u"dd"};
        QString out;
        const qsizetype n = html.size();
        qsizetype i = 0;
        while (i < n && out.size() < kTextKeepLimit) {
            const QChar c = html[i];
            if (c == u'<') {
                if (html.sliced(i).startsWith(u"<!--")) {
                    const qsizetype end = html.indexOf(u"-->", i + 4);
                    i = end < 0 ? n : end + 3;
                    continue;
                }
                qsizetype j = i + 1;
                const bool closing = j < n && html[j] == u'/';
                if (closing)
                    ++j;
                const qsizetype nameStart = j;
                while (j < n && (html[j].isLetterOrNumber() || html[j] == u':' || html[j] == u'-'))
                    ++j;
                const QString name = html.sliced(nameStart, j - nameStart).toString().toLower();
                if (name.isEmpty() && !closing && !(j < n && (html[j] == u'!' || html[j] == u'?'))) {
                    out += c; // a lone "<" in the text
                    ++i;
                    continue;
                }
                // The tag ends at the first ">" outside a quoted attribute value.
                QChar quote;
                while (j < n && (!quote.isNull() || html[j] != u'>')) {
                    if (quote.isNull() && (html[j] == u'"' || html[j] == u'\''))
                        quote = html[j];
                    else if (html[j] == quote)
                        quote = QChar();
                    ++j;
                }
                i = j + 1;
                if (!closing && (name == u"script" || name == u"style")) {
                    const qsizetype end = html.indexOf(QString(u"</"_s + name), i, Qt::CaseInsensitive);
                    const qsizetype close = end < 0 ? -1 : html.indexOf(u'>', end);
                    i = close < 0 ? n : close + 1;
                    continue;
                }
                if (std::find(std::begin(blocks), std::end(blocks), name) != std::end(blocks))
                    appendSpace(out, u'\n');
                continue;
            }
            if (c == u'&') {
                const qsizetype end = html.indexOf(u';', i + 1);
                if (end > i + 1 && end - i <= 10) {
                    if (const QChar decoded = entity(html.sliced(i + 1, end - i - 1)); !decoded.isNull()) {
                        out += decoded;
                        i = end + 1;
                        continue;
                    }
                }
            }
            if (c.isSpace())
                appendSpace(out, c == u'\n' ? u'\n' : u' ');
            else
                out += c;
            ++i;
        }
        return out;
    }

    // RTF without control words, groups that are not text (fonts, colours, pictures, fields'
    // instructions, ...) and the fallbacks of \u characters.
    QString rtfText(QByteArrayView rtf)
    {
        static const QByteArrayView skipped[] = {"fonttbl", "colortbl", "stylesheet", "info", "pict", "object", "header", "headerl", "headerr", "headerf",
            "footer", "footerl", "footerr", "footerf", "listtable", "listoverridetable", "rsidtbl", "generator", "xmlnstbl", "themedata", "colorschememapping",
            "datastore", "latentstyles", "fldinst", "filetbl", "revtbl", "pgdsctbl", "mmathPr"};
        struct State {
            bool skip = false;
            int unicodeFallback = 1;
        };
        constexpr int kMaxDepth = 512;
        QVarLengthArray<State, 64> stack;
        State state;
        int depth = 0;
        int fallbackLeft = 0;
        QString out;
        const auto emit = [&](QChar c) {
            if (fallbackLeft > 0) {
                --fallbackLeft;
                return;
            }
            if (!state.skip)
                out += c;
        };
        const qsizetype n = rtf.size();
        qsizetype i = 0;
        while (i < n && out.size() < kTextKeepLimit) {
            const char c = rtf[i++];
            if (c == '{') {
                if (stack.size() < kMaxDepth)
                    stack.append(state);
                ++depth;
                fallbackLeft = 0;
            } else if (c == '}') {
                if (depth > 0 && depth <= kMaxDepth && !stack.isEmpty()) {
                    state = stack.back();
                    stack.removeLast();
                }
                depth = std::max(0, depth - 1);
                fallbackLeft = 0;
            } else if (c == '\\' && i < n) {
                const char next = rtf[i];
                if ((next >= 'a' && next <= 'z') || (next >= 'A' && next <= 'Z')) {
                    const qsizetype start = i;
                    while (i < n && i - start < 32 && ((rtf[i] >= 'a' && rtf[i] <= 'z') || (rtf[i] >= 'A' && rtf[i] <= 'Z')))
                        ++i;
                    const QByteArrayView word = rtf.sliced(start, i - start);
                    bool hasParameter = false;
                    bool negative = false;
                    long parameter = 0;
                    if (i < n && rtf[i] == '-') {
                        negative = true;
                        ++i;
                    }
                    for (int digits = 0; i < n && digits < 10 && rtf[i] >= '0' && rtf[i] <= '9'; ++digits, ++i) {
                        parameter = parameter * 10 + (rtf[i] - '0');
                        hasParameter = true;
                    }
                    if (negative)
                        parameter = -parameter;
                    if (i < n && rtf[i] == ' ')
                        ++i;
                    if (word == "par" || word == "line" || word == "sect" || word == "page" || word == "row") {
                        emit(u'\n');
                    } else if (word == "tab" || word == "cell") {
                        emit(u'\t');
                    } else if (word == "uc" && hasParameter) {
                        state.unicodeFallback = int(std::clamp(parameter, 0L, 8L));
                    } else if (word == "u" && hasParameter) {
                        fallbackLeft = 0;
                        emit(QChar(char16_t(parameter < 0 ? parameter + 65536 : parameter)));
                        fallbackLeft = state.unicodeFallback;
                    } else if (word == "bin" && hasParameter) {
                        // Raw bytes follow; they are never text.
                        i += qsizetype(std::clamp<long>(parameter, 0, long(n - i)));
                    } else if (word == "emdash") {
                        emit(u'—');
                    } else if (word == "endash") {
                        emit(u'–');
                    } else if (word == "lquote" || word == "rquote") {
                        emit(u'\'');
                    } else if (word == "ldblquote" || word == "rdblquote") {
                        emit(u'"');
                    } else if (word == "bullet") {
                        emit(u'•');
                    } else if (std::find(std::begin(skipped), std::end(skipped), word) != std::end(skipped)) {
                        state.skip = true;
                    }
                } else {
                    ++i;
                    if (next == '\'') {
                        bool ok = false;
                        const int byte = i + 2 <= n ? QByteArray(rtf.sliced(i, 2).data(), 2).toInt(&ok, 16) : 0;
                        if (ok) {
                            i += 2;
                            emit(QChar::fromLatin1(char(byte)));
                        }
                    } else if (next == '*') {
                        state.skip = true;
                    } else if (next == '\\' || next == '{' || next == '}') {
                        emit(QChar::fromLatin1(next));
                    } else if (next == '~') {
                        emit(u' ');
                    } else if (next == '_') {
                        emit(u'-');
                    } else if (next == '\n' || next == '\r') {
                        emit(u'\n');
                    }
                }
            } else if (c != '\r' && c != '\n') {
                emit(QChar::fromLatin1(c));
            }
        }
        return out;
    }

    class TextExtractor final : public Extractor
    {
    public:
        bool wants(const FileFacts &facts) const override { return conforms(facts, UTType::text()); }

        void extract(const QString &path, const FileFacts &facts, ExtractedAttributes &into) const override
        {
            const InputFile file(path);
            if (!file.isOpen())
                return;
            const QByteArray bytes = file.readAt(0, kTextReadLimit);
            QString text;
            if (conforms(facts, UTType::rtf())) {
                text = rtfText(bytes);
            } else if (looksBinary(bytes)) {
                return;
            } else if (conforms(facts, u"public.html") || conforms(facts, UTType::xml())) {
                QStringDecoder decoder = QStringDecoder::decoderForHtml(bytes);
                QString decoded;
                if (decoder.isValid()) {
                    decoded = decoder.decode(bytes);
                    if (decoder.hasError())
                        decoded.clear();
                }
                text = markupText(decoded.isNull() ? decodeText(bytes) : decoded);
            } else {
                text = decodeText(bytes);
            }
            capText(text);
            if (!text.trimmed().isEmpty())
                into.insert(MDAttribute::textContent.toString(), text);
        }
    };

} // namespace

std::unique_ptr<Extractor> makeTextExtractor()
{
    return std::make_unique<TextExtractor>();
}

} // namespace mdindex::extractors
