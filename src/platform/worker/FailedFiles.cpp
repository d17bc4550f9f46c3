#include "FailedFiles.h"

#include "FilePath.h"
#include "PrivateFiles.h"

#include <QDir>
#include <QHash>
#include <QStandardPaths>

#include <fcntl.h>
#include <mutex>
#include <sys/stat.h>
#include <unistd.h>

namespace FailedFiles {

namespace {

    struct Record {
        qint64 size = 0;
        qint64 modifiedMs = 0;
        QString reason;
    };

    struct State {
        std::mutex mutex;
        QString loadedFrom;
        QHash<QByteArray, Record> records;
    };

    State &state()
    {
        // Never destroyed: threads may still record a file while the program ends.
        static State *s = new State;
        return *s;
    }

    // One line a file: size, modification time in ms, reason, and the exact path percent-encoded.
    void loadLocked(State &s)
    {
        const QString file = location();
        if (s.loadedFrom == file)
            return;
        s.loadedFrom = file;
        s.records.clear();
        QFile in(file);
        if (!in.open(QIODevice::ReadOnly))
            return;
        while (!in.atEnd()) {
            const QList<QByteArray> fields = in.readLine().trimmed().split('\t');
            if (fields.size() != 4)
                continue;
            bool sizeOk = false, timeOk = false;
            Record r {fields[0].toLongLong(&sizeOk), fields[1].toLongLong(&timeOk), QString::fromUtf8(fields[2])};
            if (sizeOk && timeOk)
                s.records.insert(QByteArray::fromPercentEncoding(fields[3]), r);
        }
    }

    QByteArray line(const QByteArray &native, const Record &r)
    {
        return QByteArray::number(r.size) + '\t' + QByteArray::number(r.modifiedMs) + '\t' + r.reason.toUtf8() + '\t' + native.toPercentEncoding("/") + '\n';
    }

} // namespace

QString location()
{
    return QStandardPaths::writableLocation(QStandardPaths::GenericCacheLocation) + QStringLiteral("/velk/failed-files");
}

bool contains(const QString &path, qint64 size, qint64 modifiedMs)
{
    State &s = state();
    std::lock_guard guard(s.mutex);
    loadLocked(s);
    const auto it = s.records.constFind(FilePath::toNative(path));
    return it != s.records.constEnd() && it->size == size && it->modifiedMs == modifiedMs;
}

void add(const QString &path, qint64 size, qint64 modifiedMs, const QString &reason)
{
    State &s = state();
    std::lock_guard guard(s.mutex);
    // Read again first: the program and velk-find both keep the list, and neither may drop what the
    // other recorded.
    s.loadedFrom.clear();
    loadLocked(s);
    const QByteArray native = FilePath::toNative(path);
    s.records.insert(native, Record {size, modifiedMs, reason});
    // Written whole through a private temporary file and a rename: a record that changed replaces its
    // old line, and a reader never sees half a file.
    const QString file = location();
    if (!PrivateFiles::makeFolder(QFileInfo(file).path()))
        return;
    QByteArray all;
    for (auto it = s.records.cbegin(); it != s.records.cend(); ++it)
        all += line(it.key(), it.value());
    const QByteArray target = FilePath::toNative(file);
    const QByteArray temporary = target + ".new";
    const int fd = ::open(temporary.constData(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    if (fd < 0)
        return;
    const bool written = ::write(fd, all.constData(), size_t(all.size())) == ssize_t(all.size());
    ::close(fd);
    if (!written || ::rename(temporary.constData(), target.constData()) != 0)
        ::unlink(temporary.constData());
}

QList<Entry> all()
{
    State &s = state();
    std::lock_guard guard(s.mutex);
    loadLocked(s);
    QList<Entry> entries;
    for (auto it = s.records.cbegin(); it != s.records.cend(); ++it)
        entries.append(Entry {FilePath::fromNative(it.key()), it->size, it->modifiedMs, it->reason});
    return entries;
}

} // namespace FailedFiles
