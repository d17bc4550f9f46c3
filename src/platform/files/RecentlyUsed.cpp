#include "RecentlyUsed.h"
#include "FilePath.h"

#include <QBuffer>
#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QMimeDatabase>
#include <QSaveFile>
#include <QStandardPaths>
#include <QXmlStreamReader>
#include <QXmlStreamWriter>

#include <optional>

#include <sys/stat.h>

namespace {

const QString kBookmarkNamespace = QStringLiteral("http://www.freedesktop.org/standards/desktop-bookmarks");
const QString kMimeNamespace = QStringLiteral("http://www.freedesktop.org/standards/shared-mime-info");
const QString kMetadataOwner = QStringLiteral("http://freedesktop.org");
// GLib indents each level by two spaces; new elements follow suit.
const QString kIndent = QStringLiteral("  ");

// Just enough of an XML tree to change a few bookmarks and write everything else back as it came:
// elements with their namespaces and attributes, text (whitespace included), comments and
// processing instructions.
struct Node {
    enum class Kind { element, text, cdata, comment, instruction };
    Kind kind = Kind::element;
    QString namespaceUri;
    QString name;
    QXmlStreamAttributes attributes;
    QXmlStreamNamespaceDeclarations namespaces;
    QList<Node> children;
    // Text, comment or instruction target.
    QString text;
    // Instruction data.
    QString data;

    bool is(const QString &uri, QStringView local) const { return kind == Kind::element && namespaceUri == uri && name == local; }

    QString attribute(QStringView key) const
    {
        for (const QXmlStreamAttribute &attribute : attributes) {
            if (attribute.namespaceUri().isEmpty() && attribute.name() == key)
                return attribute.value().toString();
        }
        return {};
    }

    void setAttribute(const QString &key, const QString &value)
    {
        for (QXmlStreamAttribute &attribute : attributes) {
            if (attribute.namespaceUri().isEmpty() && attribute.name() == key) {
                attribute = QXmlStreamAttribute(key, value);
                return;
            }
        }
        attributes.append(key, value);
    }

    Node *child(const QString &uri, QStringView local)
    {
        for (Node &node : children) {
            if (node.is(uri, local))
                return &node;
        }
        return nullptr;
    }

    static Node element(const QString &uri, const QString &name, const QList<std::pair<QString, QString>> &attributes = {})
    {
        Node node;
        node.namespaceUri = uri;
        node.name = name;
        for (const auto &[key, value] : attributes)
            node.attributes.append(key, value);
        return node;
    }

    static Node whitespace(const QString &text)
    {
        Node node;
        node.kind = Kind::text;
        node.text = text;
        return node;
    }

    // Adds `node` as the last child, indented for `depth` (the depth of this element) the way the
    // file's own children are.
    Node &append(Node node, int depth)
    {
        const QString inner = QLatin1Char('\n') + kIndent.repeated(depth + 1);
        const bool closingIndent = !children.isEmpty() && children.last().kind == Kind::text && children.last().text.trimmed().isEmpty();
        if (closingIndent) {
            children.insert(children.size() - 1, whitespace(inner));
            children.insert(children.size() - 1, std::move(node));
            return children[children.size() - 2];
        }
        children.append(whitespace(inner));
        children.append(std::move(node));
        children.append(whitespace(QLatin1Char('\n') + kIndent.repeated(depth)));
        return children[children.size() - 2];
    }
};

struct Document {
    // Comments and instructions around the root element, and a document type if there is one.
    QList<Node> before;
    QString doctype;
    Node root;
    QList<Node> after;
};

std::optional<Document> parse(const QByteArray &bytes)
{
    QXmlStreamReader reader(bytes);
    Document document;
    QList<Node *> open;
    bool rootSeen = false;
    while (!reader.atEnd()) {
        switch (reader.readNext()) {
        case QXmlStreamReader::DTD:
            document.doctype = reader.text().toString();
            break;
        case QXmlStreamReader::StartElement: {
            Node node;
            node.namespaceUri = reader.namespaceUri().toString();
            node.name = reader.name().toString();
            node.attributes = reader.attributes();
            node.namespaces = reader.namespaceDeclarations();
            if (open.isEmpty()) {
                if (rootSeen)
                    return std::nullopt;
                rootSeen = true;
                document.root = std::move(node);
                open.append(&document.root);
            } else {
                open.last()->children.append(std::move(node));
                open.append(&open.last()->children.last());
            }
            break;
        }
        case QXmlStreamReader::EndElement:
            open.removeLast();
            break;
        case QXmlStreamReader::Characters:
            // Whitespace outside the root element carries nothing.
            if (!open.isEmpty()) {
                Node node = Node::whitespace(reader.text().toString());
                if (reader.isCDATA())
                    node.kind = Node::Kind::cdata;
                open.last()->children.append(std::move(node));
            }
            break;
        case QXmlStreamReader::Comment:
        case QXmlStreamReader::ProcessingInstruction: {
            Node node;
            if (reader.tokenType() == QXmlStreamReader::Comment) {
                node.kind = Node::Kind::comment;
                node.text = reader.text().toString();
            } else {
                node.kind = Node::Kind::instruction;
                node.text = reader.processingInstructionTarget().toString();
                node.data = reader.processingInstructionData().toString();
            }
            if (!open.isEmpty())
                open.last()->children.append(std::move(node));
            else
                (rootSeen ? document.after : document.before).append(std::move(node));
            break;
        }
        case QXmlStreamReader::EntityReference:
            // An entity the file declares but the reader cannot expand: writing it back would lose it.
            return std::nullopt;
        default:
            break;
        }
    }
    if (reader.hasError() || !rootSeen || document.root.namespaceUri != QString() || document.root.name != u"xbel")
        return std::nullopt;
    return document;
}

void write(QXmlStreamWriter &writer, const Node &node)
{
    switch (node.kind) {
    case Node::Kind::element:
        // Declared before the start tag, so that the element's own prefixes are used for it.
        for (const QXmlStreamNamespaceDeclaration &declaration : node.namespaces)
            writer.writeNamespace(declaration.namespaceUri().toString(), declaration.prefix().toString());
        if (node.namespaceUri.isEmpty())
            writer.writeStartElement(node.name);
        else
            writer.writeStartElement(node.namespaceUri, node.name);
        writer.writeAttributes(node.attributes);
        for (const Node &child : node.children)
            write(writer, child);
        writer.writeEndElement();
        break;
    case Node::Kind::text:
        writer.writeCharacters(node.text);
        break;
    case Node::Kind::cdata:
        writer.writeCDATA(node.text);
        break;
    case Node::Kind::comment:
        writer.writeComment(node.text);
        break;
    case Node::Kind::instruction:
        writer.writeProcessingInstruction(node.text, node.data);
        break;
    }
}

QByteArray serialize(const Document &document)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    buffer.write("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n");
    QXmlStreamWriter writer(&buffer);
    if (!document.doctype.isEmpty()) {
        writer.writeDTD(document.doctype);
        buffer.write("\n");
    }
    for (const Node &node : document.before)
        write(writer, node);
    write(writer, document.root);
    for (const Node &node : document.after)
        write(writer, node);
    buffer.write("\n");
    return bytes;
}

Document emptyList()
{
    Document document;
    document.root = Node::element(QString(), QStringLiteral("xbel"), {{QStringLiteral("version"), QStringLiteral("1.0")}});
    document.root.children.append(Node::whitespace(QStringLiteral("\n")));
    return document;
}

// GLib's bookmark parser resolves prefixes from the declarations it finds, so the two namespaces
// are declared on the root with their usual prefixes where the file lacks them.
void declareNamespaces(Node &root)
{
    const std::pair<QString, QString> wanted[] = {{QStringLiteral("bookmark"), kBookmarkNamespace}, {QStringLiteral("mime"), kMimeNamespace}};
    for (const auto &[prefix, uri] : wanted) {
        bool declared = false;
        bool prefixTaken = false;
        for (const QXmlStreamNamespaceDeclaration &declaration : std::as_const(root.namespaces)) {
            declared = declared || declaration.namespaceUri() == uri;
            prefixTaken = prefixTaken || declaration.prefix() == prefix;
        }
        if (!declared && !prefixTaken)
            root.namespaces.append(QXmlStreamNamespaceDeclaration(prefix, uri));
    }
}

// A time as GLib writes it: UTC, microseconds, "Z".
QString stamp(const QDateTime &when)
{
    return when.toUTC().toString(QStringLiteral("yyyy-MM-dd'T'HH:mm:ss.zzz'000Z'"));
}

// GLib keeps the command line shell-quoted as a whole.
QString shellQuoted(QString text)
{
    return QLatin1Char('\'') + text.replace(QLatin1Char('\''), QStringLiteral("'\\''")) + QLatin1Char('\'');
}

QString mimeTypeOf(const QUrl &file)
{
    return QMimeDatabase().mimeTypeForFile(FilePath::fromUrl(file)).name();
}

// The depths below are those of the elements inside a bookmark that sits directly in the root.
void recordUse(Node &bookmark, const QUrl &file, const RecentlyUsed::Application &application, const QString &when)
{
    bookmark.setAttribute(QStringLiteral("modified"), when);
    bookmark.setAttribute(QStringLiteral("visited"), when);

    Node *info = bookmark.child(QString(), u"info");
    if (!info)
        info = &bookmark.append(Node::element(QString(), QStringLiteral("info")), 1);
    Node *metadata = nullptr;
    for (Node &node : info->children) {
        if (node.is(QString(), u"metadata") && node.attribute(u"owner") == kMetadataOwner) {
            metadata = &node;
            break;
        }
    }
    if (!metadata)
        metadata = &info->append(Node::element(QString(), QStringLiteral("metadata"), {{QStringLiteral("owner"), kMetadataOwner}}), 2);
    if (!metadata->child(kMimeNamespace, u"mime-type"))
        metadata->append(Node::element(kMimeNamespace, QStringLiteral("mime-type"), {{QStringLiteral("type"), mimeTypeOf(file)}}), 3);
    Node *applications = metadata->child(kBookmarkNamespace, u"applications");
    if (!applications)
        applications = &metadata->append(Node::element(kBookmarkNamespace, QStringLiteral("applications")), 3);

    for (Node &node : applications->children) {
        if (node.is(kBookmarkNamespace, u"application") && node.attribute(u"name") == application.name) {
            bool valid = false;
            const qint64 count = node.attribute(u"count").toLongLong(&valid);
            node.setAttribute(QStringLiteral("exec"), shellQuoted(application.exec));
            node.setAttribute(QStringLiteral("modified"), when);
            node.setAttribute(QStringLiteral("count"), QString::number(valid && count > 0 ? count + 1 : 1));
            return;
        }
    }
    applications->append(Node::element(kBookmarkNamespace, QStringLiteral("application"),
                             {{QStringLiteral("name"), application.name}, {QStringLiteral("exec"), shellQuoted(application.exec)},
                                 {QStringLiteral("modified"), when}, {QStringLiteral("count"), QStringLiteral("1")}}),
        4);
}

bool sameFile(const QString &href, const QUrl &file)
{
    const QUrl url = QUrl::fromEncoded(href.toUtf8());
    return url.isLocalFile() && QDir::cleanPath(FilePath::fromUrl(url)) == QDir::cleanPath(FilePath::fromUrl(file));
}

} // namespace

QString RecentlyUsed::path()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation) + QStringLiteral("/recently-used.xbel");
}

RecentlyUsed::Application RecentlyUsed::Application::current()
{
    QString program = QFileInfo(QCoreApplication::applicationFilePath()).fileName();
    if (program.isEmpty())
        program = QCoreApplication::applicationName().toLower();
    return {QCoreApplication::applicationName(), program + QStringLiteral(" %u")};
}

bool RecentlyUsed::add(const QList<QUrl> &files)
{
    return add(files, Application::current(), QDateTime::currentDateTimeUtc());
}

bool RecentlyUsed::add(const QList<QUrl> &files, const Application &application, const QDateTime &when)
{
    QList<QUrl> local;
    for (const QUrl &file : files) {
        if (file.isLocalFile())
            local << file;
    }
    if (local.isEmpty())
        return false;

    const QString listPath = path();
    const QFileInfo listInfo(listPath);
    std::optional<Document> document;
    if (listInfo.exists() || listInfo.isSymLink()) {
        if (!listInfo.isFile())
            return false;
        QFile file(listPath);
        if (!file.open(QIODevice::ReadOnly))
            return false;
        const QByteArray bytes = file.readAll();
        document = bytes.trimmed().isEmpty() ? emptyList() : parse(bytes);
        if (!document)
            return false;
    } else {
        document = emptyList();
        // The data folder is private to the user where it has to be made.
        const QByteArray folder = QFile::encodeName(listInfo.absolutePath());
        for (qsizetype slash = folder.indexOf('/', 1); slash != -1; slash = folder.indexOf('/', slash + 1))
            ::mkdir(folder.left(slash).constData(), 0700);
        ::mkdir(folder.constData(), 0700);
    }

    Node &root = document->root;
    declareNamespaces(root);
    const QString time = stamp(when);
    for (const QUrl &file : std::as_const(local)) {
        Node *bookmark = nullptr;
        for (Node &node : root.children) {
            if (node.is(QString(), u"bookmark") && sameFile(node.attribute(u"href"), file)) {
                bookmark = &node;
                break;
            }
        }
        if (!bookmark) {
            const QString href = QString::fromUtf8(FilePath::toUrl(QDir::cleanPath(FilePath::fromUrl(file))).toEncoded());
            bookmark = &root.append(Node::element(QString(), QStringLiteral("bookmark"), {{QStringLiteral("href"), href}, {QStringLiteral("added"), time}}), 0);
        }
        recordUse(*bookmark, file, application, time);
    }

    // A link to a list elsewhere is followed, and the list keeps its permissions; a new one is private.
    QSaveFile save(listPath);
    if (!save.open(QIODevice::WriteOnly))
        return false;
    if (!listInfo.exists())
        save.setPermissions(QFileDevice::ReadOwner | QFileDevice::WriteOwner);
    save.write(serialize(*document));
    return save.commit();
}
