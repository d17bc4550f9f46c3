#include "UTType.h"

#include "DesktopEntry.h"
#include "FilePath.h"
#include "UTTypeTable.h"

#include <QFile>
#include <QFileInfo>
#include <QHash>
#include <QMimeDatabase>
#include <QMutex>
#include <QReadWriteLock>

#include <string>
#include <unordered_map>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace velk::detail {

struct TypeNode {
    QString identifier;
    QStringList tree;
    QString mimeType;
    QString description;
};

} // namespace velk::detail

using velk::detail::TypeNode;

namespace {

// MIME types that have no entry of their own get an identifier under this prefix, so that the type of
// any file can be written down as text and read back.
constexpr QLatin1StringView kMimePrefix("org.freedesktop.mime.");

QStringList splitList(const char *text)
{
    return QString::fromLatin1(text).split(QLatin1Char(' '), Qt::SkipEmptyParts);
}

// All declared and derived types. Declared ones are built once; derived ones (MIME types outside the
// table) are added on first use from any thread.
class Registry
{
public:
    static Registry &instance()
    {
        static Registry registry;
        return registry;
    }

    std::shared_ptr<const TypeNode> byIdentifier(QStringView identifier)
    {
        {
            QReadLocker lock(&m_lock);
            if (auto it = m_byIdentifier.constFind(identifier.toString()); it != m_byIdentifier.cend())
                return *it;
        }
        if (!identifier.startsWith(kMimePrefix))
            return nullptr;
        const QString encoded = identifier.sliced(kMimePrefix.size()).toString();
        const qsizetype dot = encoded.indexOf(QLatin1Char('.'));
        if (dot <= 0)
            return nullptr;
        const QString mimeName = encoded.left(dot) + QLatin1Char('/') + encoded.sliced(dot + 1);
        const QMimeType mime = m_mimeDatabase.mimeTypeForName(mimeName);
        if (!mime.isValid() || mime.name() != mimeName)
            return nullptr;
        return byMime(mime);
    }

    std::shared_ptr<const TypeNode> byExtension(const QString &extension) const
    {
        // m_byExtension is filled in the constructor and never changes.
        return m_byExtension.value(extension.toLower());
    }

    std::shared_ptr<const TypeNode> byMime(const QMimeType &mime)
    {
        {
            QReadLocker lock(&m_lock);
            if (auto it = m_byMime.constFind(mime.name()); it != m_byMime.cend())
                return *it;
        }
        auto node = deriveFromMime(mime);
        QWriteLocker lock(&m_lock);
        m_byMime.insert(mime.name(), node);
        m_byIdentifier.insert(node->identifier, node);
        return node;
    }

    QMimeDatabase &mimeDatabase() { return m_mimeDatabase; }

private:
    Registry()
    {
        int count = 0;
        const auto *declarations = velk::detail::typeDeclarations(&count);
        QHash<QString, QStringList> parents;
        for (int i = 0; i < count; ++i)
            parents.insert(QString::fromLatin1(declarations[i].identifier), splitList(declarations[i].parents));

        for (int i = 0; i < count; ++i) {
            const auto &decl = declarations[i];
            auto node = std::make_shared<TypeNode>();
            node->identifier = QString::fromLatin1(decl.identifier);
            node->tree = treeOf(node->identifier, parents);
            const QStringList mimes = splitList(decl.mimeTypes);
            node->mimeType = mimes.value(0);
            node->description = QString::fromLatin1(decl.description);
            std::shared_ptr<const TypeNode> shared = node;
            m_byIdentifier.insert(node->identifier, shared);
            for (const QString &mime : mimes) {
                m_byMime.insert(mime, shared);
                // Aliases ("image/x-psd") resolve to the canonical name the database reports.
                const QMimeType resolved = m_mimeDatabase.mimeTypeForName(mime);
                if (resolved.isValid())
                    m_byMime.insert(resolved.name(), shared);
            }
            for (const QString &extension : splitList(decl.extensions))
                m_byExtension.insert(extension, shared);
        }
    }

    static QStringList treeOf(const QString &identifier, const QHash<QString, QStringList> &parents)
    {
        // Breadth first, so more specific types come before more general ones.
        QStringList tree {identifier};
        for (qsizetype i = 0; i < tree.size(); ++i) {
            for (const QString &parent : parents.value(tree.at(i))) {
                if (!tree.contains(parent))
                    tree.append(parent);
            }
        }
        return tree;
    }

    // A MIME type outside the table inherits the tree of its nearest declared ancestor, or else a
    // tree chosen by its media type.
    std::shared_ptr<const TypeNode> deriveFromMime(const QMimeType &mime)
    {
        std::shared_ptr<const TypeNode> base;
        {
            QReadLocker lock(&m_lock);
            for (const QString &ancestor : mime.allAncestors()) {
                // Every binary type descends from octet-stream; that says less than the media type.
                if (ancestor == QLatin1StringView("application/octet-stream"))
                    continue;
                if (auto it = m_byMime.constFind(ancestor); it != m_byMime.cend()) {
                    base = *it;
                    break;
                }
            }
            if (!base) {
                const QString media = mime.name().section(QLatin1Char('/'), 0, 0);
                const char *fallback = "public.data";
                if (media == QLatin1StringView("image"))
                    fallback = "public.image";
                else if (media == QLatin1StringView("video"))
                    fallback = "public.movie";
                else if (media == QLatin1StringView("audio"))
                    fallback = "public.audio";
                else if (media == QLatin1StringView("text"))
                    fallback = "public.plain-text";
                else if (media == QLatin1StringView("font"))
                    fallback = "public.font";
                base = m_byIdentifier.value(QString::fromLatin1(fallback));
            }
        }
        auto node = std::make_shared<TypeNode>();
        node->identifier = kMimePrefix + QString(mime.name()).replace(QLatin1Char('/'), QLatin1Char('.'));
        node->tree = QStringList {node->identifier} + base->tree;
        node->mimeType = mime.name();
        return node;
    }

    QReadWriteLock m_lock;
    QMimeDatabase m_mimeDatabase;
    QHash<QString, std::shared_ptr<const TypeNode>> m_byIdentifier;
    QHash<QString, std::shared_ptr<const TypeNode>> m_byMime;
    QHash<QString, std::shared_ptr<const TypeNode>> m_byExtension;
};

bool looksBinary(const QByteArray &head)
{
    return head.contains('\0');
}

} // namespace

UTType::UTType(std::shared_ptr<const TypeNode> node)
    : m_node(std::move(node))
{
}

std::optional<UTType> UTType::fromIdentifier(QStringView identifier)
{
    if (auto node = Registry::instance().byIdentifier(identifier))
        return UTType(std::move(node));
    return std::nullopt;
}

std::optional<UTType> UTType::fromFilenameExtension(QStringView extension)
{
    if (extension.isEmpty())
        return std::nullopt;
    Registry &registry = Registry::instance();
    if (auto node = registry.byExtension(extension.toString()))
        return UTType(std::move(node));
    const QList<QMimeType> candidates = registry.mimeDatabase().mimeTypesForFileName(QStringLiteral("x.") + extension.toString());
    if (candidates.isEmpty())
        return std::nullopt;
    return fromMimeType(candidates.first());
}

UTType UTType::fromMimeType(const QMimeType &mime)
{
    if (!mime.isValid())
        return data();
    return UTType(Registry::instance().byMime(mime));
}

namespace {

// The type of a file whose name Qt's file classes cannot reach (bytes that are not UTF-8): its
// status and first bytes are read through the exact name, and the name's readable part is matched.
std::optional<UTType> forUndecodableFile(const QString &path, QMimeDatabase &db)
{
    const QByteArray native = FilePath::toNative(path);
    struct stat st {
    };
    if (::stat(native.constData(), &st) != 0)
        return ::lstat(native.constData(), &st) == 0 ? UTType::fromIdentifier(QStringLiteral("public.symlink")) : std::nullopt;
    const QString name = path.mid(path.lastIndexOf(QLatin1Char('/')) + 1);
    if (S_ISDIR(st.st_mode)) {
        const qsizetype dot = name.lastIndexOf(QLatin1Char('.'));
        if (auto byName = dot > 0 ? UTType::fromFilenameExtension(name.mid(dot + 1)) : std::nullopt; byName && byName->conforms(UTType::package()))
            return byName;
        return UTType::folder();
    }
    QByteArray head;
    if (S_ISREG(st.st_mode)) {
        const int fd = ::open(native.constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
        if (fd >= 0) {
            head.resize(4096);
            const ssize_t n = ::read(fd, head.data(), size_t(head.size()));
            head.resize(n > 0 ? qsizetype(n) : 0);
            ::close(fd);
        }
    }
    // The undecodable bytes say nothing of the type; the rest of the name and the contents do.
    return UTType::fromMimeType(db.mimeTypeForFileNameAndData(FilePath::display(name), head));
}

} // namespace

std::optional<UTType> UTType::forFile(const QString &path)
{
    if (FilePath::hasUndecodable(path))
        return forUndecodableFile(path, Registry::instance().mimeDatabase());
    const QFileInfo info(path);
    if (!info.exists())
        return info.isSymLink() ? std::optional(named("public.symlink")) : std::nullopt;

    if (info.isDir()) {
        // A few folder extensions make a bundle that is shown and handled as one item.
        if (auto byName = fromFilenameExtension(info.suffix()); byName && byName->conforms(package()))
            return byName;
        return folder();
    }

    Registry &registry = Registry::instance();
    QMimeDatabase &db = registry.mimeDatabase();
    QMimeType mime = db.mimeTypeForFile(info, QMimeDatabase::MatchDefault);

    // A name that promises plain text over binary contents is a renamed file: trust the contents,
    // as file managers do.
    if (mime.name() == QLatin1StringView("text/plain") && info.size() > 0) {
        QFile file(path);
        if (file.open(QIODevice::ReadOnly)) {
            const QByteArray head = file.read(4096);
            if (looksBinary(head)) {
                const QMimeType byContents = db.mimeTypeForData(head);
                mime = byContents.isDefault() ? db.mimeTypeForName(QStringLiteral("application/octet-stream")) : byContents;
            }
        }
    }

    if (mime.name() == QLatin1StringView("application/x-desktop")) {
        const auto entry = DesktopEntry::read(path);
        if (entry && entry->isVisibleApplication())
            return named("org.freedesktop.desktop-application");
        return named("org.freedesktop.desktop-entry");
    }
    return fromMimeType(mime);
}

QString UTType::identifier() const
{
    return m_node->identifier;
}

bool UTType::conforms(const UTType &other) const
{
    return m_node == other.m_node || m_node->tree.contains(other.m_node->identifier);
}

bool UTType::conforms(QStringView identifier) const
{
    return m_node->tree.contains(identifier);
}

const QStringList &UTType::tree() const
{
    return m_node->tree;
}

QString UTType::localizedDescription() const
{
    // "unknown" says nothing a person can use; such files are named by their extension instead.
    if (!m_node->mimeType.isEmpty() && m_node->mimeType != QLatin1StringView("application/octet-stream")) {
        const QMimeType mime = Registry::instance().mimeDatabase().mimeTypeForName(m_node->mimeType);
        if (mime.isValid() && !mime.comment().isEmpty())
            return mime.comment();
    }
    return m_node->description;
}

QString UTType::preferredMimeType() const
{
    return m_node->mimeType;
}

const UTType &UTType::named(const char *identifier)
{
    // Named types live for the whole run. A node-based map keeps the returned references valid while
    // other names are added.
    static std::unordered_map<std::string, UTType> cache;
    static QMutex mutex;
    QMutexLocker lock(&mutex);
    auto it = cache.find(identifier);
    if (it == cache.end()) {
        auto node = Registry::instance().byIdentifier(QString::fromLatin1(identifier));
        Q_ASSERT_X(node, "UTType::named", identifier);
        it = cache.emplace(identifier, UTType(std::move(node))).first;
    }
    return it->second;
}

// clang-format off
const UTType &UTType::item() { return named("public.item"); }
const UTType &UTType::content() { return named("public.content"); }
const UTType &UTType::data() { return named("public.data"); }
const UTType &UTType::directory() { return named("public.directory"); }
const UTType &UTType::folder() { return named("public.folder"); }
const UTType &UTType::package() { return named("com.apple.package"); }
const UTType &UTType::bundle() { return named("com.apple.bundle"); }
const UTType &UTType::application() { return named("com.apple.application"); }
const UTType &UTType::applicationBundle() { return named("com.apple.application-bundle"); }
const UTType &UTType::executable() { return named("public.executable"); }
const UTType &UTType::image() { return named("public.image"); }
const UTType &UTType::audiovisualContent() { return named("public.audiovisual-content"); }
const UTType &UTType::movie() { return named("public.movie"); }
const UTType &UTType::video() { return named("public.video"); }
const UTType &UTType::audio() { return named("public.audio"); }
const UTType &UTType::text() { return named("public.text"); }
const UTType &UTType::plainText() { return named("public.plain-text"); }
const UTType &UTType::rtf() { return named("public.rtf"); }
const UTType &UTType::sourceCode() { return named("public.source-code"); }
const UTType &UTType::script() { return named("public.script"); }
const UTType &UTType::json() { return named("public.json"); }
const UTType &UTType::xml() { return named("public.xml"); }
const UTType &UTType::propertyList() { return named("com.apple.property-list"); }
const UTType &UTType::archive() { return named("public.archive"); }
const UTType &UTType::diskImage() { return named("public.disk-image"); }
const UTType &UTType::pdf() { return named("com.adobe.pdf"); }
const UTType &UTType::compositeContent() { return named("public.composite-content"); }
const UTType &UTType::presentation() { return named("public.presentation"); }
const UTType &UTType::spreadsheet() { return named("public.spreadsheet"); }
// clang-format on

size_t qHash(const UTType &type, size_t seed) noexcept
{
    return qHash(type.identifier(), seed);
}
