#pragma once

#include "models/FileItem.h"

#include <QList>
#include <QString>
#include <QUrl>

#include <QCoro/QCoroTask>

#include <atomic>
#include <functional>
#include <memory>

namespace mdindex {
class MetadataIndex;
}

// The answer to one metadata query: at most `limit` items in the query's order, and totals over every
// accepted item, also beyond the limit.
struct SpotlightResult {
    QList<FileItem> items;
    qint64 totalCount = 0;
    qint64 totalSize = 0;

    static const SpotlightResult &empty();
    friend bool operator==(const SpotlightResult &, const SpotlightResult &) = default;
};

// Lets the caller of a running query give up on it; the query then answers the empty result.
class SpotlightCancellation
{
public:
    void cancel() { m_flag->store(true); }
    bool isCancelled() const { return m_flag->load(); }
    const std::atomic<bool> *flag() const { return m_flag.get(); }

private:
    std::shared_ptr<std::atomic<bool>> m_flag = std::make_shared<std::atomic<bool>>(false);
};

// The one way Velk asks its metadata index. A run never fails: text that is no query, an index that
// cannot be opened and a cancelled run all give the empty result.
namespace Spotlight {

using Accept = std::function<bool(const FileItem &)>;

// Path fragments whose insides a person never wants to see: bundles, libraries, dependencies.
const QStringList &skipList();
// True for paths hidden below their index root, or inside a fragment of the skip list.
bool isUnwanted(QStringView path, const QStringList &roots);

// Runs `query` off the main thread and resumes the caller on its own thread with the result.
// `sortKey` sorts descending; `accept` runs off the main thread.
QCoro::Task<SpotlightResult> run(QString query, QList<QUrl> scopes, QString sortKey, int limit, Accept accept = {}, SpotlightCancellation cancellation = {});
QCoro::Task<SpotlightResult> run(
    mdindex::MetadataIndex &index, QString query, QList<QUrl> scopes, QString sortKey, int limit, Accept accept = {}, SpotlightCancellation cancellation = {});

// The same work, done on the calling thread.
SpotlightResult collect(const mdindex::MetadataIndex &index, const QString &query, const QList<QUrl> &scopes, const QString &sortKey, int limit,
    const Accept &accept = {}, const std::atomic<bool> *cancelled = nullptr);

} // namespace Spotlight
