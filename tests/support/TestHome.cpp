#include "TestHome.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/xattr.h>

namespace {
const char *const kRedirected[] = {"HOME", "XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_CACHE_HOME", "XDG_STATE_HOME", "XDG_DATA_DIRS", "XDG_CONFIG_DIRS"};

// Where the machine keeps the shared MIME database, which file types are read from.
QString machineMimeDatabase()
{
    for (const char *folder : {"/usr/local/share/mime", "/usr/share/mime"}) {
        if (QFileInfo::exists(QString::fromLatin1(folder) + QStringLiteral("/packages")))
            return QString::fromLatin1(folder);
    }
    return QStringLiteral("/usr/share/mime");
}
} // namespace

TestHome::TestHome()
{
    for (const char *name : kRedirected) {
        std::optional<QByteArray> old;
        if (qEnvironmentVariableIsSet(name))
            old = qgetenv(name);
        m_savedEnv.append({QByteArray(name), old});
    }
    const QString home = m_dir.path();
    qputenv("HOME", QFile::encodeName(home));
    qputenv("XDG_CONFIG_HOME", QFile::encodeName(home + QStringLiteral("/.config")));
    qputenv("XDG_DATA_HOME", QFile::encodeName(home + QStringLiteral("/.local/share")));
    qputenv("XDG_CACHE_HOME", QFile::encodeName(home + QStringLiteral("/.cache")));
    qputenv("XDG_STATE_HOME", QFile::encodeName(home + QStringLiteral("/.local/state")));
    // The system folders hold the MIME database and nothing else of the machine's.
    QDir(m_system.path()).mkpath(QStringLiteral("share"));
    QDir(m_system.path()).mkpath(QStringLiteral("etc/xdg"));
    QFile::link(machineMimeDatabase(), systemPath(QStringLiteral("mime")));
    qputenv("XDG_DATA_DIRS", QFile::encodeName(m_system.path() + QStringLiteral("/share")));
    qputenv("XDG_CONFIG_DIRS", QFile::encodeName(m_system.path() + QStringLiteral("/etc/xdg")));
    for (const char *sub : {".config", ".local/share", ".cache"})
        QDir(home).mkpath(QString::fromLatin1(sub));
}

TestHome::~TestHome()
{
    for (const auto &[name, value] : m_savedEnv) {
        if (value)
            qputenv(name.constData(), *value);
        else
            qunsetenv(name.constData());
    }
}

QString TestHome::path(const QString &relative) const
{
    return QDir(m_dir.path()).filePath(relative);
}

QString TestHome::systemPath(const QString &relative) const
{
    return QDir(m_system.path() + QStringLiteral("/share")).filePath(relative);
}

QString TestHome::systemConfigPath(const QString &relative) const
{
    return QDir(m_system.path() + QStringLiteral("/etc/xdg")).filePath(relative);
}

QString TestHome::systemFile(const QString &relative, const QByteArray &contents)
{
    const QString p = systemPath(relative);
    QDir().mkpath(QFileInfo(p).absolutePath());
    QFile f(p);
    if (!f.open(QIODevice::WriteOnly | QIODevice::Truncate))
        qFatal("TestHome: cannot write %s", qPrintable(p));
    f.write(contents);
    return p;
}

QString TestHome::folder(const QString &relative)
{
    const QString p = path(relative);
    QDir().mkpath(p);
    return p;
}

QString TestHome::file(const QString &relative, const QByteArray &contents, const std::optional<QDateTime> &modified)
{
    const QString p = path(relative);
    QDir().mkpath(QFileInfo(p).absolutePath());
    QFile f(p);
    if (!f.open(QIODevice::WriteOnly | QIODevice::Truncate))
        qFatal("TestHome: cannot write %s", qPrintable(p));
    f.write(contents);
    f.close();
    if (modified)
        setModified(p, *modified);
    return p;
}

QString TestHome::sparseFile(const QString &relative, qint64 size)
{
    const QString p = file(relative);
    if (::truncate(QFile::encodeName(p).constData(), size) != 0)
        qFatal("TestHome: cannot size %s", qPrintable(p));
    return p;
}

void TestHome::setUserDirs(const QList<std::pair<QString, QString>> &entries)
{
    QByteArray text;
    for (const auto &[key, folderName] : entries) {
        folder(folderName);
        text += key.toUtf8() + "=\"$HOME/" + folderName.toUtf8() + "\"\n";
    }
    file(QStringLiteral(".config/user-dirs.dirs"), text);
}

bool TestHome::setModified(const QString &path, const QDateTime &when)
{
    const qint64 ms = when.toMSecsSinceEpoch();
    timespec times[2];
    times[0].tv_sec = ms / 1000;
    times[0].tv_nsec = (ms % 1000) * 1000000;
    times[1] = times[0];
    return ::utimensat(AT_FDCWD, QFile::encodeName(path).constData(), times, 0) == 0;
}

bool TestHome::setXattr(const QString &path, const QByteArray &name, const QByteArray &value)
{
    return ::setxattr(QFile::encodeName(path).constData(), name.constData(), value.constData(), size_t(value.size()), 0) == 0;
}
