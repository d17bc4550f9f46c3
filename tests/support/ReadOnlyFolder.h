#pragma once

#include <QFile>
#include <QString>

#include <cerrno>
#include <cstring>

#include <sys/mount.h>
#include <unistd.h>

// Makes a folder that nobody, root included, can take files out of: its mode for ordinary users, a
// read-only bind mount of it for root, which needs the test's own mount namespace (`ownMounts`).
// Empty when that worked, otherwise why not.
inline QString makeReadOnly(const QString &folder, bool ownMounts)
{
    QFile::setPermissions(folder, QFileDevice::ReadOwner | QFileDevice::ExeOwner | QFileDevice::ReadGroup | QFileDevice::ExeGroup);
    if (::geteuid() != 0)
        return {};
    if (!ownMounts)
        return QStringLiteral("root ignores folder modes, and a read-only bind mount needs a mount namespace of its own");
    const QByteArray path = QFile::encodeName(folder);
    if (::mount(path.constData(), path.constData(), nullptr, MS_BIND, nullptr) != 0
        || ::mount(nullptr, path.constData(), nullptr, MS_REMOUNT | MS_BIND | MS_RDONLY, nullptr) != 0)
        return QStringLiteral("a read-only bind mount failed: ") + QString::fromLocal8Bit(std::strerror(errno));
    return {};
}
