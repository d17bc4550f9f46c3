#include "NaturalSearch.h"
#include "FilePath.h"

#include "UTType.h"
#include "UserPlaces.h"

#include <QDir>
#include <QHash>
#include <QSet>

#include <algorithm>
#include <cmath>
#include <limits>

namespace NaturalSearch {

namespace {

    struct Kind {
        std::optional<FileCategory> category;
        QStringList extensions;
        bool screenshots = false;
        QString label;
    };

    QSet<QString> wordSet(std::initializer_list<const char *> words)
    {
        QSet<QString> set;
        for (const char *word : words)
            set.insert(QString::fromLatin1(word));
        return set;
    }

    QStringList wordList(std::initializer_list<const char *> words)
    {
        QStringList list;
        for (const char *word : words)
            list.append(QString::fromLatin1(word));
        return list;
    }

    // Whether files of these name endings are of the category (some of them at least, as "csv" among
    // the spreadsheets is text rather than a document): the endings then name a part of it.
    bool narrows(const QStringList &extensions, FileCategory category)
    {
        return std::any_of(extensions.begin(), extensions.end(),
            [category](const QString &extension) { return FileCategory::classify(UTType::fromFilenameExtension(extension), false) == category; });
    }

    const QSet<QString> &stopwords()
    {
        static const QSet<QString> words = wordSet({
            "show",
            "me",
            "find",
            "search",
            "get",
            "list",
            "give",
            "all",
            "any",
            "my",
            "the",
            "a",
            "an",
            "of",
            "from",
            "in",
            "on",
            "at",
            "with",
            "that",
            "which",
            "are",
            "is",
            "were",
            "was",
            "files",
            "file",
            "stuff",
            "things",
            "items",
            "taken",
            "made",
            "created",
            "modified",
            "saved",
            "downloaded",
            "opened",
            "edited",
            "than",
            "for",
            "i",
            "want",
            "to",
            "about",
            "named",
            "called",
            "containing",
            "contain",
            "contains",
            "have",
            "has",
            "and",
            "or",
            "where",
            "some",
            "every",
            "via",
            "by",
            "shot",
            "since",
            "after",
            "before",
            "during",
            "between",
            "ago",
            "please",
        });
        return words;
    }

    const QHash<QString, Kind> &kinds()
    {
        static const QHash<QString, Kind> table = [] {
            QHash<QString, Kind> t;
            const auto row = [&t](std::initializer_list<const char *> words, const Kind &kind) {
                for (const char *word : words)
                    t.insert(QString::fromLatin1(word), kind);
            };
            row({"photo", "photos", "image", "images", "picture", "pictures", "pic", "pics", "pix", "selfies"},
                {FileCategory::images, {}, false, QStringLiteral("Photos")});
            row({"screenshot", "screenshots", "screengrab", "screengrabs"}, {std::nullopt, {}, true, QStringLiteral("Screenshots")});
            row({"video", "videos", "movie", "movies", "clip", "clips", "recording", "recordings", "footage"},
                {FileCategory::videos, {}, false, QStringLiteral("Videos")});
            row({"music", "song", "songs", "track", "tracks", "audio", "podcast", "podcasts"}, {FileCategory::music, {}, false, QStringLiteral("Music")});
            row({"document", "documents", "doc", "docs"}, {FileCategory::documents, {}, false, QStringLiteral("Documents")});
            row({"pdf", "pdfs"}, {std::nullopt, wordList({"pdf"}), false, QStringLiteral("PDFs")});
            // The office kinds take the open document formats beside the others: a spreadsheet is one
            // whichever program made it.
            row({"spreadsheet", "spreadsheets", "excel", "sheets", "xlsx", "csv", "csvs", "ods"},
                {std::nullopt, wordList({"xlsx", "xls", "ods", "csv", "numbers", "tsv"}), false, QStringLiteral("Spreadsheets")});
            row({"presentation", "presentations", "slides", "deck", "decks", "keynote", "keynotes", "powerpoint", "pptx", "odp"},
                {std::nullopt, wordList({"key", "ppt", "pptx", "odp"}), false, QStringLiteral("Presentations")});
            row({"word", "docx", "odt"}, {std::nullopt, wordList({"doc", "docx", "odt", "pages", "rtf"}), false, QStringLiteral("Word documents")});
            row({"zip", "zips", "archive", "archives", "compressed"}, {FileCategory::archives, {}, false, QStringLiteral("Archives")});
            // Installers of this desktop too: the same three words find packages of every kind.
            row({"dmg", "dmgs", "installer", "installers", "pkg", "pkgs"},
                {std::nullopt, wordList({"dmg", "pkg", "mpkg", "deb", "rpm", "flatpakref", "snap"}), false, QStringLiteral("Installers")});
            row({"app", "apps", "application", "applications"}, {FileCategory::apps, {}, false, QStringLiteral("Apps")});
            row({"code", "script", "scripts", "source"}, {FileCategory::code, {}, false, QStringLiteral("Code")});
            return t;
        }();
        return table;
    }

    const QSet<QString> &bareExtensions()
    {
        static const QSet<QString> words = wordSet({"png", "jpg", "jpeg", "heic", "gif", "webp", "svg", "tiff", "raw", "dng", "psd", "mov", "mp4", "m4v", "mkv",
            "avi", "webm", "mp3", "m4a", "wav", "flac", "aac", "txt", "md", "rtf", "pages", "numbers", "odg", "epub", "json", "html", "iso"});
        return words;
    }

    const QSet<QString> &cameras()
    {
        static const QSet<QString> words = wordSet(
            {"iphone", "ipad", "canon", "nikon", "sony", "fujifilm", "fuji", "gopro", "dji", "pixel", "samsung", "olympus", "panasonic", "leica", "ricoh"});
        return words;
    }

    // The folder a folder word means, as a path; no value where this machine has no such folder.
    std::optional<QString> folderPath(const QString &word)
    {
        using UserPlaces::UserFolder;
        if (word == QLatin1StringView("downloads"))
            return UserPlaces::userFolder(UserFolder::downloads);
        if (word == QLatin1StringView("desktop"))
            return UserPlaces::userFolder(UserFolder::desktop);
        if (word == QLatin1StringView("documents"))
            return UserPlaces::userFolder(UserFolder::documents);
        if (word == QLatin1StringView("pictures"))
            return UserPlaces::userFolder(UserFolder::pictures);
        // The videos folder answers to the old word and to its usual name on this desktop.
        if (word == QLatin1StringView("movies") || word == QLatin1StringView("videos"))
            return UserPlaces::userFolder(UserFolder::videos);
        if (word == QLatin1StringView("icloud"))
            return QDir(UserPlaces::homePath()).filePath(QStringLiteral("Library/Mobile Documents/com~apple~CloudDocs"));
        return std::nullopt;
    }

    bool isFolderWord(const QString &word)
    {
        static const QSet<QString> words = wordSet({"downloads", "desktop", "documents", "pictures", "movies", "videos", "icloud"});
        return words.contains(word);
    }

    const QHash<QString, int> &months()
    {
        static const QHash<QString, int> table = {
            {QStringLiteral("january"), 1},
            {QStringLiteral("jan"), 1},
            {QStringLiteral("february"), 2},
            {QStringLiteral("feb"), 2},
            {QStringLiteral("march"), 3},
            {QStringLiteral("mar"), 3},
            {QStringLiteral("april"), 4},
            {QStringLiteral("apr"), 4},
            {QStringLiteral("may"), 5},
            {QStringLiteral("june"), 6},
            {QStringLiteral("jun"), 6},
            {QStringLiteral("july"), 7},
            {QStringLiteral("jul"), 7},
            {QStringLiteral("august"), 8},
            {QStringLiteral("aug"), 8},
            {QStringLiteral("september"), 9},
            {QStringLiteral("sep"), 9},
            {QStringLiteral("sept"), 9},
            {QStringLiteral("october"), 10},
            {QStringLiteral("oct"), 10},
            {QStringLiteral("november"), 11},
            {QStringLiteral("nov"), 11},
            {QStringLiteral("december"), 12},
            {QStringLiteral("dec"), 12},
        };
        return table;
    }

    enum class Direction { up, down };

    std::optional<Direction> comparator(const QString &word)
    {
        static const QSet<QString> up = wordSet({"over", "above", "bigger", "larger", "greater", "more", ">", "exceeding", "min"});
        static const QSet<QString> down = wordSet({"under", "below", "smaller", "less", "<", "lighter", "max"});
        if (up.contains(word))
            return Direction::up;
        if (down.contains(word))
            return Direction::down;
        return std::nullopt;
    }

    std::optional<double> multiplier(const QString &word)
    {
        static const QHash<QString, double> table = [] {
            QHash<QString, double> t;
            const auto row = [&t](std::initializer_list<const char *> words, double factor) {
                for (const char *word : words)
                    t.insert(QString::fromLatin1(word), factor);
            };
            row({"b", "bytes"}, 1);
            row({"k", "kb", "kilobyte", "kilobytes"}, 1e3);
            row({"m", "mb", "meg", "megs", "megabyte", "megabytes"}, 1e6);
            row({"g", "gb", "gig", "gigs", "gigabyte", "gigabytes"}, 1e9);
            row({"t", "tb", "terabyte", "terabytes"}, 1e12);
            return t;
        }();
        if (auto it = table.constFind(word); it != table.cend())
            return *it;
        return std::nullopt;
    }

    struct Size {
        qint64 bytes;
        int tokensUsed;
    };

    std::optional<Size> size(qsizetype index, const QStringList &tokens)
    {
        if (index < 0 || index >= tokens.size())
            return std::nullopt;
        const QString &token = tokens[index];
        qsizetype digits = 0;
        while (digits < token.size() && (token[digits].isDigit() || token[digits] == QLatin1Char('.')))
            ++digits;
        bool ok = false;
        const double value = QLocale::c().toDouble(QStringView(token).left(digits), &ok);
        if (!ok || !(value > 0))
            return std::nullopt;

        QString unit = token.sliced(digits);
        int used = 1;
        if (unit.isEmpty() && index + 1 < tokens.size() && multiplier(tokens[index + 1])) {
            unit = tokens[index + 1];
            used = 2;
        }
        const auto factor = multiplier(unit);
        if (!factor)
            return std::nullopt;
        // A count past the largest file size stands for "as large as it gets" rather than wrapping.
        const double bytes = value * *factor;
        const qint64 count = bytes >= 9223372036854775808.0 ? std::numeric_limits<qint64>::max() : qint64(bytes);
        return Size {count, used};
    }

    std::optional<int> integer(const QString &word)
    {
        bool ok = false;
        const int value = word.toInt(&ok);
        return ok ? std::optional(value) : std::nullopt;
    }

    // The only helper that reads the clock: a year can be at most next year, whatever `now` was given.
    std::optional<int> year(const QString *word)
    {
        if (!word || word->size() != 4)
            return std::nullopt;
        const auto value = integer(*word);
        if (!value || *value < 1990 || *value > QDate::currentDate().year() + 1)
            return std::nullopt;
        return value;
    }

    std::optional<DateUnit> dateUnit(const QString *word)
    {
        if (!word)
            return std::nullopt;
        static const QHash<QString, DateUnit> table = {
            {QStringLiteral("day"), DateUnit::day},
            {QStringLiteral("days"), DateUnit::day},
            {QStringLiteral("week"), DateUnit::weekOfYear},
            {QStringLiteral("weeks"), DateUnit::weekOfYear},
            {QStringLiteral("weekend"), DateUnit::weekOfYear},
            {QStringLiteral("month"), DateUnit::month},
            {QStringLiteral("months"), DateUnit::month},
            {QStringLiteral("year"), DateUnit::year},
            {QStringLiteral("years"), DateUnit::year},
        };
        if (auto it = table.constFind(*word); it != table.cend())
            return *it;
        return std::nullopt;
    }

    QString unitText(DateUnit unit)
    {
        switch (unit) {
        case DateUnit::month:
            return QStringLiteral("month");
        case DateUnit::day:
            return QStringLiteral("day");
        case DateUnit::weekOfYear:
            return QStringLiteral("week");
        case DateUnit::year:
            break;
        }
        return QStringLiteral("year");
    }

    // "3 days", "1 week": the plural is the unit with an "s" unless the count is 1.
    QString countedUnit(qint64 n, DateUnit unit)
    {
        return QString::number(n) + QLatin1Char(' ') + unitText(unit) + (n == 1 ? QString() : QStringLiteral("s"));
    }

    // The scan over the tokens, with the state the rules share.
    class Scanner
    {
    public:
        Scanner(ParsedQuery &query, const QStringList &tokens, const QDateTime &now, const Calendar &calendar)
            : q(query)
            , tokens(tokens)
            , now(now)
            , calendar(calendar)
        {
        }

        void run()
        {
            while (i < tokens.size()) {
                const qsizetype step = applyRules();
                i += step;
            }
            q.terms += leftovers;
        }

    private:
        const QString *at(qsizetype index) const { return index >= 0 && index < tokens.size() ? &tokens[index] : nullptr; }
        const QString *prev() const { return at(i - 1); }
        const QString *next() const { return at(i + 1); }
        bool prevIsOneOf(std::initializer_list<const char *> words) const
        {
            const QString *p = prev();
            return p && std::any_of(words.begin(), words.end(), [p](const char *w) { return *p == QLatin1StringView(w); });
        }

        void setRange(const QDateTime &from, const std::optional<QDateTime> &to, const QString &label)
        {
            if (prevIsOneOf({"since", "after"})) {
                q.after = from;
                q.dateLabel = QStringLiteral("Since ") + label;
            } else if (prevIsOneOf({"before"})) {
                q.before = from;
                q.dateLabel = QStringLiteral("Before ") + label;
            } else {
                q.after = from;
                q.before = to;
                q.dateLabel = label;
            }
        }

        // Returns how many tokens the first rule that fires consumed.
        qsizetype applyRules()
        {
            const QString &word = tokens[i];

            // Comparator with size: "over 10 mb", "more than 1.5gb".
            if (const auto direction = comparator(word)) {
                const qsizetype j = (next() && *next() == QLatin1StringView("than")) ? i + 2 : i + 1;
                if (const auto s = size(j, tokens)) {
                    (*direction == Direction::up ? q.minSize : q.maxSize) = s->bytes;
                    return j + s->tokensUsed - i;
                }
            }
            // At least.
            if (word == QLatin1StringView("at") && next() && *next() == QLatin1StringView("least")) {
                if (const auto s = size(i + 2, tokens)) {
                    q.minSize = s->bytes;
                    return 2 + s->tokensUsed;
                }
            }
            // Bare size: "10mb" is a lower bound; "500" alone is not a size.
            if (const auto s = size(i, tokens); s && word.front().isNumber()) {
                const QString joined = tokens.mid(i, s->tokensUsed).join(QString());
                if (std::any_of(joined.begin(), joined.end(), [](QChar c) { return c.isLetter(); })) {
                    q.minSize = s->bytes;
                    return s->tokensUsed;
                }
            }
            if (const auto consumed = sizeAdjective(word))
                return consumed;
            if (const auto consumed = namedDay(word))
                return consumed;
            if (const auto consumed = relativePeriod(word))
                return consumed;
            if (const auto consumed = ago(word))
                return consumed;
            if (const auto consumed = olderThan(word))
                return consumed;
            if (const auto consumed = month(word))
                return consumed;
            if (const auto y = year(&word)) {
                const QDateTime from = calendar.startOfMonth(*y, 1);
                setRange(from, calendar.adding(DateUnit::year, 1, from), QString::number(*y));
                return 1;
            }
            if (const auto consumed = folder(word))
                return consumed;
            if (const auto consumed = kind(word))
                return consumed;
            if (const auto consumed = bareExtension(word))
                return consumed;
            if (cameras().contains(word)) {
                q.camera = word == QLatin1StringView("fuji") ? QStringLiteral("fujifilm") : word;
                return 1;
            }
            if (word == QLatin1StringView("drive") && (prevIsOneOf({"google", "from", "in", "on"}))) {
                q.source = DownloadSources::named(QStringLiteral("Google Drive"));
                if (!leftovers.isEmpty() && leftovers.last() == QLatin1StringView("google"))
                    leftovers.removeLast();
                return 1;
            }
            if (auto source = DownloadSources::forKeyword(word)) {
                q.source = std::move(source);
                return 1;
            }
            if (const auto consumed = sourceDomain(word))
                return consumed;

            if (!stopwords().contains(word))
                leftovers.append(word);
            return 1;
        }

        qsizetype sizeAdjective(const QString &word)
        {
            static const QSet<QString> large = wordSet({"large", "big", "biggest", "largest", "heavy"});
            static const QSet<QString> huge = wordSet({"huge", "massive", "enormous"});
            static const QSet<QString> small = wordSet({"small", "tiny", "smallest"});
            if (large.contains(word)) {
                if (!q.minSize)
                    q.minSize = 100'000'000;
                return 1;
            }
            if (huge.contains(word)) {
                // The stronger word wins over an earlier "big".
                q.minSize = 1'000'000'000;
                return 1;
            }
            if (small.contains(word)) {
                if (!q.maxSize)
                    q.maxSize = 1'000'000;
                return 1;
            }
            return 0;
        }

        qsizetype namedDay(const QString &word)
        {
            static const QSet<QString> recent = wordSet({"recent", "recently", "latest", "new", "newest"});
            const QDateTime start = calendar.startOfDay(now);
            if (word == QLatin1StringView("today")) {
                setRange(start, std::nullopt, QStringLiteral("Today"));
                return 1;
            }
            if (word == QLatin1StringView("yesterday")) {
                setRange(calendar.adding(DateUnit::day, -1, start), start, QStringLiteral("Yesterday"));
                return 1;
            }
            if (recent.contains(word)) {
                q.after = calendar.adding(DateUnit::day, -14, now);
                q.dateLabel = QStringLiteral("Recent");
                return 1;
            }
            return 0;
        }

        qsizetype relativePeriod(const QString &word)
        {
            static const QSet<QString> openers = wordSet({"this", "last", "past", "previous"});
            if (!openers.contains(word) || !next())
                return 0;
            if (const auto n = integer(*next())) {
                if (const auto unit = dateUnit(at(i + 2))) {
                    q.after = calendar.adding(*unit, -*n, now);
                    q.dateLabel = QStringLiteral("Past ") + countedUnit(*n, *unit);
                    return 3;
                }
            }
            const auto unit = dateUnit(next());
            if (!unit)
                return 0;
            const QString unitName = unitText(*unit);
            if (word == QLatin1StringView("this")) {
                setRange(calendar.interval(*unit, now).first, std::nullopt, QStringLiteral("This ") + unitName);
            } else if (word == QLatin1StringView("past")) {
                q.after = calendar.adding(*unit, -1, now);
                q.dateLabel = QStringLiteral("Past ") + unitName;
            } else {
                const QDateTime start = calendar.interval(*unit, now).first;
                setRange(calendar.adding(*unit, -1, start), start, QStringLiteral("Last ") + unitName);
            }
            return 2;
        }

        qsizetype ago(const QString &word)
        {
            const auto n = integer(word);
            const auto unit = dateUnit(next());
            const QString *third = at(i + 2);
            if (!n || !unit || !third || *third != QLatin1StringView("ago"))
                return 0;
            const auto [start, end] = calendar.interval(*unit, calendar.adding(*unit, -*n, now));
            q.after = start;
            q.before = end;
            q.dateLabel = countedUnit(*n, *unit) + QStringLiteral(" ago");
            return 3;
        }

        qsizetype olderThan(const QString &word)
        {
            if (word != QLatin1StringView("older") || !next() || *next() != QLatin1StringView("than"))
                return 0;
            qsizetype j = i + 2;
            const QString *count = at(j);
            const auto parsed = count ? integer(*count) : std::nullopt;
            const int n = parsed.value_or(1);
            if (parsed || (count && (*count == QLatin1StringView("a") || *count == QLatin1StringView("an"))))
                j = i + 3;
            const auto unit = dateUnit(at(j));
            if (!unit)
                return 0;
            q.before = calendar.adding(*unit, -n, now);
            q.dateLabel = QStringLiteral("Older than ") + countedUnit(n, *unit);
            return j + 1 - i;
        }

        qsizetype month(const QString &word)
        {
            const auto found = months().constFind(word);
            if (found == months().cend())
                return 0;
            const int m = *found;
            const auto nextYear = year(next());
            // "may" is also an ordinary word; only a date context makes it a month.
            if (word == QLatin1StringView("may") && !prevIsOneOf({"in", "from", "since", "before", "during"}) && !nextYear)
                return 0;
            int y = 0;
            QString label = calendar.monthName(m);
            qsizetype used = 1;
            if (nextYear) {
                y = *nextYear;
                label += QLatin1Char(' ') + QString::number(y);
                used = 2;
            } else {
                // A month name looks back: "december" said in March is last December.
                const QDate today = calendar.date(now);
                y = m > today.month() ? today.year() - 1 : today.year();
            }
            const QDateTime from = calendar.startOfMonth(y, m);
            setRange(from, calendar.adding(DateUnit::month, 1, from), label);
            return used;
        }

        qsizetype folder(const QString &word)
        {
            if (!isFolderWord(word))
                return 0;
            const bool placed = prevIsOneOf({"in", "on", "from", "inside"});
            if (!placed && word != QLatin1StringView("desktop") && word != QLatin1StringView("downloads"))
                return 0;
            const auto path = folderPath(word);
            if (!path)
                return 0;
            const QUrl url = FilePath::toUrl(*path);
            for (const Location &row : Location::standard()) {
                if (row.url == url) {
                    q.folder = row;
                    return 1;
                }
            }
            return 0;
        }

        qsizetype kind(const QString &word)
        {
            const auto found = kinds().constFind(word);
            if (found == kinds().cend())
                return 0;
            const Kind &row = *found;
            if (row.screenshots)
                q.screenshotsOnly = true;
            // The general word of a kind right after a narrower kind of it names the narrower kind:
            // "word documents", "pdf documents", "excel documents".
            if (row.category && prev() && !q.extensions.isEmpty()) {
                const auto before = kinds().constFind(*prev());
                if (before != kinds().cend() && before->extensions == q.extensions && narrows(q.extensions, *row.category))
                    return 1;
            }
            if (row.category) {
                q.category = row.category;
                q.extensions.clear();
            }
            if (!row.extensions.isEmpty()) {
                q.extensions = row.extensions;
                q.category.reset();
            }
            q.kindLabel = row.label;
            return 1;
        }

        qsizetype bareExtension(const QString &word)
        {
            const QString singular = word.endsWith(QLatin1Char('s')) ? word.chopped(1) : word;
            const bool wordKnown = bareExtensions().contains(word);
            if (!wordKnown && !bareExtensions().contains(singular))
                return 0;
            const QString ext = wordKnown ? word : singular;
            q.extensions.append(ext);
            if (ext == QLatin1StringView("jpg"))
                q.extensions.append(QStringLiteral("jpeg"));
            q.category.reset();
            QStringList shown;
            for (const QString &e : std::as_const(q.extensions)) {
                if (e != QLatin1StringView("jpeg"))
                    shown.append(e.toUpper());
            }
            q.kindLabel = shown.join(QLatin1StringView(", "));
            return 1;
        }

        qsizetype sourceDomain(const QString &word)
        {
            if (!prevIsOneOf({"from"}) || !word.contains(QLatin1Char('.')))
                return 0;
            const QStringList parts = word.split(QLatin1Char('.'), Qt::SkipEmptyParts);
            if (parts.size() < 2)
                return 0;
            const QString &last = parts.last();
            if (last.size() < 2 || !std::all_of(last.begin(), last.end(), [](QChar c) { return c.isLetter(); }) || bareExtensions().contains(last))
                return 0;
            const QString domain = DownloadSources::registrableDomain(word);
            q.source = DownloadSource {domain, QStringLiteral("globe"), {domain}, {}, std::nullopt};
            return 1;
        }

        ParsedQuery &q;
        const QStringList &tokens;
        const QDateTime &now;
        const Calendar &calendar;
        QStringList leftovers;
        qsizetype i = 0;
    };

} // namespace

QStringList tokenize(const QString &text)
{
    QString spaced = text.toLower();
    spaced.replace(QLatin1Char('>'), QLatin1StringView(" > "));
    spaced.replace(QLatin1Char('<'), QLatin1StringView(" < "));

    QStringList tokens;
    QString piece;
    const auto flush = [&tokens, &piece] {
        while (!piece.isEmpty() && QStringView(u".:'").contains(piece.back()))
            piece.chop(1);
        if (piece.endsWith(QLatin1StringView("'s")))
            piece.chop(2);
        if (!piece.isEmpty())
            tokens.append(piece);
        piece.clear();
    };
    for (const QChar c : std::as_const(spaced)) {
        if (c.isSpace() || QStringView(u",;!?()").contains(c))
            flush();
        else
            piece.append(c);
    }
    flush();
    return tokens;
}

ParsedQuery parse(const QString &raw, const QDateTime &now, const Calendar &calendar)
{
    ParsedQuery query;
    query.raw = raw;

    // Quoted phrases are kept whole and as typed.
    QString rest = raw;
    for (;;) {
        const qsizetype open = rest.indexOf(QLatin1Char('"'));
        const qsizetype close = open < 0 ? -1 : rest.indexOf(QLatin1Char('"'), open + 1);
        if (close < 0)
            break;
        const QString phrase = rest.sliced(open + 1, close - open - 1).trimmed();
        if (!phrase.isEmpty())
            query.terms.append(phrase);
        rest.remove(open, close - open + 1);
    }

    const QStringList tokens = tokenize(rest);
    Scanner(query, tokens, now, calendar).run();
    return query;
}

} // namespace NaturalSearch
