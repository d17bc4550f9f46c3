#include "InspectorModels.h"

#include "PreviewModels.h"
#include "actions/FileActions.h"
#include "files/Clipboard.h"
#include "text/Readable.h"

#include <QCoro/QCoroFuture>
#include <QCoro/QCoroTask>
#include <QPointer>
#include <QThreadPool>
#include <QtConcurrent/QtConcurrentRun>

namespace {

std::optional<FileItem> itemOf(const QVariant &value)
{
    if (!value.canConvert<FileItem>())
        return std::nullopt;
    FileItem item = value.value<FileItem>();
    return item.isValid() ? std::optional(item) : std::nullopt;
}

// The inspector's reads share one thread, which the program waits for before the index goes away.
QThreadPool &detailsPool()
{
    static QThreadPool pool;
    static const bool oneThread = (pool.setMaxThreadCount(1), true);
    Q_UNUSED(oneThread)
    return pool;
}

} // namespace

InspectorModel::InspectorModel(QObject *parent)
    : QObject(parent)
{
}

InspectorModel::~InspectorModel()
{
    detailsPool().waitForDone();
}

void InspectorModel::componentComplete()
{
    setStores(UiStores::of(this));
}

void InspectorModel::setStores(const Stores &stores)
{
    m_stores = stores;
    load();
}

QVariant InspectorModel::itemValue() const
{
    return m_item ? QVariant::fromValue(*m_item) : QVariant();
}

void InspectorModel::setItemValue(const QVariant &value)
{
    setItem(itemOf(value));
}

void InspectorModel::setItem(const std::optional<FileItem> &item)
{
    if (m_item == item)
        return;
    m_item = item;
    Q_EMIT itemChanged();
    load();
}

QString InspectorModel::kind() const
{
    return m_item ? QuickLook::kindOf(*m_item) : QString();
}

QString InspectorModel::kindLine() const
{
    if (!m_item)
        return {};
    if (m_item->isFolder())
        return m_item->kindDescription();
    return m_item->kindDescription() + QStringLiteral(" · ") + m_item->sizeText();
}

bool InspectorModel::canReadText() const
{
    return m_item && TextRecognizer::canRead(*m_item);
}

QString InspectorModel::textTitle() const
{
    return m_item && m_item->category == FileCategory::images ? QStringLiteral("Text in Image") : QStringLiteral("Text");
}

QVariantList InspectorModel::rows() const
{
    QVariantList list;
    for (const DetailRow &row : m_rows)
        list.append(QVariantMap {{QStringLiteral("label"), row.label}, {QStringLiteral("value"), row.value}});
    return list;
}

void InspectorModel::load()
{
    const quint64 generation = ++m_generation;
    m_rows.clear();
    m_source.reset();
    m_ready = false;
    Q_EMIT detailsChanged();
    if (!m_item || !m_stores.store)
        return;
    struct Details {
        QList<DetailRow> rows;
        std::optional<DownloadSource> source;
    };
    [](QPointer<InspectorModel> self, FileItem item, mdindex::MetadataIndex *index, quint64 generation) -> QCoro::Task<> {
        // Made in a statement of its own: GCC 12 destroys a lambda with captures twice when it is built
        // inside the co_await expression.
        auto future = QtConcurrent::run(&detailsPool(), [item, index] {
            Details details;
            details.rows = Metadata::details(item, *index);
            if (!item.isFolder())
                details.source = DownloadSources::source(item.url);
            return details;
        });
        const Details details = co_await future;
        if (!self || self->m_generation != generation)
            co_return;
        self->m_rows = details.rows;
        self->m_source = details.source;
        self->m_ready = true;
        Q_EMIT self->detailsChanged();
    }(this, *m_item, &m_stores.store->index(), generation);
}

void InspectorModel::open()
{
    if (!m_item)
        return;
    if (m_item->isFolder()) {
        if (m_stores.state)
            m_stores.state->openFolder(m_item->url);
        return;
    }
    FileActions::openExternally({*m_item});
}

void InspectorModel::reveal()
{
    if (m_item)
        FileActions::reveal({*m_item});
}

void InspectorModel::showSource()
{
    if (!m_source || !m_stores.state)
        return;
    m_stores.state->setSearchText(QString());
    m_stores.state->setSelection(SidebarItem::source(m_source->name));
}

RecognizedTextModel::RecognizedTextModel(QObject *parent)
    : QObject(parent)
{
}

void RecognizedTextModel::componentComplete()
{
    setStores(UiStores::of(this));
}

void RecognizedTextModel::setStores(const Stores &stores)
{
    m_stores = stores;
    load();
}

QVariant RecognizedTextModel::itemValue() const
{
    return m_item ? QVariant::fromValue(*m_item) : QVariant();
}

void RecognizedTextModel::setItemValue(const QVariant &value)
{
    const auto item = itemOf(value);
    if (m_item == item)
        return;
    m_item = item;
    Q_EMIT itemChanged();
    load();
}

QString RecognizedTextModel::state() const
{
    if (!m_item || !TextRecognizer::canRead(*m_item))
        return QStringLiteral("empty");
    if (!m_text)
        return QStringLiteral("reading");
    return m_text->isEmpty() ? QStringLiteral("empty") : QStringLiteral("text");
}

void RecognizedTextModel::load()
{
    m_text.reset();
    if (!m_item || !m_stores.textIndex || !TextRecognizer::canRead(*m_item)) {
        Q_EMIT textChanged();
        return;
    }
    // What the index holds shows in the first frame.
    if (const auto stored = m_stores.textIndex->currentText(*m_item)) {
        m_text = stored->trimmed();
        Q_EMIT textChanged();
        return;
    }
    Q_EMIT textChanged();
    [](QPointer<RecognizedTextModel> self, TextIndex *index, FileItem item) -> QCoro::Task<> {
        const QString text = co_await index->text(item);
        if (!self || self->m_item != item)
            co_return;
        self->m_text = text.trimmed();
        Q_EMIT self->textChanged();
    }(this, m_stores.textIndex, *m_item);
}

void RecognizedTextModel::copy()
{
    if (!m_text || m_text->isEmpty())
        return;
    Clipboard::setText(*m_text);
    if (m_stores.state)
        m_stores.state->setToast(AppState::Toast(QStringLiteral("Copied text"), QStringLiteral("doc.on.clipboard")));
}
