#include "LiveTextModel.h"

#include "FilePath.h"
#include "files/Clipboard.h"
#include "text/TextRecognizer.h"

#include <QCoro/QCoroFuture>
#include <QCoro/QCoroTask>
#include <QPointer>
#include <QThreadPool>
#include <QtConcurrent/QtConcurrentRun>

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>
#include <utility>

#include <sys/stat.h>

namespace {

// Enough for flipping between a few pictures and back.
constexpr qsizetype kRemembered = 4;

// Reading blocks for a second or more; two threads so that the picture now shown never waits behind
// one that was left while it was being read. Never deleted: a read still under way at exit must not
// hold the process up.
QThreadPool *readers()
{
    static QThreadPool *pool = [] {
        auto *made = new QThreadPool;
        made->setMaxThreadCount(2);
        return made;
    }();
    return pool;
}

double distance(double from, double lo, double hi)
{
    return from < lo ? lo - from : (from > hi ? from - hi : 0);
}

} // namespace

LiveTextModel::LiveTextModel(QObject *parent)
    : QAbstractListModel(parent)
    , m_shared(std::make_shared<Shared>())
{
}

LiveTextModel::~LiveTextModel()
{
    // Reads not yet begun are not begun at all.
    m_shared->wanted.store(std::numeric_limits<quint64>::max());
}

std::optional<LiveTextModel::PictureKey> LiveTextModel::keyOf(const QUrl &url)
{
    const QString path = FilePath::fromUrl(url);
    struct stat st;
    if (path.isEmpty() || ::stat(FilePath::toNative(path).constData(), &st) != 0 || !S_ISREG(st.st_mode))
        return std::nullopt;
    return PictureKey {path, qint64(st.st_size), qint64(st.st_mtim.tv_sec) * 1'000'000'000 + st.st_mtim.tv_nsec};
}

bool LiveTextModel::remembers(const QUrl &url)
{
    const std::optional<PictureKey> key = keyOf(url);
    const auto &remembered = cache();
    return key && std::any_of(remembered.cbegin(), remembered.cend(), [&key](const auto &entry) { return entry.first == *key; });
}

QList<std::pair<LiveTextModel::PictureKey, LiveTextModel::Found>> &LiveTextModel::cache()
{
    // Only touched on the main thread: lookups happen in setUrl, results are kept as they arrive there.
    static QList<std::pair<PictureKey, Found>> remembered;
    return remembered;
}

LiveTextModel::Found LiveTextModel::normalised(const RecognizedText &read, QSize pictureSize)
{
    Found found;
    if (pictureSize.isEmpty())
        return found;
    found.pictureSize = pictureSize;
    const double w = pictureSize.width();
    const double h = pictureSize.height();
    for (const RecognizedWord &word : read.words) {
        if (word.box.isEmpty())
            continue;
        found.words.append({word.text, QRectF(word.box.x() / w, word.box.y() / h, word.box.width() / w, word.box.height() / h), word.line});
    }
    return found;
}

void LiveTextModel::setUrl(const QUrl &url)
{
    if (m_url == url)
        return;
    m_url = url;
    m_shared->wanted.store(++m_generation);
    const bool hadSelection = hasSelection();
    if (!m_words.isEmpty()) {
        beginRemoveRows({}, 0, int(m_words.size()) - 1);
        m_words.clear();
        m_selected.clear();
        endRemoveRows();
        Q_EMIT countChanged();
    }
    if (hadSelection)
        Q_EMIT selectionChanged();
    if (!m_pictureSize.isEmpty()) {
        m_pictureSize = {};
        Q_EMIT pictureSizeChanged();
    }
    Q_EMIT urlChanged();

    // Only an existing regular file is read: a gone picture, a folder or a FIFO shows nothing.
    const std::optional<PictureKey> key = keyOf(url);
    if (!key) {
        setStatus(Empty);
        return;
    }
    auto &remembered = cache();
    const auto known = std::find_if(remembered.begin(), remembered.end(), [&key](const auto &entry) { return entry.first == *key; });
    if (known != remembered.end()) {
        const Found found = known->second;
        remembered.erase(known);
        remembered.prepend({*key, found});
        show(found);
        return;
    }
    read(*key);
}

void LiveTextModel::read(const PictureKey &key)
{
    setStatus(Reading);
    [](QPointer<LiveTextModel> self, PictureKey key, quint64 generation, std::shared_ptr<Shared> shared) -> QCoro::Task<> {
        // Built in a statement of its own and awaited plainly: GCC 12 destroys a lambda with captures
        // twice when it is made inside the co_await expression.
        QFuture<std::optional<Found>> reading = QtConcurrent::run(readers(), [key, generation, shared]() -> std::optional<Found> {
            if (shared->wanted.load() != generation)
                return std::nullopt;
            ++shared->started;
            QSize size;
            const RecognizedText read = TextRecognizer::words(key.path, &size);
            return normalised(read, size);
        });
        const std::optional<Found> found = co_await reading;
        if (!found)
            co_return;
        // Kept even when the picture was left meanwhile: coming back to it is likely.
        auto &remembered = cache();
        remembered.removeIf([&key](const auto &entry) { return entry.first.path == key.path; });
        remembered.prepend({key, *found});
        if (remembered.size() > kRemembered)
            remembered.resize(kRemembered);
        if (!self)
            co_return;
        Q_EMIT self->readsChanged();
        if (self->m_generation == generation)
            self->show(*found);
    }(this, key, m_generation, m_shared);
}

void LiveTextModel::show(const Found &found)
{
    if (!found.words.isEmpty()) {
        beginInsertRows({}, 0, int(found.words.size()) - 1);
        m_words = found.words;
        m_selected = QList<bool>(m_words.size(), false);
        endInsertRows();
        Q_EMIT countChanged();
    }
    if (m_pictureSize != found.pictureSize) {
        m_pictureSize = found.pictureSize;
        Q_EMIT pictureSizeChanged();
    }
    setStatus(m_words.isEmpty() ? Empty : Ready);
}

void LiveTextModel::setStatus(Status status)
{
    if (m_status == status)
        return;
    m_status = status;
    Q_EMIT statusChanged();
}

bool LiveTextModel::hasSelection() const
{
    return m_selected.contains(true);
}

QString LiveTextModel::selectedText() const
{
    QString text;
    int lastLine = -1;
    for (qsizetype i = 0; i < m_words.size(); ++i) {
        if (!m_selected[i])
            continue;
        if (lastLine >= 0)
            text += m_words[i].line == lastLine ? u' ' : u'\n';
        text += m_words[i].text;
        lastLine = m_words[i].line;
    }
    return text;
}

int LiveTextModel::rowCount(const QModelIndex &parent) const
{
    return parent.isValid() ? 0 : int(m_words.size());
}

QVariant LiveTextModel::data(const QModelIndex &index, int role) const
{
    if (!checkIndex(index, CheckIndexOption::IndexIsValid | CheckIndexOption::ParentIsInvalid))
        return {};
    const Word &word = m_words[index.row()];
    switch (role) {
    case TextRole:
    case Qt::DisplayRole:
        return word.text;
    case BoxRole:
        return word.box;
    case LineRole:
        return word.line;
    case SelectedRole:
        return bool(m_selected[index.row()]);
    default:
        return {};
    }
}

QHash<int, QByteArray> LiveTextModel::roleNames() const
{
    return {{TextRole, "text"}, {BoxRole, "box"}, {LineRole, "line"}, {SelectedRole, "selected"}};
}

int LiveTextModel::wordAt(qreal x, qreal y) const
{
    const QPointF point(x, y);
    const auto hit = std::find_if(m_words.cbegin(), m_words.cend(), [&point](const Word &word) { return word.box.contains(point); });
    return hit == m_words.cend() ? -1 : int(hit - m_words.cbegin());
}

int LiveTextModel::nearestWord(qreal x, qreal y) const
{
    if (m_words.isEmpty())
        return -1;
    // Distances are measured in the picture's pixels, where across and down weigh the same.
    const double w = m_pictureSize.isEmpty() ? 1 : m_pictureSize.width();
    const double h = m_pictureSize.isEmpty() ? 1 : m_pictureSize.height();
    const double px = x * w;
    const double py = y * h;

    // The band of a line runs from its highest word's top to its lowest word's bottom; where bands
    // overlap, the one whose middle is closer wins.
    int bandLine = -1;
    double bandOffset = std::numeric_limits<double>::max();
    for (qsizetype first = 0; first < m_words.size();) {
        const int line = m_words[first].line;
        double top = m_words[first].box.top();
        double bottom = m_words[first].box.bottom();
        qsizetype next = first + 1;
        for (; next < m_words.size() && m_words[next].line == line; ++next) {
            top = std::min(top, m_words[next].box.top());
            bottom = std::max(bottom, m_words[next].box.bottom());
        }
        if (y >= top && y <= bottom) {
            const double offset = std::abs(py - (top + bottom) / 2 * h);
            if (offset < bandOffset) {
                bandOffset = offset;
                bandLine = line;
            }
        }
        first = next;
    }

    int best = -1;
    double bestDistance = std::numeric_limits<double>::max();
    for (qsizetype i = 0; i < m_words.size(); ++i) {
        const QRectF &box = m_words[i].box;
        double d = 0;
        if (bandLine >= 0) {
            if (m_words[i].line != bandLine)
                continue;
            d = distance(px, box.left() * w, box.right() * w);
        } else {
            d = std::hypot(distance(px, box.left() * w, box.right() * w), distance(py, box.top() * h, box.bottom() * h));
        }
        if (d < bestDistance) {
            bestDistance = d;
            best = int(i);
        }
    }
    return best;
}

template<typename Wanted>
void LiveTextModel::applySelection(Wanted wanted)
{
    QList<bool> next(m_words.size());
    for (qsizetype i = 0; i < m_words.size(); ++i)
        next[i] = wanted(i);
    if (next == m_selected)
        return;
    const QList<bool> before = std::exchange(m_selected, next);
    // One notice per run of rows that changed.
    for (qsizetype i = 0; i < before.size();) {
        if (before[i] == next[i]) {
            ++i;
            continue;
        }
        qsizetype end = i + 1;
        while (end < before.size() && before[end] != next[end])
            ++end;
        Q_EMIT dataChanged(index(int(i)), index(int(end - 1)), {SelectedRole});
        i = end;
    }
    Q_EMIT selectionChanged();
}

void LiveTextModel::select(int anchor, int current)
{
    const auto valid = [this](int i) { return i >= 0 && i < m_words.size(); };
    if (!valid(anchor) || !valid(current)) {
        clearSelection();
        return;
    }
    const qsizetype from = std::min(anchor, current);
    const qsizetype to = std::max(anchor, current);
    applySelection([from, to](qsizetype i) { return i >= from && i <= to; });
}

void LiveTextModel::selectWord(int index)
{
    select(index, index);
}

void LiveTextModel::selectLine(int index)
{
    if (index < 0 || index >= m_words.size()) {
        clearSelection();
        return;
    }
    const int line = m_words[index].line;
    applySelection([this, line](qsizetype i) { return m_words[i].line == line; });
}

void LiveTextModel::selectAll()
{
    applySelection([](qsizetype) { return true; });
}

void LiveTextModel::clearSelection()
{
    applySelection([](qsizetype) { return false; });
}

bool LiveTextModel::copySelection()
{
    if (!hasSelection())
        return false;
    Clipboard::setText(selectedText());
    return true;
}
