#include "ExtendedAttributes.h"

#include "FilePath.h"

#include <cerrno>
#include <sys/xattr.h>

std::optional<QByteArray> readExtendedAttribute(const QString &path, const char *name, qsizetype limit)
{
    const QByteArray native = FilePath::toNative(path);
    if (native.isEmpty() || !name)
        return std::nullopt;

    // The value may change between the size probe and the read; a few retries settle that.
    for (int attempt = 0; attempt < 4; ++attempt) {
        const ssize_t size = ::getxattr(native.constData(), name, nullptr, 0);
        if (size < 0)
            return std::nullopt; // ENODATA, ENOTSUP, ENOENT, EACCES...
        if (size == 0)
            return QByteArray();
        if (size > limit)
            return std::nullopt;
        QByteArray value(qsizetype(size), Qt::Uninitialized);
        const ssize_t read = ::getxattr(native.constData(), name, value.data(), size_t(value.size()));
        if (read >= 0) {
            value.truncate(qsizetype(read));
            return value;
        }
        if (errno != ERANGE)
            return std::nullopt;
    }
    return std::nullopt;
}

QStringList readWhereFroms(const QString &path)
{
    QStringList froms;
    for (const char *name : {"user.xdg.origin.url", "user.xdg.referrer.url"}) {
        const std::optional<QByteArray> raw = readExtendedAttribute(path, name);
        if (!raw)
            continue;
        // Some writers store a C string with its terminator; nothing after a NUL is part of the address.
        const qsizetype nul = raw->indexOf('\0');
        const QString text = QString::fromUtf8(nul < 0 ? *raw : raw->left(nul)).trimmed();
        if (!text.isEmpty())
            froms.append(text);
    }
    return froms;
}
