#include "DownloadSources.h"
#include "FilePath.h"

#include "ExtendedAttributes.h"

#include <QCache>
#include <QMutex>
#include <QMutexLocker>
#include <QSet>

#include <algorithm>

namespace {

DownloadSource row(const char *name, const char *symbol, QStringList domains, QStringList keywords)
{
    return DownloadSource {QString::fromUtf8(name), QString::fromUtf8(symbol), std::move(domains), std::move(keywords), std::nullopt};
}

QList<DownloadSource> buildCatalog()
{
    return {
        row("WhatsApp", "message.fill", {u"whatsapp.com"_qs, u"whatsapp.net"_qs}, {u"whatsapp"_qs}),
        row("Gmail", "envelope.fill", {u"mail.google.com"_qs}, {u"gmail"_qs}),
        row("Google Drive", "externaldrive.fill", {u"drive.google.com"_qs, u"docs.google.com"_qs, u"drive.usercontent.google.com"_qs}, {u"gdrive"_qs}),
        row("Slack", "number", {u"slack.com"_qs, u"slack-edge.com"_qs, u"files.slack.com"_qs}, {u"slack"_qs}),
        row("Telegram", "paperplane.fill", {u"telegram.org"_qs, u"t.me"_qs}, {u"telegram"_qs}),
        row("Discord", "gamecontroller.fill", {u"discord.com"_qs, u"discordapp.com"_qs, u"cdn.discordapp.com"_qs}, {u"discord"_qs}),
        row("GitHub", "chevron.left.forwardslash.chevron.right", {u"github.com"_qs, u"raw.githubusercontent.com"_qs}, {u"github"_qs}),
        row("Dropbox", "shippingbox.fill", {u"dropbox.com"_qs, u"dropboxusercontent.com"_qs}, {u"dropbox"_qs}),
        row("WeTransfer", "arrow.up.arrow.down", {u"wetransfer.com"_qs, u"we.tl"_qs}, {u"wetransfer"_qs}),
        row("Notion", "doc.richtext", {u"notion.so"_qs, u"notion.site"_qs, u"notion-static.com"_qs, u"notionusercontent.com"_qs}, {u"notion"_qs}),
        row("Figma", "pencil.and.outline", {u"figma.com"_qs}, {u"figma"_qs}),
        row("ChatGPT", "sparkle", {u"chatgpt.com"_qs, u"chat.openai.com"_qs, u"oaiusercontent.com"_qs}, {u"chatgpt"_qs, u"openai"_qs}),
        row("Claude", "sparkles", {u"claude.ai"_qs}, {u"claude"_qs}),
        row("YouTube", "play.rectangle.fill", {u"youtube.com"_qs, u"youtu.be"_qs, u"googlevideo.com"_qs}, {u"youtube"_qs}),
        row("X", "bird.fill", {u"x.com"_qs, u"twitter.com"_qs, u"twimg.com"_qs}, {u"twitter"_qs}),
        row("Instagram", "camera.fill", {u"instagram.com"_qs, u"cdninstagram.com"_qs}, {u"instagram"_qs}),
        row("Facebook", "person.2.fill", {u"facebook.com"_qs, u"fbcdn.net"_qs, u"messenger.com"_qs}, {u"facebook"_qs, u"messenger"_qs}),
        row("LinkedIn", "briefcase.fill", {u"linkedin.com"_qs, u"licdn.com"_qs}, {u"linkedin"_qs}),
        row("Reddit", "bubble.left.and.bubble.right.fill", {u"reddit.com"_qs, u"redd.it"_qs, u"redditmedia.com"_qs}, {u"reddit"_qs}),
        row("Pinterest", "pin.fill", {u"pinterest.com"_qs, u"pinimg.com"_qs}, {u"pinterest"_qs}),
        row("Canva", "paintpalette.fill", {u"canva.com"_qs}, {u"canva"_qs}),
        row("Outlook", "envelope.badge.fill", {u"outlook.live.com"_qs, u"outlook.office.com"_qs, u"outlook.office365.com"_qs}, {u"outlook"_qs, u"hotmail"_qs}),
        row("iCloud", "icloud.fill", {u"icloud.com"_qs}, {u"icloud.com"_qs}),
        row("Unsplash", "photo.fill", {u"unsplash.com"_qs}, {u"unsplash"_qs}),
        row("Zoom", "video.fill", {u"zoom.us"_qs}, {u"zoom"_qs}),
    };
}

// Second-to-last labels under which country registries hand out names ("bbc.co.uk", "example.com.au").
const QSet<QString> &secondLevelLabels()
{
    static const QSet<QString> labels {u"co"_qs, u"com"_qs, u"ac"_qs, u"gov"_qs, u"org"_qs, u"net"_qs, u"edu"_qs, u"ne"_qs, u"or"_qs, u"go"_qs, u"gv"_qs};
    return labels;
}

// Host of an address; a failed parse or an address without a host gives the empty text. Tolerant
// parsing, so that an address with a stray space in its path still names its site.
QString hostOf(const QString &address)
{
    const QUrl url(address, QUrl::TolerantMode);
    return url.isValid() ? url.host().toLower() : QString();
}

// Four decimal numbers of at most 255, as a parsed address gives them.
bool isIPv4(QStringView host)
{
    const QList<QStringView> parts = host.split(u'.');
    return parts.size() == 4 && std::all_of(parts.begin(), parts.end(), [](QStringView part) {
        bool ok = false;
        return !part.isEmpty() && part.size() <= 3 && std::all_of(part.begin(), part.end(), [](QChar c) { return c.isDigit(); }) && part.toUInt(&ok) <= 255
            && ok;
    });
}

bool hostMatches(const QString &host, const QString &domain)
{
    return host == domain || (host.size() > domain.size() && host.endsWith(domain) && host.at(host.size() - domain.size() - 1) == u'.');
}

std::optional<DownloadSource> fromExtension(const QString &entry)
{
    const QString identifier = hostOf(entry);
    const auto known = DownloadSources::knownExtensions().constFind(identifier);
    DownloadSource source;
    if (known != DownloadSources::knownExtensions().cend()) {
        source.name = *known;
        source.domains = {identifier};
    } else {
        // One source for every unknown extension; its query clause finds them all.
        source.name = u"Browser Extension"_qs;
        source.domains = {u"-extension://"_qs};
    }
    source.symbol = u"puzzlepiece.extension.fill"_qs;
    source.link = entry;
    return source;
}

// Holds an answer in the cache, so that "no source" is remembered too.
struct Box {
    std::optional<DownloadSource> value;
};

struct ResultCache {
    QMutex mutex;
    QCache<QString, Box> entries {20000};
};

ResultCache &resultCache()
{
    static ResultCache cache;
    return cache;
}

} // namespace

QString DownloadSource::spotlightClause() const
{
    const QStringList patterns = domains.isEmpty() ? QStringList {name} : domains;
    QStringList clauses;
    clauses.reserve(patterns.size());
    for (QString pattern : patterns) {
        // Backslashes first, or the escapes added for quotes and stars would be doubled.
        pattern.replace(u'\\', u"\\\\"_qs).replace(u'"', u"\\\""_qs).replace(u'*', u"\\*"_qs);
        clauses.append(u"kMDItemWhereFroms == \"*"_qs + pattern + u"*\"cd"_qs);
    }
    return u'(' + clauses.join(u" || "_qs) + u')';
}

size_t qHash(const DownloadSource &source, size_t seed) noexcept
{
    return qHash(source.name, seed);
}

namespace DownloadSources {

const QList<DownloadSource> &catalog()
{
    static const QList<DownloadSource> rows = buildCatalog();
    return rows;
}

const QHash<QString, QString> &knownExtensions()
{
    static const QHash<QString, QString> extensions {{u"fdpohaocaechififmbbbbbknoalclacl"_qs, u"GoFullPage"_qs}};
    return extensions;
}

std::optional<DownloadSource> source(const QUrl &file)
{
    if (!file.isLocalFile())
        return std::nullopt;
    const QString path = FilePath::fromUrl(file);
    ResultCache &cache = resultCache();
    {
        const QMutexLocker lock(&cache.mutex);
        if (const Box *box = cache.entries.object(path))
            return box->value;
    }
    // Computed unlocked: two threads may classify the same path at once, and they store equal answers.
    std::optional<DownloadSource> answer = classify(whereFroms(file));
    const QMutexLocker lock(&cache.mutex);
    cache.entries.insert(path, new Box {answer});
    return answer;
}

QStringList whereFroms(const QUrl &file)
{
    return file.isLocalFile() ? readWhereFroms(FilePath::fromUrl(file)) : QStringList();
}

std::optional<DownloadSource> classify(const QStringList &froms)
{
    if (froms.isEmpty())
        return std::nullopt;

    QString link = froms.first();
    for (const QString &entry : froms) {
        if (entry.startsWith(u"http")) {
            link = entry;
            break;
        }
    }

    for (const QString &entry : froms) {
        if (entry.startsWith(u"chrome-extension://") || entry.startsWith(u"moz-extension://") || entry.startsWith(u"safari-web-extension://"))
            return fromExtension(entry);
    }

    QStringList hosts;
    for (const QString &entry : froms) {
        const QString host = hostOf(entry.startsWith(u"blob:") ? entry.mid(5) : entry);
        if (!host.isEmpty())
            hosts.append(host);
    }

    // Rows outermost: an address of an earlier service wins, wherever it stands among the entries.
    for (const DownloadSource &candidate : catalog()) {
        for (const QString &host : std::as_const(hosts)) {
            for (const QString &domain : candidate.domains) {
                if (hostMatches(host, domain)) {
                    DownloadSource found = candidate;
                    found.link = link;
                    return found;
                }
            }
        }
    }

    if (hosts.isEmpty()) {
        // A mail program stores people rather than pages.
        for (const QString &entry : froms) {
            if (entry.contains(u'@'))
                return DownloadSource {u"Mail"_qs, u"envelope.fill"_qs, {u"@"_qs}, {}, froms.first()};
        }
        return std::nullopt;
    }

    // With several hosts the first usually served the bytes and the second is the page the user was on.
    const QString domain = registrableDomain(hosts.size() == 1 ? hosts.first() : hosts.at(1));
    return DownloadSource {domain, u"globe"_qs, {domain}, {}, link};
}

QString registrableDomain(QStringView host)
{
    // An address has no registry part: the whole of it names the machine. IPv6 keeps the brackets it
    // is written with in a link, so that it reads as an address.
    if (host.contains(u':'))
        return host.startsWith(u'[') ? host.toString() : u'[' + host.toString() + u']';
    if (isIPv4(host))
        return host.toString();
    QList<QStringView> labels = host.split(u'.', Qt::SkipEmptyParts);
    if (!labels.isEmpty() && labels.first() == u"www")
        labels.removeFirst();
    if (labels.size() >= 3) {
        const QStringView last = labels.last();
        const bool countryRegistry = last.size() == 2 && secondLevelLabels().contains(labels.at(labels.size() - 2).toString());
        labels = labels.mid(labels.size() - (countryRegistry ? 3 : 2));
    }
    QString joined;
    for (const QStringView label : std::as_const(labels)) {
        if (!joined.isEmpty())
            joined += u'.';
        joined += label;
    }
    return joined;
}

std::optional<DownloadSource> named(QStringView name)
{
    for (const DownloadSource &candidate : catalog()) {
        if (candidate.name == name)
            return candidate;
    }
    return std::nullopt;
}

std::optional<DownloadSource> forKeyword(QStringView word)
{
    for (const DownloadSource &candidate : catalog()) {
        for (const QString &keyword : candidate.keywords) {
            if (keyword == word)
                return candidate;
        }
    }
    return std::nullopt;
}

} // namespace DownloadSources
