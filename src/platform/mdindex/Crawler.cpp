#include "Crawler.h"

#include "FilePath.h"
#include "UTType.h"

#include <QFile>
#include <QHash>
#include <QMimeDatabase>
#include <QSet>
#include <QStringDecoder>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

namespace mdindex {

Extractor::~Extractor() = default;

namespace Crawler {

    namespace {

        // Folders whose contents a person never browses as files: what lies inside is the app, library or
        // package manager's business. The folder itself is still recorded.
        constexpr const char *kOpaqueNames[] = {"node_modules", "site-packages", "DerivedData", "Pods", "__pycache__"};
        constexpr const char *kOpaqueSuffixes[]
            = {".app", ".photoslibrary", ".musiclibrary", ".tvlibrary", ".framework", ".bundle", ".xcodeproj", ".xcassets", ".xcworkspace", ".lproj"};

        qint64 toMs(const struct statx_timestamp &ts)
        {
            return qint64(ts.tv_sec) * 1000 + ts.tv_nsec / 1000000;
        }

        void fill(FileFacts &facts, const struct statx &st)
        {
            facts.isDirectory = S_ISDIR(st.stx_mode);
            facts.isSymlink = S_ISLNK(st.stx_mode);
            facts.size = S_ISREG(st.stx_mode) ? qint64(st.stx_size) : 0;
            facts.modifiedMs = toMs(st.stx_mtime);
            facts.changedMs = toMs(st.stx_ctime);
            facts.createdMs = (st.stx_mask & STATX_BTIME) ? std::optional(toMs(st.stx_btime)) : std::nullopt;
            facts.inode = st.stx_ino;
            facts.device = makedev(st.stx_dev_major, st.stx_dev_minor);
        }

        constexpr unsigned kMask = STATX_TYPE | STATX_MODE | STATX_SIZE | STATX_MTIME | STATX_CTIME | STATX_BTIME | STATX_INO;

        // The type of a file whose name says nothing, from its first bytes. The common cases (empty files,
        // programs, scripts, text) are told here directly; anything else goes through the MIME database's
        // magic rules, which are thorough but slow.
        QString sniff(const QString &path, QMimeDatabase &mimeDatabase)
        {
            const QByteArray native = FilePath::toNative(path);
            int fd = ::open(native.constData(), O_RDONLY | O_CLOEXEC | O_NOATIME | O_NONBLOCK);
            if (fd < 0)
                fd = ::open(native.constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
            if (fd < 0)
                return UTType::data().identifier();
            char buffer[512];
            const ssize_t n = ::read(fd, buffer, sizeof buffer);
            ::close(fd);
            if (n < 0)
                return UTType::data().identifier();
            const QByteArray head = QByteArray::fromRawData(buffer, qsizetype(n));
            if (head.isEmpty())
                return UTType::fromMimeType(mimeDatabase.mimeTypeForName(QStringLiteral("application/x-zerosize"))).identifier();
            if (head.startsWith("\x7f"
                                "ELF"))
                return head.size() > 10 && head.mid(8, 3) == QByteArrayView("AI\x02", 3) ? QStringLiteral("org.appimage.appimage")
                                                                                         : QStringLiteral("public.unix-executable");
            if (head.startsWith("#!")) {
                const QByteArray interpreter = head.left(head.indexOf('\n'));
                if (interpreter.contains("python"))
                    return QStringLiteral("public.python-script");
                if (interpreter.contains("node"))
                    return QStringLiteral("com.netscape.javascript-source");
                if (interpreter.contains("perl"))
                    return QStringLiteral("public.perl-script");
                if (interpreter.contains("ruby"))
                    return QStringLiteral("public.ruby-script");
                return QStringLiteral("public.shell-script");
            }
            if (!head.contains('\0')) {
                // Text if it decodes; a character cut at the end of the read is not an error.
                QStringDecoder decoder(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
                const QString text = decoder(head.chopped(std::min<qsizetype>(3, head.size() == 512 ? 3 : 0)));
                if (!decoder.hasError() && !text.contains(QChar::ReplacementCharacter))
                    return UTType::plainText().identifier();
            }
            return UTType::fromMimeType(mimeDatabase.mimeTypeForData(head)).identifier();
        }

    } // namespace

    bool isOpaqueFolder(QStringView name)
    {
        if (name.startsWith(QLatin1Char('.')))
            return true;
        for (const char *opaque : kOpaqueNames) {
            if (name == QLatin1StringView(opaque))
                return true;
        }
        for (const char *suffix : kOpaqueSuffixes) {
            if (name.endsWith(QLatin1StringView(suffix), Qt::CaseInsensitive))
                return true;
        }
        return false;
    }

    std::optional<FileFacts> stat(const QString &path)
    {
        struct statx st {
        };
        if (::statx(AT_FDCWD, FilePath::toNative(path).constData(), AT_SYMLINK_NOFOLLOW, kMask, &st) != 0)
            return std::nullopt;
        FileFacts facts;
        facts.name = path;
        fill(facts, st);
        return facts;
    }

    bool list(const QString &folder, quint64 device, std::vector<WalkEntry> &entries)
    {
        entries.clear();
        const QByteArray native = FilePath::toNative(folder);
        const int fd = ::open(native.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC | O_NOATIME);
        const int dirFd = fd >= 0 ? fd : ::open(native.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
        if (dirFd < 0)
            return false;
        DIR *dir = ::fdopendir(dirFd);
        if (!dir) {
            ::close(dirFd);
            return false;
        }
        while (const dirent *d = ::readdir(dir)) {
            const char *raw = d->d_name;
            if (raw[0] == '.' && (raw[1] == 0 || (raw[1] == '.' && raw[2] == 0)))
                continue;
            struct statx st {
            };
            // An entry that vanished between the listing and the look is simply not there.
            if (::statx(dirFd, raw, AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT, kMask, &st) != 0)
                continue;
            WalkEntry entry;
            entry.facts.name = FilePath::fromNative(raw);
            fill(entry.facts, st);
            entry.descend = entry.facts.isDirectory && entry.facts.device == device && !isOpaqueFolder(entry.facts.name);
            entries.push_back(std::move(entry));
        }
        ::closedir(dir);
        return true;
    }

    QString contentType(const QString &folder, const FileFacts &facts)
    {
        if (facts.isSymlink)
            return QStringLiteral("public.symlink");
        const QString &name = facts.name;
        if (facts.isDirectory) {
            const qsizetype dot = name.lastIndexOf(QLatin1Char('.'));
            if (dot > 0) {
                if (const auto type = UTType::fromFilenameExtension(QStringView(name).sliced(dot + 1)); type && type->conforms(UTType::package()))
                    return type->identifier();
            }
            return QStringLiteral("public.folder");
        }

        // Most names end in an extension that alone decides the type; the answer for the last two
        // endings is remembered. Names the MIME database cannot place by name are sniffed here, with one
        // short read; only ambiguous endings and desktop entries take the full look.
        thread_local QHash<QString, QString> byEnding;
        thread_local QMimeDatabase mimeDatabase;
        const QString path = folder + QLatin1Char('/') + name;
        const qsizetype lastDot = name.lastIndexOf(QLatin1Char('.'));
        QString ending;
        if (lastDot > 0) {
            const qsizetype previousDot = name.lastIndexOf(QLatin1Char('.'), lastDot - 1);
            ending = name.sliced(previousDot > 0 ? previousDot : lastDot).toLower();
            if (const auto it = byEnding.constFind(ending); it != byEnding.cend())
                return *it;
        }
        // Asking the MIME database by name is costly for names no simple pattern matches, so what it
        // says about names without an ending, and about endings it does not know, is remembered too.
        thread_local QHash<QString, QList<QMimeType>> byWholeName;
        thread_local QSet<QString> unknownEndings;
        if (!ending.isEmpty() && unknownEndings.contains(ending))
            return sniff(path, mimeDatabase);
        QList<QMimeType> candidates;
        if (ending.isEmpty()) {
            const QString key = name.toLower();
            auto it = byWholeName.find(key);
            if (it == byWholeName.end()) {
                if (byWholeName.size() > 20000)
                    byWholeName.clear();
                it = byWholeName.insert(key, mimeDatabase.mimeTypesForFileName(name));
            }
            candidates = *it;
        } else {
            candidates = mimeDatabase.mimeTypesForFileName(name);
            if (candidates.isEmpty() && mimeDatabase.mimeTypesForFileName(QLatin1Char('x') + ending).isEmpty())
                unknownEndings.insert(ending);
        }
        if (candidates.isEmpty())
            return sniff(path, mimeDatabase);
        if (candidates.size() == 1) {
            const QString mime = candidates.first().name();
            if (mime == QLatin1StringView("text/plain")) {
                // A text name over binary contents is a renamed file.
                const QString sniffed = sniff(path, mimeDatabase);
                return sniffed == UTType::plainText().identifier() || sniffed == UTType::data().identifier() ? UTType::plainText().identifier() : sniffed;
            }
            if (mime != QLatin1StringView("application/x-desktop")) {
                const QString identifier = UTType::fromMimeType(candidates.first()).identifier();
                // Whole-name patterns ("CMakeLists.txt") must not speak for every name with that ending.
                if (!ending.isEmpty()) {
                    const QList<QMimeType> byEndingAlone = mimeDatabase.mimeTypesForFileName(QLatin1Char('x') + ending);
                    if (byEndingAlone.size() == 1 && byEndingAlone.first().name() == mime)
                        byEnding.insert(ending, identifier);
                }
                return identifier;
            }
        }
        const auto type = UTType::forFile(path);
        return type ? type->identifier() : UTType::data().identifier();
    }

} // namespace Crawler
} // namespace mdindex
