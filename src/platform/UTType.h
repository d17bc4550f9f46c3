#pragma once

#include <QString>
#include <QStringList>

#include <memory>
#include <optional>

class QMimeType;

namespace velk::detail {
struct TypeNode;
}

// A uniform type: a reverse-DNS identifier ("public.jpeg") that conforms to a tree of more general
// types ("public.image", "public.data", "public.item", ...). Files get their type from the
// shared-mime-info database through a table from MIME type to identifier; MIME types the table does
// not know still get a stable identifier and a sensible place in the tree.
//
// A UTType is a cheap value: it shares one immutable node per identifier.
class UTType
{
public:
    // An identifier that names no type we know gives no value.
    static std::optional<UTType> fromIdentifier(QStringView identifier);
    // The type the extension (without the dot, any case) stands for; no value when the extension is
    // unknown. Desktop entries count as applications here, since reading the file is not possible.
    static std::optional<UTType> fromFilenameExtension(QStringView extension);
    static UTType fromMimeType(const QMimeType &mime);
    // The type of the file at `path`, from its name and, where the name is not enough, its contents.
    // Directories are folders, unless their extension names a package type (".app"). No value when the
    // path does not exist.
    static std::optional<UTType> forFile(const QString &path);

    QString identifier() const;
    bool conforms(const UTType &other) const;
    bool conforms(QStringView identifier) const;
    // The type itself first, then every type it conforms to, most specific first, each once.
    const QStringList &tree() const;
    // The human name of the type, such as "PNG image" or "folder".
    QString localizedDescription() const;
    // The MIME type the type was made from or maps to; empty for abstract types such as public.data.
    QString preferredMimeType() const;

    friend bool operator==(const UTType &a, const UTType &b) { return a.identifier() == b.identifier(); }

    // The named types the taxonomy asks about.
    static const UTType &item();
    static const UTType &content();
    static const UTType &data();
    static const UTType &directory();
    static const UTType &folder();
    static const UTType &package();
    static const UTType &bundle();
    static const UTType &application();
    static const UTType &applicationBundle();
    static const UTType &executable();
    static const UTType &image();
    static const UTType &audiovisualContent();
    static const UTType &movie();
    static const UTType &video();
    static const UTType &audio();
    static const UTType &text();
    static const UTType &plainText();
    static const UTType &rtf();
    static const UTType &sourceCode();
    static const UTType &script();
    static const UTType &json();
    static const UTType &xml();
    static const UTType &propertyList();
    static const UTType &archive();
    static const UTType &diskImage();
    static const UTType &pdf();
    static const UTType &compositeContent();
    static const UTType &presentation();
    static const UTType &spreadsheet();

private:
    explicit UTType(std::shared_ptr<const velk::detail::TypeNode> node);
    static const UTType &named(const char *identifier);

    std::shared_ptr<const velk::detail::TypeNode> m_node;
};

size_t qHash(const UTType &type, size_t seed = 0) noexcept;
